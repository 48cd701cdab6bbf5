#include "running/io/Words.h"

#include <map>

#include "HexDigits.h"

namespace vorn_onu {

std::vector<std::uint8_t> bytesOfDigits(const std::string& digits) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string hexText(const std::string& bytes) {
    return virtual_onu::hexText(bytes);
}

std::vector<std::string> withoutLikes(const std::vector<std::string>& lines) {
    std::vector<std::string> first;
    std::vector<std::size_t> more;
    std::map<std::string, std::size_t> places;
    for (const std::string& line : lines) {
        const auto [place, isNew] = places.emplace(withoutNumbers(line), first.size());
        if (isNew) {
            first.push_back(line);
            more.push_back(0);
        } else {
            ++more[place->second];
        }
    }
    for (std::size_t i = 0; i < first.size(); ++i)
        if (more[i] > 0) first[i] += "; " + std::to_string(more[i]) + " more with different numbers";
    return first;
}

}  // namespace vorn_onu
