#include "libc/program/Unsaved.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

#include "libc/program/Program.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::unsaved {

namespace {

struct SharedSlot {
    std::atomic<std::int32_t> process;
    std::atomic<std::uint32_t> written;
};
static_assert(sizeof(SharedSlot) == sizeof(ProcessSlot) && std::atomic<std::int32_t>::is_always_lock_free,
              "the tool reads the page too");

SharedSlot* page = nullptr;

}  // namespace

void begin() {
    if (program::settings().runFolder.empty()) return;
    const std::string path = program::settings().runFolder + "/unsaved";
    const int fd = real::open(path.c_str(), O_RDWR | O_CLOEXEC, 0);
    if (fd < 0) return;
    struct stat found {};
    const std::size_t size = kMaxProcesses * sizeof(ProcessSlot);
    if (fstat(fd, &found) == 0 && static_cast<std::size_t>(found.st_size) >= size) {
        void* place = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (place != MAP_FAILED) page = static_cast<SharedSlot*>(place);
    }
    real::close(fd);
}

void mark() {
    if (page == nullptr) return;
    const std::int32_t own = getpid();
    for (int i = 0; i < kMaxProcesses; ++i) {
        std::int32_t found = 0;
        if (page[i].process.compare_exchange_strong(found, own) || found == own) return;
    }
}

void clear() {
    if (page == nullptr) return;
    for (int i = 0; i < kMaxProcesses; ++i) {
        std::int32_t own = getpid();
        if (page[i].process.compare_exchange_strong(own, 0)) return;
    }
}

void written() {
    if (page == nullptr) return;
    const std::int32_t own = getpid();
    for (int i = 0; i < kMaxProcesses; ++i)
        if (page[i].process == own) ++page[i].written;
}

}  // namespace virtual_onu::unsaved
