#include "state/MappedHeader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace state {

MappedHeader::MappedHeader(MappedHeader&& other) noexcept
    : place_(std::exchange(other.place_, nullptr)), size_(other.size_) {}

MappedHeader& MappedHeader::operator=(MappedHeader&& other) noexcept {
    if (this == &other) return *this;
    reset();
    place_ = std::exchange(other.place_, nullptr);
    size_ = other.size_;
    return *this;
}

void MappedHeader::map(int fd, std::size_t size) {
    reset();
    void* const place = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (place == MAP_FAILED) return;
    place_ = place;
    size_ = size;
}

// By the kernel, out of a pipe: where somebody has made the file shorter it answers with an error, and a store of our
// own would end the daemon.
bool MappedHeader::write(std::string_view bytes) {
    int ends[2] = {-1, -1};
    if (place_ == nullptr || bytes.size() > size_ || pipe2(ends, O_CLOEXEC) != 0) return false;
    const auto size = static_cast<ssize_t>(bytes.size());
    const bool written =
        ::write(ends[1], bytes.data(), bytes.size()) == size && read(ends[0], place_, bytes.size()) == size;
    close(ends[0]);
    close(ends[1]);
    return written;
}

void MappedHeader::reset() {
    if (place_ != nullptr) munmap(place_, size_);
    place_ = nullptr;
}

}  // namespace state
