// The beginning of a file in this process's memory: it can be written when the descriptor has been closed and the file
// is not to be opened again.
#ifndef STATE_MAPPED_HEADER_H
#define STATE_MAPPED_HEADER_H

#include <cstddef>
#include <string_view>

namespace state {

class MappedHeader {
public:
    MappedHeader() = default;
    ~MappedHeader() { reset(); }
    MappedHeader(MappedHeader&& other) noexcept;
    MappedHeader& operator=(MappedHeader&& other) noexcept;
    MappedHeader(const MappedHeader&) = delete;
    MappedHeader& operator=(const MappedHeader&) = delete;

    // The first bytes of the open file; of none in a file system that has no mappings.
    void map(int fd, std::size_t size);
    // Writes over the first bytes of the file. False when nothing is mapped or the file has become shorter.
    bool write(std::string_view bytes);
    void reset();

private:
    void* place_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace state

#endif
