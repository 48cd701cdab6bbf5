#include "running/program/TapOption.h"

#include <algorithm>
#include <stdexcept>

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxInterfaceLength = 15, kMaxNetnsLength = 127;
constexpr unsigned kMaxGemPort = 65535;

[[noreturn]] void refuseTap(const std::string& words, const std::string& why) {
    throw std::invalid_argument("--tap '" + words + "': " + why);
}

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// As the kernel takes the names of interfaces; of one with a '%' in it it makes another.
bool isInterface(const std::string& name) {
    return !name.empty() && name.size() <= kMaxInterfaceLength && name != "." && name != ".." &&
           std::all_of(name.begin(), name.end(),
                       [](char c) { return c > ' ' && c < 0x7f && c != '/' && c != ':' && c != '%'; });
}

bool isPortNumber(const std::string& text, std::size_t mostDigits) {
    return !text.empty() && text.size() <= mostDigits &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// What follows the prefix; "" where the text does not begin with it.
std::string behind(const std::string& prefix, const std::string& text) {
    return text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : "";
}

void readPort(const std::string& words, const std::string& port, virtual_onu::TapRequest& made) {
    if (isPortNumber(trimmed(behind("gem", port)), 5)) {
        const auto number = static_cast<unsigned>(std::stoul(trimmed(behind("gem", port))));
        if (number > kMaxGemPort) refuseTap(words, "a GEM port id is at most 65535");
        made.gemPort = number;
        return;
    }
    static const std::vector<std::string> kPorts = {"sid0", "sid1", "sid2", "sid3", "sid4", "sid5",
                                                    "sid6", "sid7", "eth0", "eth1", "veip0"};
    if (std::find(kPorts.begin(), kPorts.end(), port) == kPorts.end())
        refuseTap(words, "'" + port + "' is no port: sid0 to sid7, eth0, eth1, veip0, or \"gem 1001\"");
    made.device = port;
}

}  // namespace

virtual_onu::TapRequest tapOf(const std::string& words) {
    const std::size_t equals = words.find('=');
    if (equals == std::string::npos)
        refuseTap(words, "is written PORT=INTERFACE or PORT=INTERFACE@NETNS, as in sid0=tap0");
    virtual_onu::TapRequest made;
    readPort(words, trimmed(words.substr(0, equals)), made);
    const std::string place = trimmed(words.substr(equals + 1));
    const std::size_t at = place.find('@');
    made.interface = place.substr(0, at);
    if (at != std::string::npos) {
        made.netns = place.substr(at + 1);
        if (made.netns.empty() || made.netns.size() > kMaxNetnsLength)
            refuseTap(words, "the network namespace's name is missing or too long");
    }
    if (!isInterface(made.interface))
        refuseTap(words, "'" + made.interface + "' is no name of an interface (1 to 15 characters)");
    return made;
}

std::vector<virtual_onu::TapRequest> tapsOf(const std::vector<std::string>& options) {
    std::vector<virtual_onu::TapRequest> made;
    for (const std::string& words : options) {
        const virtual_onu::TapRequest request = tapOf(words);
        for (const auto& other : made) {
            if (request.port() == other.port()) refuseTap(words, request.port() + " is " + other.place() + " already");
            if (request.place() == other.place())
                refuseTap(words, request.place() + " stands for " + other.port() + " already");
        }
        made.push_back(request);
    }
    return made;
}

std::unique_ptr<virtual_onu::Taps> openTaps(const std::vector<std::string>& options) {
    if (options.empty()) return nullptr;
    const auto requests = tapsOf(options);
    try {
        return std::make_unique<virtual_onu::Taps>(requests);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--tap: ") + error.what());
    }
}

}  // namespace vorn_onu
