#include "libc/program/TapLease.h"

#include <linux/close_range.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "SignalsBlocked.h"
#include "libc/program/Program.h"
#include "libc/program/Snapshot.h"
#include "real_libc/OwnDescriptor.h"
#include "real_libc/RealLibc.h"
#include "taps/OwnDescriptors.h"
#include "taps/Pump.h"

namespace virtual_onu::taplease {

namespace own = taps::own;

namespace {

constexpr std::size_t kMaxDescriptors = 253;  // of one message

std::atomic<bool> wanted{false};
std::atomic<bool> runs{false};
std::atomic<std::int64_t> touchedAt{0};  // nanoseconds of the monotonic clock, which processes have in common

std::string socketPath() {
    return program::settings().runFolder + "/taps";
}

int connected() {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    const std::string path = socketPath();
    if (path.size() >= sizeof place.sun_path) return -1;
    std::copy(path.begin(), path.end(), place.sun_path);
    const int lender = own::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (lender < 0) return -1;
    // A process that asks late, because its thread came late, does not take the TAPs from one that began after it.
    const std::int64_t since = touchedAt;
    if (own::connect(lender, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0 &&
        own::send(lender, &since, sizeof since, MSG_NOSIGNAL) == sizeof since)
        return lender;
    own::close(lender);
    return -1;
}

// Waits for the lender's word. False when there is no lender any more.
bool hear(int lender, std::vector<int>& descriptors) {
    char word[8];
    iovec content{word, sizeof word};
    alignas(cmsghdr) char control[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t got = 0;
    while ((got = own::receiveMessage(lender, &message, MSG_CMSG_CLOEXEC)) < 0 && errno == EINTR) {
    }
    if (got <= 0) return false;
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_type != SCM_RIGHTS) return true;
    descriptors.resize((header->cmsg_len - CMSG_LEN(0)) / sizeof(int));
    std::memcpy(descriptors.data(), CMSG_DATA(header), descriptors.size() * sizeof(int));
    return true;
}

bool isOver(int lender) {
    char word = 0;
    return own::receive(lender, &word, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

// Frames move the device's counters, which belong to its state.
void tell(bool framesPassed) {
    if (framesPassed) snapshot::touched();
}

void* sayWhy(const char* why) {
    program::say(std::string("no real packets pass: ") + why);
    return nullptr;
}

void borrow(int lender) {
    std::vector<int> descriptors;
    bool saidAll = false;
    while (hear(lender, descriptors)) {
        if (descriptors.empty()) continue;  // another process has the TAPs now
        const taps::OpenTaps open(descriptors);
        if (open.page == nullptr) return static_cast<void>(sayWhy("the tool is of another version"));
        if (!std::exchange(saidAll, true)) own::close(STDERR_FILENO);
        taps::Pump pump(open, tell);
        pump.run(lender);
        if (isOver(lender)) pump.run(-1);  // a program goes on in the background, and so do its packets
        descriptors.clear();
    }
}

// The thread has descriptors of its own: none of the program's, which may close its own as it likes, and the program
// has none of these. Standard error stays until it is known that all is well.
void* carrier(void* /*unused*/) {
    if (syscall(SYS_close_range, STDERR_FILENO + 1u, UINT_MAX, CLOSE_RANGE_UNSHARE) != 0)
        return sayWhy("Linux 5.9 or later is needed");
    hasOwnDescriptorTable();
    syscall(SYS_close_range, 0u, STDERR_FILENO - 1u, 0);
    const int lender = connected();
    if (lender < 0)
        return sayWhy("the tool cannot be reached (has the program changed its user or its root directory?)");
    borrow(lender);
    own::close(lender);
    return nullptr;
}

void afterForkInChild() {
    runs = false;
}

}  // namespace

void begin() {
    if (program::settings().runFolder.empty() || real::access(socketPath().c_str(), F_OK) != 0) return;
    wanted = true;
    pthread_atfork(nullptr, nullptr, afterForkInChild);
}

void touched() {
    if (!wanted.load(std::memory_order_relaxed) || runs.exchange(true)) return;
    touchedAt = std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
    const SignalsBlocked blocked;
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, carrier, nullptr) == 0)
        pthread_detach(thread);
    else
        runs = false;
}

}  // namespace virtual_onu::taplease
