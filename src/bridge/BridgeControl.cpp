// The control socket, and what goes through it.
#include "bridge/BridgeControl.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>

#include "bridge/BridgeName.h"
#include "hal/KernelNames.h"

namespace {

std::mutex controlMutex;  // guards the two below, and keeps the socket open during a request
int controlSocket = -1;
unsigned controlUsers = 0;

// The kernel reads a full IFNAMSIZ bytes of a name, whatever its length.
struct KernelName {
    char text[IFNAMSIZ] = {};
    explicit KernelName(const char* name) { std::memcpy(text, name, std::strlen(name)); }
};

int request(unsigned long number, void* argument) {
    if (controlSocket < 0) return EBADF;
    return ioctl(controlSocket, number, argument) < 0 ? errno : 0;
}

int bridgeRequest(unsigned long number, const char* name) {
    if (!isDeviceName(name)) return EINVAL;
    KernelName kernelName(name);
    const std::lock_guard<std::mutex> lock(controlMutex);
    return request(number, kernelName.text);
}

int portRequest(unsigned long number, const char* bridgeName, const char* port) {
    if (!isDeviceName(bridgeName) || !isDeviceName(port)) return EINVAL;
    const std::lock_guard<std::mutex> lock(controlMutex);
    ifreq query{};
    std::memcpy(query.ifr_name, KernelName(port).text, IFNAMSIZ);
    if (const int error = request(SIOCGIFINDEX, &query); error != 0) return error;

    ifreq change{};
    std::memcpy(change.ifr_name, KernelName(bridgeName).text, IFNAMSIZ);
    change.ifr_ifindex = query.ifr_ifindex;
    return request(number, &change);
}

}  // namespace

int br_init() {
    const std::lock_guard<std::mutex> lock(controlMutex);
    if (controlSocket < 0) {
        const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (fd < 0) return errno;
        controlSocket = fd;
    }
    ++controlUsers;
    return 0;
}

int br_shutdown() {
    const std::lock_guard<std::mutex> lock(controlMutex);
    if (controlUsers > 0 && --controlUsers == 0) {
        close(controlSocket);
        controlSocket = -1;
    }
    return 0;
}

int br_add_bridge(const char* bridge) {
    return bridgeRequest(SIOCBRADDBR, bridge);
}

int br_del_bridge(const char* bridge) {
    return bridgeRequest(SIOCBRDELBR, bridge);
}

int br_add_interface(const char* bridge, const char* port) {
    return portRequest(SIOCBRADDIF, bridge, port);
}

int br_del_interface(const char* bridge, const char* port) {
    return portRequest(SIOCBRDELIF, bridge, port);
}
