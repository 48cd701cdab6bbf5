// The same untagged frames through a bridge of the kernel, with veth devices for ports, and through one of the virtual
// ONU, in one run. The kernel's way is the whole one of a program that asks it: a system call in, a system call out.
// Needs the rights to make a network namespace.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <linux/if_packet.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace {

constexpr std::uint16_t kAllTypes = 0x0003;
constexpr const char *kHere = "02:00:5e:10:00:01", *kThere = "02:00:5e:10:00:02";

[[noreturn]] void give(const std::string& what) {
    std::fprintf(stderr, "forwarding benchmark: %s\n", what.c_str());
    std::exit(1);
}

// A program of the host: the C library's system() is the virtual ONU's here, and so are sockets' requests.
void run(const std::string& command) {
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", ("PATH=$PATH:/usr/sbin:/sbin; " + command).c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) give(command + " has failed");
}

int socketAt(const std::string& device) {
    const auto fd = static_cast<int>(syscall(SYS_socket, AF_PACKET, SOCK_RAW | SOCK_NONBLOCK, htons(kAllTypes)));
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", device.c_str());
    if (fd < 0 || syscall(SYS_ioctl, fd, SIOCGIFINDEX, &request) != 0) give("no packet socket");
    sockaddr_ll place{};
    place.sll_family = AF_PACKET;
    place.sll_protocol = htons(kAllTypes);
    place.sll_ifindex = request.ifr_ifindex;
    if (syscall(SYS_bind, fd, &place, sizeof place) != 0) give("no packet socket");
    return fd;
}

virtual_onu::Frame frame(const char* source, const char* destination) {
    virtual_onu::Frame made;
    made.source = source;
    made.destination = destination;
    made.etherType = 0x88B5;
    made.payloadSize = 46;
    return made;
}

// Whether the frame comes out within a second; the kernel puts it off when there is much to do, and sends frames of its
// own beside it.
bool receive(int fd, const std::vector<std::uint8_t>& expected, std::vector<std::uint8_t>& buffer) {
    const auto wanted = static_cast<long>(expected.size());
    for (int tries = 0; tries < 1000; ++tries) {
        long got = 0;
        while ((got = syscall(SYS_read, fd, buffer.data(), buffer.size())) > 0)
            if (got == wanted && std::equal(expected.begin(), expected.end(), buffer.begin())) return true;
        pollfd readable{fd, POLLIN, 0};
        const timespec aMillisecond{0, 1'000'000};
        syscall(SYS_ppoll, &readable, 1, &aMillisecond, nullptr, 0);
    }
    return false;
}

void ThroughKernel(benchmark::State& state) {
    run("ip link add brk type bridge && ip link set brk up && for n in 0 1; do ip link add k$n type veth peer name "
        "f$n; "
        "ip link set k$n master brk; ip link set k$n up; ip link set f$n up; done; sleep 0.2");
    const int in = socketAt("f0"), out = socketAt("f1");
    std::vector<std::uint8_t> buffer(2000);
    const auto there = frame(kThere, kHere).bytes(), here = frame(kHere, kThere).bytes();
    syscall(SYS_write, out, there.data(), there.size());  // so that the bridge knows where it is
    while (syscall(SYS_read, out, buffer.data(), buffer.size()) > 0) {
    }
    for (auto _ : state) {
        syscall(SYS_write, in, here.data(), here.size());
        if (!receive(out, here, buffer)) return state.SkipWithError("the frame does not come out");
    }
    state.SetItemsProcessed(state.iterations());
    run("ip link del brk && ip link del k0 && ip link del k1");
}

void ThroughVirtualOnu(benchmark::State& state) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    bool made = std::system("brctl addbr brv") == 0 && std::system("ifconfig brv up") == 0;
    for (const char* port : {"v0", "v1"}) {
        const std::string name = port;
        made = made && onu.addDevice(name) && std::system(("ifconfig " + name + " up").c_str()) == 0 &&
               std::system(("brctl addif brv " + name).c_str()) == 0;
    }
    onu.sendFromPort("v1", frame(kThere, kHere));
    const virtual_onu::Frame here = frame(kHere, kThere);
    if (!made || onu.sendFromPort("v0", here).exits.size() != 1) return state.SkipWithError("the frame does not leave");
    for (auto _ : state) benchmark::DoNotOptimize(onu.sendFromPort("v0", here));
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(ThroughKernel)->Name("bridge/kernel");
BENCHMARK(ThroughVirtualOnu)->Name("bridge/virtual");

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (unshare(CLONE_NEWNET) != 0) give(std::string("no network namespace: ") + std::strerror(errno));
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
