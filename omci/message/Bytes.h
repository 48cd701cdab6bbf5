// Bytes and ranges of bytes: numbers in messages are big-endian.
#ifndef OMCI_MESSAGE_BYTES_H
#define OMCI_MESSAGE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace omci {

using Bytes = std::vector<std::uint8_t>;
using TableRows = std::vector<Bytes>;  // rows of a table attribute

// Bytes of somebody else; valid as long as theirs.
class ByteView {
public:
    constexpr ByteView() = default;
    constexpr ByteView(const std::uint8_t* first, std::size_t count) : data_(first), size_(count) {}
    ByteView(const Bytes& bytes) : data_(bytes.data()), size_(bytes.size()) {}  // NOLINT: a vector is such a range

    constexpr const std::uint8_t* data() const { return data_; }
    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }
    constexpr const std::uint8_t* begin() const { return data_; }
    constexpr const std::uint8_t* end() const { return data_ + size_; }
    constexpr std::uint8_t operator[](std::size_t index) const { return data_[index]; }

    // The bytes from offset on, count at most; what lies beyond the end is not there.
    constexpr ByteView part(std::size_t offset, std::size_t count = SIZE_MAX) const {
        const std::size_t from = offset < size_ ? offset : size_;
        return {data_ + from, count < size_ - from ? count : size_ - from};
    }
    Bytes copy() const { return Bytes(begin(), end()); }

private:
    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

bool operator==(ByteView one, ByteView other);
inline bool operator!=(ByteView one, ByteView other) {
    return !(one == other);
}

// The number that the bytes hold, at most the last eight of them.
std::uint64_t numberOf(ByteView bytes);
// Two bytes at offset; 0 where they do not exist.
std::uint16_t number16(ByteView bytes, std::size_t offset);
std::uint32_t number32(ByteView bytes, std::size_t offset);
// Writes the low size bytes of value, the highest first; a number has eight, and zeros go before them.
void putNumber(std::uint8_t* to, std::uint64_t value, std::size_t size);
void appendNumber(Bytes& to, std::uint64_t value, std::size_t size);
bool allAre(ByteView bytes, std::uint8_t value);

}  // namespace omci

#endif
