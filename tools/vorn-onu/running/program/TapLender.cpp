#include "running/program/TapLender.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "OwnThread.h"

namespace vorn_onu {

TapLender::TapLender(const virtual_onu::Taps& taps, const std::string& folder)
    : taps_(taps), descriptors_(taps.descriptors()), path_(folder + "/taps") {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    if (path_.size() >= sizeof place.sun_path)
        throw std::runtime_error(path_ + ": the path is too long for a socket; set TMPDIR to a shorter one");
    std::copy(path_.begin(), path_.end(), place.sun_path);
    listening_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ending_ = eventfd(0, EFD_CLOEXEC);
    if (listening_ < 0 || ending_ < 0 ||
        bind(listening_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
        listen(listening_, SOMAXCONN) != 0)
        throw std::runtime_error(path_ + ": " + std::generic_category().message(errno));
    thread_ = virtual_onu::startThread([this] { serve(); });
}

TapLender::~TapLender() {
    eventfd_write(ending_, 1);
    thread_.join();
    for (const Process& one : processes_) close(one.connection);
    close(listening_);
    close(ending_);
    unlink(path_.c_str());
}

void TapLender::serve() {
    while (true) {
        std::vector<pollfd> waits{{ending_, POLLIN, 0}, {listening_, POLLIN, 0}};
        for (const Process& one : processes_) waits.push_back({one.connection, POLLIN, 0});
        poll(waits.data(), static_cast<nfds_t>(waits.size()), -1);
        if (waits[0].revents != 0) return;
        const int before = holder();
        processes_.erase(std::remove_if(processes_.begin(), processes_.end(), isGone), processes_.end());
        std::stable_sort(processes_.begin(), processes_.end(),
                         [](const Process& one, const Process& other) { return one.since < other.since; });
        if (const int now = holder(); now != before) {
            const bool lives = std::any_of(processes_.begin(), processes_.end(),
                                           [&](const Process& one) { return one.connection == before; });
            if (lives) ::send(before, "stop", 4, MSG_NOSIGNAL | MSG_DONTWAIT);
            taps_.setCarriers(now >= 0);  // first, or the board would see its links come up
            if (now >= 0) give(now);
        }
        if (waits[1].revents == 0) continue;
        const int process = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
        if (process >= 0) processes_.insert(processes_.begin(), {process, 0});
    }
}

int TapLender::holder() const {
    return processes_.empty() || processes_.back().since == 0 ? -1 : processes_.back().connection;
}

bool TapLender::isGone(Process& process) {
    std::int64_t since = 0;
    const ssize_t got = recv(process.connection, &since, sizeof since, MSG_DONTWAIT);
    if (got == sizeof since) process.since = since;
    if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return false;
    close(process.connection);
    return true;
}

void TapLender::give(int connection) const {
    char word[] = "go";
    iovec content{word, 2};
    std::vector<char> control(CMSG_SPACE(descriptors_.size() * sizeof(int)));
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(descriptors_.size() * sizeof(int));
    std::memcpy(CMSG_DATA(header), descriptors_.data(), descriptors_.size() * sizeof(int));
    sendmsg(connection, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace vorn_onu
