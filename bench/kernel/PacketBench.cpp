// Real packets through an internet service: a packet socket in one network namespace sends frames of 1,500 bytes into a
// TAP, the virtual ONU inside of a daemon carries them, and the TAP at the other end counts. The tool, the daemon and
// the thread that carries stay on one processor, the sender on another where there is one.
//   vorn_packet_bench VORN-ONU EXAMPLE-DAEMON [SECONDS]
// prints a JSON object. Needs /dev/net/tun and the rights to make network namespaces.
// With "bare" for VORN-ONU a loop that reads one TAP and writes the other takes the board's place: what TAPs alone
// cost.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kFrameOctets = 1500;
constexpr std::size_t kBatch = 50;

[[noreturn]] void give(const std::string& what) {
    std::fprintf(stderr, "packet benchmark: %s\n", what.c_str());
    std::exit(1);
}

void stayOn(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    sched_setaffinity(0, sizeof set, &set);
}

// A process that holds a network namespace until this one ends.
pid_t makeNamespace() {
    int ready[2];
    if (pipe(ready) != 0) give("no pipe");
    const pid_t holder = fork();
    if (holder == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (unshare(CLONE_NEWNET) != 0 || write(ready[1], "y", 1) != 1) _exit(1);
        while (true) pause();
    }
    close(ready[1]);
    char made = 'n';
    if (read(ready[0], &made, 1) != 1 || made != 'y') give("no network namespace of its own");
    close(ready[0]);
    return holder;
}

std::string pathOf(pid_t holder) {
    return "/proc/" + std::to_string(holder) + "/ns/net";
}

// This process goes there, too: sockets that it opens belong to the namespace.
void enter(pid_t holder) {
    const int place = open(pathOf(holder).c_str(), O_RDONLY);
    if (place < 0 || setns(place, CLONE_NEWNET) != 0) give("a namespace cannot be entered");
    close(place);
}

struct Counters {
    std::uint64_t received = 0, sent = 0, sendDropped = 0;
};

// /proc/net/dev of the thread that looks: the interface's counters, as the host sees it.
Counters countersOf(const std::string& interface) {
    std::ifstream file("/proc/thread-self/net/dev");
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || line.find(interface) == std::string::npos) continue;
        std::istringstream words(line.substr(colon + 1));
        std::array<std::uint64_t, 16> all{};
        for (auto& one : all) words >> one;
        return {all[1], all[9], all[11]};
    }
    return {};
}

int socketAt(const std::string& interface) {
    const int fd = socket(AF_PACKET, SOCK_RAW, 0);
    sockaddr_ll place{};
    place.sll_family = AF_PACKET;
    place.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    if (fd < 0 || place.sll_ifindex == 0 || bind(fd, reinterpret_cast<sockaddr*>(&place), sizeof place) != 0)
        give("no packet socket at " + interface);
    return fd;
}

// Broadcast would be flooded; these two are learned at once. They are none of the board's own, which begin with 02:00.
std::vector<std::uint8_t> frame(bool up) {
    const std::uint8_t destination = up ? 2 : 1, source = up ? 1 : 2;
    std::vector<std::uint8_t> bytes = {2, 0xAA, 0, 0, 0, destination, 2, 0xAA, 0, 0, 0, source};
    if (!up) bytes.insert(bytes.end(), {0x81, 0x00, 0x00, 100});
    bytes.insert(bytes.end(), {0x08, 0x00, 0x45, 0, 0x05, 0xCE, 0, 0, 0, 0, 64, 17, 0, 0, 192, 0, 2, 1, 192, 0, 2, 2});
    bytes.resize(kFrameOctets);
    return bytes;
}

