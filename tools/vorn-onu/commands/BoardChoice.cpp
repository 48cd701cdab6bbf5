#include "commands/BoardChoice.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "BoardIdentity.h"
#include "running/program/Launch.h"

namespace vorn_onu {

namespace {

using virtual_onu::kBaseMacVariable;
using virtual_onu::kBoardFileVariable;
using virtual_onu::kSerialNumberVariable;

// A board has several addresses, of IP host and bridges, above its own.
constexpr std::uint64_t kAddressesOfABoard = 16;
constexpr std::uint64_t kFirstMac = 0x021000000000;  // locally administered

std::string hostName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0) throw std::invalid_argument("this host has no name");
    return name.data();
}

// What the environment says, checked.
std::string environmentWith(const char* variable, std::string (*problemOf)(const std::string&)) {
    const std::string value = environmentOf(variable);
    const std::string problem = value.empty() ? "" : problemOf(value);
    if (!problem.empty()) throw std::invalid_argument(std::string(variable) + " " + problem);
    return value;
}

std::string problemOfVendor(const std::string& text) {
    return virtual_onu::isVendorId(text) ? "" : "must be a vendor id of four letters, not '" + text + "'";
}

// The first that says something.
std::string firstOf(const std::string& one, const std::string& other) {
    return one.empty() ? other : one;
}

}  // namespace

BoardStart boardOfHost(const std::string& hostName, const std::string& vendor) {
    const std::size_t last = hostName.find_last_not_of("0123456789");
    const std::string digits = hostName.substr(last == std::string::npos ? 0 : last + 1);
    const std::uint64_t number = digits.empty() || digits.size() > 10 ? UINT64_MAX : std::stoull(digits);
    if (number > UINT32_MAX)
        throw std::invalid_argument("the host name '" + hostName +
                                    "' does not end with a number below 2^32, of which a serial number could be made");
    std::array<char, 24> serial{}, mac{};
    std::snprintf(serial.data(), serial.size(), "%.4s%08X", vendor.c_str(), static_cast<unsigned>(number));
    const std::uint64_t address = kFirstMac + number * kAddressesOfABoard;
    const auto octet = [address](unsigned at) { return static_cast<unsigned>(address >> (40U - 8U * at)) & 0xFFU; };
    std::snprintf(mac.data(), mac.size(), "%02x:%02x:%02x:%02x:%02x:%02x", octet(0), octet(1), octet(2), octet(3),
                  octet(4), octet(5));
    return {serial.data(), mac.data(), ""};
}

BoardStart boardStart(const BoardChoice& typed) {
    const std::string serial = typed.serialNumber.empty() && typed.vendor.empty()
                                   ? environmentWith(kSerialNumberVariable, virtual_onu::problemOfSerialNumber)
                                   : typed.serialNumber;
    const std::string vendor =
        serial.empty() ? firstOf(typed.vendor, environmentWith(kFromHostNameVariable, problemOfVendor)) : "";
    BoardStart start = vendor.empty() ? BoardStart{} : boardOfHost(hostName(), vendor);
    start.serialNumber = firstOf(serial, start.serialNumber);
    start.baseMac = firstOf(firstOf(typed.baseMac, environmentWith(kBaseMacVariable, virtual_onu::problemOfBaseMac)),
                            start.baseMac);
    start.file = firstOf(typed.file, environmentOf(kBoardFileVariable));
    return start;
}

}  // namespace vorn_onu
