// Reads fields one after another; what lies beyond the end is 0 and noted.
#ifndef OMCI_MESSAGE_CONTENT_READER_H
#define OMCI_MESSAGE_CONTENT_READER_H

#include <cstdint>

#include "omci/message/Bytes.h"

namespace omci {

class ContentReader {
public:
    explicit ContentReader(ByteView bytes) : bytes_(bytes) {}

    std::uint8_t number8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t number16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t number32() { return static_cast<std::uint32_t>(number(4)); }
    // At most count bytes, fewer where the end comes.
    ByteView upTo(std::size_t count) {
        const ByteView part = bytes_.part(at_, count);
        at_ += part.size();
        return part;
    }
    // Exactly count bytes; fewer are noted.
    ByteView exactly(std::size_t count) {
        const ByteView part = upTo(count);
        if (part.size() < count) tooShort_ = true;
        return part;
    }
    ByteView rest() { return upTo(bytes_.size()); }
    std::size_t left() const { return bytes_.size() - at_; }
    bool tooShort() const { return tooShort_; }

private:
    std::uint64_t number(std::size_t size) {
        const ByteView part = exactly(size);
        return part.size() == size ? numberOf(part) : 0;
    }

    ByteView bytes_;
    std::size_t at_ = 0;
    bool tooShort_ = false;
};

}  // namespace omci

#endif
