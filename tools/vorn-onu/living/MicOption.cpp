#include "living/MicOption.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "running/io/Words.h"

namespace vorn_onu {

namespace {

constexpr const char* kCmac = "cmac:";

omci::AesKey keyOf(const std::string& digits) {
    omci::AesKey key{};
    const bool good = digits.size() == 2 * key.size() &&
                      std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (!good) throw std::invalid_argument("--mic: a key of AES-CMAC has 32 hexadecimal digits");
    const auto bytes = bytesOfDigits(digits);
    std::copy(bytes.begin(), bytes.end(), key.begin());
    return key;
}

}  // namespace

std::optional<omci::Integrity> integrityOf(const std::string& text) {
    if (text.empty()) return {};
    if (text == "crc") return omci::Integrity::crc();
    if (text == "none") return omci::Integrity();
    if (text.compare(0, std::char_traits<char>::length(kCmac), kCmac) != 0)
        throw std::invalid_argument("--mic: must be crc, cmac:KEY or none, not '" + text + "'");
    if (!omci::hasAes()) throw std::invalid_argument("--mic: this build has no AES");
    return omci::Integrity::aesCmac(keyOf(text.substr(5)));
}

}  // namespace vorn_onu
