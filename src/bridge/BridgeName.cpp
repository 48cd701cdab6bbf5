#include "bridge/BridgeName.h"

#include <net/if.h>

#include <cerrno>
#include <cstring>

namespace kernel_bridge {

bool isDeviceName(const char* name) {
    if (name == nullptr || name[0] == '\0') return false;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) return false;
    const std::size_t length = strnlen(name, IFNAMSIZ);
    // '%' would make the kernel number the name; the rest it refuses itself, but not before a path was formed with it.
    return length < IFNAMSIZ && std::strcspn(name, "/:% \t\n\v\f\r") == length;
}

std::string bridgeAttribute(const char* bridge, const char* attribute) {
    return std::string(kNetClass) + "/" + bridge + "/bridge/" + attribute;
}

std::string portAttribute(const char* bridge, const char* port, const char* attribute) {
    return std::string(kNetClass) + "/" + bridge + "/brif/" + port + "/" + attribute;
}

int deviceError(int error) {
    return error == ENOENT || error == ENOTDIR ? ENODEV : error;
}

}  // namespace kernel_bridge
