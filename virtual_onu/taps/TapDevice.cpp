#include "taps/TapDevice.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <stdexcept>
#include <system_error>

#include "OwnThread.h"
#include "real_libc/RealLibc.h"
#include "taps/OwnDescriptors.h"

namespace virtual_onu::taps {

namespace {

// Frames that wait in front of a TAP until the board takes them: a tenth of a second of 100,000 a second.
constexpr int kQueueLength = 10000;

std::string reason() {
    return std::generic_category().message(errno);
}

[[noreturn]] void refuse(const TapRequest& request, const std::string& why) {
    throw std::runtime_error(request.place() + " for " + request.port() + ": " + why);
}

std::string whyNotHad(const TapRequest& request) {
    switch (errno) {
        case EPERM:
        case EACCES:
            return "making a TAP needs the right CAP_NET_ADMIN; root can make it for you beforehand: ip tuntap add "
                   "dev " +
                   request.interface + " mode tap user NAME";
        case EBUSY:
            return "another program uses it";
        case EINVAL:
            return "there is an interface of this name that is no TAP";
        default:
            return reason();
    }
}

ifreq named(const std::string& interface) {
    ifreq request{};
    interface.copy(request.ifr_name, IFNAMSIZ - 1);
    return request;
}

// A socket for requests about interfaces, closed at the end.
class InterfaceSocket {
public:
    InterfaceSocket() : descriptor_(real::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    ~InterfaceSocket() {
        if (descriptor_ >= 0) real::close(descriptor_);
    }
    InterfaceSocket(const InterfaceSocket&) = delete;
    InterfaceSocket& operator=(const InterfaceSocket&) = delete;
    bool ask(unsigned long request, ifreq& about) const { return real::ioctl(descriptor_, request, &about) == 0; }

private:
    int descriptor_;
};

void setUp(const InterfaceSocket& socket, const TapRequest& request) {
    ifreq about = named(request.interface);
    about.ifr_qlen = kQueueLength;
    socket.ask(SIOCSIFTXQLEN, about);  // a shorter queue loses more
    about = named(request.interface);
    if (!socket.ask(SIOCGIFFLAGS, about)) refuse(request, reason());
    about.ifr_flags = static_cast<short>(about.ifr_flags | IFF_UP);
    if (!socket.ask(SIOCSIFFLAGS, about)) refuse(request, "cannot be set up: " + reason());
}

int openAt(const TapRequest& request) {
    constexpr const char* kTun = "/dev/net/tun";
    const int descriptor = real::open(kTun, O_RDWR | O_NONBLOCK | O_CLOEXEC, 0);
    if (descriptor >= 0) return descriptor;
    if (errno == ENOENT || errno == ENODEV)
        refuse(request, std::string(kTun) + " is missing on this machine (modprobe tun)");
    if (errno == EACCES || errno == EPERM)
        refuse(request,
               std::string("real packets need the right to use ") + kTun + ", as root has it, and CAP_NET_ADMIN");
    refuse(request, std::string(kTun) + ": " + reason());
}

// Makes the TAP, or takes the one that is there.
ifreq attach(const TapRequest& request, TapDevice& made, bool isThere) {
    const auto attached = [&](int more, ifreq& about) {
        about = named(request.interface);
        about.ifr_flags = static_cast<short>(IFF_TAP | IFF_NO_PI | more);
        return real::ioctl(made.descriptor, TUNSETIFF, &about) == 0;
    };
    ifreq about{};
    if (isThere && !isMadeForOffload(request.interface)) {
        made.whyNoOffload = "the interface was made without vnet_hdr";
    } else if (attached(IFF_VNET_HDR, about)) {
        made.offload = takeOffload(made.descriptor);
        if (made.offload != kNoOffload) return about;
        real::close(made.descriptor);
        made.descriptor = -1;
        made.descriptor = openAt(request);
        made.whyNoOffload = "the kernel has none";
    }
    if (!attached(0, about)) refuse(request, whyNotHad(request));
    return about;
}

}  // namespace

void inNamespace(const std::string& netns, const std::function<void()>& work) {
    if (netns.empty()) return work();
    const std::string path = netns.find('/') != std::string::npos ? netns : "/run/netns/" + netns;
    std::exception_ptr problem;
    startThread([&] {
        try {
            const int descriptor = real::open(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
            if (descriptor < 0) throw std::runtime_error("network namespace " + netns + ": " + reason());
            const int entered = setns(descriptor, CLONE_NEWNET);
            const std::string why = reason();
            real::close(descriptor);
            if (entered != 0) throw std::runtime_error("network namespace " + netns + " cannot be entered: " + why);
            work();
        } catch (...) {
            problem = std::current_exception();
        }
    }).join();
    if (problem) std::rethrow_exception(problem);
}

TapDevice openTap(const TapRequest& request) {
    TapDevice made;
    const bool isThere = real::ifNameToIndex(request.interface.c_str()) != 0;
    made.descriptor = openAt(request);
    try {
        ifreq about = attach(request, made, isThere);
        setCarrier(made.descriptor, false);
        const InterfaceSocket socket;
        if (!isThere) setUp(socket, request);
        about = named(request.interface);
        if (!socket.ask(SIOCGIFINDEX, about)) refuse(request, reason());
        made.index = about.ifr_ifindex;
    } catch (...) {
        real::close(made.descriptor);
        throw;
    }
    return made;
}

void setCarrier(int descriptor, bool on) {
    int carrier = on ? 1 : 0;
    real::ioctl(descriptor, TUNSETCARRIER, &carrier);  // a kernel without it: the carrier is always there
}

std::string nameOfTap(int descriptor) {
    ifreq about{};
    if (own::ioctl(descriptor, TUNGETIFF, &about) != 0) return "";
    about.ifr_name[IFNAMSIZ - 1] = '\0';
    return about.ifr_name;
}

}  // namespace virtual_onu::taps
