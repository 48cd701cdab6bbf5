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

#include "SignalsBlocked.h"

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
    const virtual_onu::SignalsBlocked blocked;
    thread_ = std::thread([this] { serve(); });
}

TapLender::~TapLender() {
    eventfd_write(ending_, 1);
    thread_.join();
    for (const int one : processes_) close(one);
    close(listening_);
    close(ending_);
    unlink(path_.c_str());
}

void TapLender::serve() {
    while (true) {
        std::vector<pollfd> waits{{ending_, POLLIN, 0}, {listening_, POLLIN, 0}};
        for (const int one : processes_) waits.push_back({one, POLLIN, 0});
        poll(waits.data(), static_cast<nfds_t>(waits.size()), -1);
        if (waits[0].revents != 0) return;
        if (waits[1].revents != 0) take();
        const int last = processes_.empty() ? -1 : processes_.back();
        processes_.erase(std::remove_if(processes_.begin(), processes_.end(), [this](int one) { return isGone(one); }),
                         processes_.end());
        if (!processes_.empty() && processes_.back() != last) give(processes_.back());
        if (processes_.empty() && last >= 0) taps_.setCarriers(false);
    }
}

// The one that has the TAPs so far stops: it hears a word.
void TapLender::take() {
    const int process = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
    if (process < 0) return;
    if (!processes_.empty()) ::send(processes_.back(), "stop", 4, MSG_NOSIGNAL | MSG_DONTWAIT);
    processes_.push_back(process);
    taps_.setCarriers(true);  // first, or the board would see its links come up
    give(process);
}

bool TapLender::isGone(int process) const {
    char byte = 0;
    const ssize_t got = recv(process, &byte, 1, MSG_DONTWAIT);
    if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return false;
    close(process);
    return true;
}

void TapLender::give(int process) const {
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
    sendmsg(process, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace vorn_onu
