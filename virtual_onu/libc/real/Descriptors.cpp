#include "libc/real/Descriptors.h"

#include <atomic>
#include <cerrno>
#include <map>

#include "Core.h"
#include "libc/real/RealLibc.h"

namespace virtual_onu::descriptors {
namespace {

constexpr int kLimit = 65536;
std::atomic<Kind> kinds[kLimit];  // zero: NotOurs

std::map<int, std::string>& paths() {
    static auto& map = *new std::map<int, std::string>;
    return map;
}

}  // namespace

Kind kindOf(int fd) {
    return fd < 0 || fd >= kLimit ? Kind::NotOurs : kinds[fd].load(std::memory_order_acquire);
}

int adopt(int fd, Kind kind, const std::string& path) {
    if (fd >= kLimit) {
        real::close(fd);
        return -EMFILE;
    }
    const DeviceLock lock(deviceMutex());
    paths()[fd] = path;
    kinds[fd].store(kind, std::memory_order_release);
    return fd;
}

std::string pathOf(int fd) {
    const DeviceLock lock(deviceMutex());
    const auto found = paths().find(fd);
    return found == paths().end() ? std::string() : found->second;
}

void forget(int fd) {
    if (kindOf(fd) == Kind::NotOurs) return;
    const DeviceLock lock(deviceMutex());
    paths().erase(fd);
    kinds[fd].store(Kind::NotOurs, std::memory_order_release);
}

int openCount() {
    const DeviceLock lock(deviceMutex());
    int count = 0;
    for (const auto& [fd, path] : paths()) {
        if (kindOf(fd) != Kind::PacketSocket) ++count;
    }
    return count;
}

}  // namespace virtual_onu::descriptors
