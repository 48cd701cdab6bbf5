#include "living/LineSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>

namespace vorn_onu::living {

namespace {

using Clock = std::chrono::steady_clock;

// Milliseconds until then for poll(), at least 0.
int left(Clock::time_point end) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<std::int64_t>(rest, 0));
}

bool waitFor(int descriptor, short event, int waitMs, Clock::time_point end) {
    pollfd one{descriptor, event, 0};
    while (true) {
        const int ready = poll(&one, 1, waitMs == kForever ? kForever : left(end));
        if (ready > 0) return true;
        if (ready == 0) return false;
        if (errno != EINTR) return true;  // the next call on it says what is wrong
    }
}

// Past the functions of the C library that the virtual ONU interposes: a fault that a user has planned for the
// program's sockets is none of ours. And past those that the thread sanitizer interposes, which takes a program that
// closes all descriptors for a race with whoever uses one; here that is looked out for.
long receive(int descriptor, void* bytes, std::size_t size) {
    return syscall(SYS_recvfrom, descriptor, bytes, size, MSG_DONTWAIT, nullptr, nullptr);
}
long transmit(int descriptor, const void* bytes, std::size_t size) {
    return syscall(SYS_sendto, descriptor, bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL, nullptr, 0);
}
void closeDescriptor(int descriptor) {
    syscall(SYS_close, descriptor);
}

}  // namespace

LineSocket::LineSocket(int descriptor, std::size_t longest) : descriptor_(descriptor), longest_(longest) {}

LineSocket::~LineSocket() {
    if (descriptor_ >= 0) closeDescriptor(descriptor_);
}

bool LineSocket::hasLeft(int waitMs) const {
    pollfd one{descriptor_, 0, 0};
    return poll(&one, 1, waitMs) > 0 && (one.revents & (POLLHUP | POLLERR)) != 0;
}

bool LineSocket::take(std::string& line) {
    const std::size_t end = buffer_.find('\n', looked_);
    if (end == std::string::npos) {
        looked_ = buffer_.size();
        return false;
    }
    line.assign(buffer_, 0, end);
    buffer_.erase(0, end + 1);
    looked_ = 0;
    return true;
}

Got LineSocket::read(std::string& line, int waitMs) {
    const auto end = Clock::now() + std::chrono::milliseconds(waitMs);
    char bytes[16384];
    while (!take(line)) {
        if (buffer_.size() > longest_) return Got::TooLong;
        if (!waitFor(descriptor_, POLLIN, waitMs, end)) return Got::Nothing;
        const long count = receive(descriptor_, bytes, sizeof bytes);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (count <= 0) return Got::Closed;
        buffer_.append(bytes, static_cast<std::size_t>(count));
    }
    return line.size() > longest_ ? Got::TooLong : Got::Line;
}

bool LineSocket::write(const std::string& line, int waitMs) {
    const auto end = Clock::now() + std::chrono::milliseconds(waitMs);
    const std::string text = line + "\n";
    std::size_t done = 0;
    while (done < text.size()) {
        const long count = transmit(descriptor_, text.data() + done, text.size() - done);
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            if (!waitFor(descriptor_, POLLOUT, waitMs, end)) return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void LineSocket::shutDown() {
    shutdown(descriptor_, SHUT_RDWR);
}

int connectTo(const std::string& path) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    if (path.size() >= sizeof place.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::copy(path.begin(), path.end(), place.sun_path);
    const int descriptor = static_cast<int>(syscall(SYS_socket, AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (descriptor < 0) return -1;
    if (syscall(SYS_connect, descriptor, &place, sizeof place) == 0) return descriptor;
    const int error = errno;
    closeDescriptor(descriptor);
    errno = error;
    return -1;
}

}  // namespace vorn_onu::living
