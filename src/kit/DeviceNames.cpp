#include "kit/DeviceNames.h"

#include <algorithm>
#include <cstring>

#include "hal/KernelNames.h"

namespace kit {

namespace {

constexpr const char* kDigits = "0123456789";
constexpr std::size_t kMaxDigits = 5;
constexpr std::size_t kMaxNameLength = 31;  // of a DeviceName

// Removes a number's digits from the front; false when there are none.
bool skipNumber(std::string& text) {
    const std::size_t digits = std::min(text.find_first_not_of(kDigits), text.size());
    if (digits == 0 || digits > kMaxDigits) return false;
    text.erase(0, digits);
    return true;
}

bool skipPrefix(std::string& text, const char* prefix) {
    if (text.compare(0, std::strlen(prefix), prefix) != 0) return false;
    text.erase(0, std::strlen(prefix));
    return true;
}

enum class Second { None, May, Must };  // a second number behind a dot

bool isNumbered(std::string text, const char* prefix, Second second) {
    if (!skipPrefix(text, prefix) || !skipNumber(text)) return false;
    if (text.empty()) return second != Second::Must;
    return second != Second::None && skipPrefix(text, ".") && skipNumber(text) && text.empty();
}

}  // namespace

bool isPlainName(const char* name) {
    constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    return name[0] != '\0' && name[std::strspn(name, kPlain)] == '\0';
}

bool isPlainDeviceName(const std::string& name) {
    return name.size() <= kMaxNameLength && name.size() == std::strlen(name.c_str()) && isPlainName(name.c_str());
}

bool isCreatedDevice(const std::string& name) {
    return isDeviceName(name.c_str()) &&
           (name == kVeipDevice || isNumbered(name, "br", Second::May) || isNumbered(name, "gpon", Second::May) ||
            isNumbered(name, "sid", Second::Must));
}

bool isBridge(const std::string& name) {
    return isDeviceName(name.c_str()) && isNumbered(name, "br", Second::None);
}

}  // namespace kit
