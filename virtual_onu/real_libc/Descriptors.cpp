#include "real_libc/Descriptors.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <map>

#include "Core.h"
#include "Section.h"
#include "real_libc/FileIdentity.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::descriptors {
namespace {

constexpr int kLimit = 65536;

// What is behind a number, and how to know it again.
struct Slot {
    std::atomic<Kind> kind;  // zero: NotOurs
    std::atomic<std::uint64_t> device;
    std::atomic<std::uint64_t> inode;
};
Slot slots[kLimit];

// The process that the table belongs to. A child of vfork() sees the table too: it runs in its parent's memory with
// descriptors of its own.
std::atomic<pid_t> owner{0};

std::map<int, std::string>& paths() {
    static auto& map = *new std::map<int, std::string>;
    return map;
}

void becomeOwner() {
    owner.store(getpid(), std::memory_order_relaxed);
}

__attribute__((constructor)) void begin() {
    becomeOwner();
    pthread_atfork(nullptr, nullptr, becomeOwner);
}

// A number can be closed behind our back, by a system call of the program's own, and be given to another file.
bool isStillTheSame(int fd) {
    const FileIdentity found = FileIdentity::of(fd);
    return found.inode != 0 && found.device == slots[fd].device.load(std::memory_order_relaxed) &&
           found.inode == slots[fd].inode.load(std::memory_order_relaxed);
}

}  // namespace

Kind kindOf(int fd) {
    if (fd < 0 || fd >= kLimit) return Kind::NotOurs;
    Kind kind = slots[fd].kind.load(std::memory_order_acquire);
    if (kind == Kind::NotOurs) return kind;
    if (owner.load(std::memory_order_relaxed) != getpid()) return Kind::NotOurs;
    if (isStillTheSame(fd)) return kind;
    slots[fd].kind.compare_exchange_strong(kind, Kind::NotOurs);
    return Kind::NotOurs;
}

int adopt(int fd, Kind kind, const std::string& path) {
    const FileIdentity found = FileIdentity::of(fd);
    if (fd >= kLimit || found.inode == 0) {
        real::close(fd);
        return -EMFILE;
    }
    const DeviceAccess lock(deviceMutex());
    if (owner.load(std::memory_order_relaxed) == 0) becomeOwner();  // before any start-up code has run
    persistence::changed(persistence::kRunDescriptors, getpid());
    paths()[fd] = path;
    slots[fd].device.store(found.device, std::memory_order_relaxed);
    slots[fd].inode.store(found.inode, std::memory_order_relaxed);
    slots[fd].kind.store(kind, std::memory_order_release);
    return fd;
}

std::string pathOf(int fd) {
    const DeviceAccess lock(deviceMutex());
    const auto found = paths().find(fd);
    return found == paths().end() ? std::string() : found->second;
}

void forget(int fd) {
    if (fd < 0 || fd >= kLimit) return;
    const DeviceAccess lock(deviceMutex());
    persistence::changed(persistence::kRunDescriptors, getpid());
    paths().erase(fd);
    slots[fd].kind.store(Kind::NotOurs, std::memory_order_release);
}

std::vector<int> between(unsigned first, unsigned last) {
    const DeviceAccess lock(deviceMutex());
    std::vector<int> found;
    for (const auto& [fd, path] : paths()) {
        const auto number = static_cast<unsigned>(fd);
        if (number >= first && number <= last && kindOf(fd) != Kind::NotOurs) found.push_back(fd);
    }
    return found;
}

namespace {

int ownCount() {
    int count = 0;
    for (const auto& [fd, path] : paths()) {
        const Kind kind = kindOf(fd);
        if (kind != Kind::PacketSocket && kind != Kind::NotOurs) ++count;
    }
    return count;
}

// Of other processes. What those had open that are gone is closed.
std::map<pid_t, int>& others() {
    static auto& map = *new std::map<pid_t, int>;
    return map;
}

struct OpenCounts : persistence::InMap<pid_t, int, others> {
    template <typename Record>
    static void fields(Record& record, int& open) {
        record.number("open", open, 0);
    }
    static std::vector<std::string> keys() { return {}; }
    static std::optional<int> get(pid_t /*own*/) { return ownCount(); }
};

}  // namespace

int openCount() {
    const DeviceAccess lock(deviceMutex());
    int count = ownCount();
    for (const auto& [process, open] : others())
        if (process != getpid() && (kill(process, 0) == 0 || errno != ESRCH)) count += open;
    return count;
}

const persistence::Section* section() {
    return persistence::section<OpenCounts>(persistence::kRunDescriptors);
}

}  // namespace virtual_onu::descriptors
