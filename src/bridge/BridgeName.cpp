#include "bridge/BridgeName.h"

#include <cerrno>

namespace kernel_bridge {

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