double processorSeconds(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string word;
    double ticks = 0;
    for (int i = 1; i <= 15 && file >> word; ++i)
        if (i >= 14) ticks += std::strtod(word.c_str(), nullptr);
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// Sends at this rate for so long; answers how many frames the socket took. 0: as many as it takes.
std::uint64_t send(int socket, const std::vector<std::uint8_t>& bytes, std::uint64_t rate, double seconds) {
    iovec content{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
    std::vector<mmsghdr> messages(kBatch);
    for (mmsghdr& one : messages) {
        one.msg_hdr.msg_iov = &content;
        one.msg_hdr.msg_iovlen = 1;
    }
    const auto begin = Clock::now();
    std::uint64_t sent = 0;
    while (true) {
        const double passed = std::chrono::duration<double>(Clock::now() - begin).count();
        if (passed >= seconds) return sent;
        if (rate != 0 && static_cast<double>(sent) > passed * static_cast<double>(rate)) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            continue;
        }
        const int took = sendmmsg(socket, messages.data(), kBatch, 0);
        if (took > 0) sent += static_cast<std::uint64_t>(took);
    }
}

struct Ends {
    pid_t customer, operators;
};

pid_t processBelow(pid_t tool) {
    std::ifstream file("/proc/" + std::to_string(tool) + "/task/" + std::to_string(tool) + "/children");
    pid_t child = 0;
    file >> child;
    return child;
}

void measure(const Ends& ends, pid_t daemon, bool up, std::uint64_t rate, double seconds, bool last) {
    const pid_t from = up ? ends.customer : ends.operators, to = up ? ends.operators : ends.customer;
    const std::string in = up ? "lan0" : "pon0", out = up ? "pon0" : "lan0";
    enter(to);
    const Counters before = countersOf(out);
    enter(from);
    const Counters host = countersOf(in);
    const int socket = socketAt(in);
    const double processor = processorSeconds(daemon);
    const auto begin = Clock::now();
    const std::uint64_t sent = send(socket, frame(up), rate, seconds);
    const double took = std::chrono::duration<double>(Clock::now() - begin).count();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const double used = processorSeconds(daemon) - processor;
    close(socket);
    const std::uint64_t lost = countersOf(in).sendDropped - host.sendDropped;
    enter(to);
    const std::uint64_t carried = countersOf(out).received - before.received;
    std::printf(
        "  {\"way\": \"%s\", \"offered\": %llu, \"sent\": %.0f, \"carried\": %.0f, \"missing\": %llu, \"hostDropped\": "
        "%llu, "
        "\"processorUs\": %.2f}%s\n",
        up ? "up" : "down", static_cast<unsigned long long>(rate), static_cast<double>(sent) / took,
        static_cast<double>(carried) / took, static_cast<unsigned long long>(sent > carried ? sent - carried : 0),
        static_cast<unsigned long long>(lost), carried == 0 ? 0 : used * 1e6 / static_cast<double>(carried),
        last ? "" : ",");
    std::fflush(stdout);
}

int tapIn(pid_t holder, const char* name) {
    enter(holder);
    const int tap = open("/dev/net/tun", O_RDWR | O_NONBLOCK), control = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", name);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (ioctl(tap, TUNSETIFF, &request) != 0) give(std::string("no TAP ") + name);
    request.ifr_flags = IFF_UP;
    if (ioctl(control, SIOCSIFFLAGS, &request) != 0) give(std::string("cannot be up: ") + name);
    close(control);
    return tap;
}

[[noreturn]] void carryOnly(const Ends& ends) {
    std::array<pollfd, 2> taps{{{tapIn(ends.customer, "lan0"), POLLIN, 0}, {tapIn(ends.operators, "pon0"), POLLIN, 0}}};
    std::array<std::uint8_t, 2048> bytes{};
    while (true) {
        poll(taps.data(), taps.size(), -1);
        for (std::size_t from = 0; from < taps.size(); ++from)
            for (ssize_t size = 0; (size = read(taps[from].fd, bytes.data(), bytes.size())) > 0;)
                if (write(taps[1 - from].fd, bytes.data(), static_cast<std::size_t>(size)) < 0) break;
    }
}

pid_t startBoard(const Ends& ends, const char* tool, const char* daemon) {
    const pid_t board = fork();
    if (board != 0) return board;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    stayOn(0);
    if (std::strcmp(tool, "bare") == 0) carryOnly(ends);
    const int nothing = open("/dev/null", O_WRONLY);
    dup2(nothing, STDOUT_FILENO);
    const std::string lan = "sid1=lan0@" + pathOf(ends.customer), pon = "gem 1001=pon0@" + pathOf(ends.operators);
    execl(tool, tool, "exec", "--tap", lan.c_str(), "--tap", pon.c_str(), "--quiet", "--", daemon, "--stay", nullptr);
    _exit(127);
}

}  // namespace

int main(int argc, char** argv) {
    const bool bare = argc > 1 && std::strcmp(argv[1], "bare") == 0;
    if (argc < 3) give("say where vorn-onu and example-daemon are");
    const double seconds = argc > 3 ? std::strtod(argv[3], nullptr) : 5;
    const Ends ends{makeNamespace(), makeNamespace()};
    const pid_t board = startBoard(ends, argv[1], argv[2]);
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) stayOn(1);
    std::this_thread::sleep_for(std::chrono::seconds(3));
    const pid_t daemon = bare ? board : processBelow(board);
    if (daemon == 0) give("the daemon does not run");
    std::printf("[\n");
    for (const bool up : {true, false})
        for (const std::uint64_t rate : {50000u, 100000u, 200000u, 0u})
            measure(ends, daemon, up, rate, seconds, !up && rate == 0);
    std::printf("]\n");
    kill(board, SIGTERM);
    waitpid(board, nullptr, 0);
    kill(ends.customer, SIGKILL);
    kill(ends.operators, SIGKILL);
    return 0;
}
