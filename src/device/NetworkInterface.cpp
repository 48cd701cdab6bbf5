#include "device/NetworkInterface.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace {

// The socket that carries one interface request.
class RequestSocket {
public:
    RequestSocket() : descriptor_(socket(AF_INET, SOCK_DGRAM, 0)) {}
    ~RequestSocket() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    RequestSocket(const RequestSocket&) = delete;
    RequestSocket& operator=(const RequestSocket&) = delete;

    InterfaceResult send(unsigned long request, ifreq& record) const {
        if (descriptor_ < 0) return InterfaceResult::NoSocket;
        return ioctl(descriptor_, request, &record) < 0 ? InterfaceResult::Refused : InterfaceResult::Done;
    }

private:
    int descriptor_;
};

ifreq requestFor(const char* name) {
    ifreq record{};
    std::memcpy(record.ifr_name, name, strnlen(name, sizeof record.ifr_name - 1));
    return record;
}

}  // namespace

InterfaceResult setInterfaceFlags(const char* name, unsigned short flags) {
    ifreq record = requestFor(name);
    record.ifr_flags = static_cast<short>(flags);
    return RequestSocket().send(SIOCSIFFLAGS, record);
}

InterfaceResult setInterfaceMtu(const char* name, int mtu) {
    ifreq record = requestFor(name);
    record.ifr_mtu = mtu;
    return RequestSocket().send(SIOCSIFMTU, record);
}

InterfaceResult takeInterfaceDown(const char* name) {
    ifreq record = requestFor(name);
    const InterfaceResult known = RequestSocket().send(SIOCGIFFLAGS, record);
    if (known != InterfaceResult::Done) return known;
    record.ifr_flags = static_cast<short>(record.ifr_flags & ~(IFF_UP | IFF_RUNNING));
    return RequestSocket().send(SIOCSIFFLAGS, record);
}

bool isInterfaceUp(const char* name) {
    ifreq record = requestFor(name);
    return RequestSocket().send(SIOCGIFFLAGS, record) == InterfaceResult::Done && (record.ifr_flags & IFF_UP) != 0;
}

bool interfaceMac(const char* name, unsigned char (&mac)[6]) {
    ifreq record = requestFor(name);
    if (RequestSocket().send(SIOCGIFHWADDR, record) != InterfaceResult::Done) return false;
    std::memcpy(mac, record.ifr_hwaddr.sa_data, sizeof mac);
    return true;
}

int interfaceIndex(const char* name) {
    if (name == nullptr) return -1;
    ifreq record = requestFor(name);
    return RequestSocket().send(SIOCGIFINDEX, record) == InterfaceResult::Done ? record.ifr_ifindex : -1;
}
