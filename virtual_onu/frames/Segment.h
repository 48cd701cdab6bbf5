// A frame of which a host has left something to be done: its checksum, or to be cut into the frames that a wire
// carries.
#ifndef VIRTUAL_ONU_SEGMENT_H
#define VIRTUAL_ONU_SEGMENT_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "Frames.h"
#include "frames/WireHeader.h"

namespace virtual_onu::datapath {

class Segment {
public:
    // What the frame in this slot is. False where the offload does not fit it.
    bool read(const Offload& offload, const WireHeader& header, const WireSlot& slot);

    std::uint32_t frames() const { return frames_; }          // at least 1
    bool lacksChecksum() const { return offload_.checksum; }  // always where there is more than one
    // Octets behind the last type word: of a frame, and of so many from that one on.
    std::size_t payloadOf(std::uint32_t number) const;
    std::size_t payloadOf(std::uint32_t first, std::uint32_t frames) const;
    // How many from this one on have the same length.
    std::uint32_t alikeFrom(std::uint32_t number) const;

    // Whether a kernel can do the rest behind these tags: it looks for the content behind the TPIDs of 802.1Q alone,
    // and does not pad.
    bool canStayWhole(const Tags& tags, const WireSlot& slot) const;
    // What is left to be done behind so many octets of addresses, tags and type word.
    Offload behind(std::size_t header) const;

    // A frame as the wire carries it: its headers, content that lies in the slot, zeros.
    struct Piece {
        static constexpr std::size_t kMaxHeaders = 512;
        std::array<std::uint8_t, kMaxHeaders> room;
        const std::uint8_t* headers = nullptr;  // in the room
        std::size_t headerSize = 0;
        const std::uint8_t* content = nullptr;
        std::size_t contentSize = 0;
        std::size_t padding = 0;
        std::size_t size() const { return headerSize + contentSize + padding; }
    };
    void cut(const WireSlot& slot, const Tags& tags, std::uint32_t number, Piece& made) const;
    // Puts the checksum of a frame by itself into its slot.
    void finish(WireSlot& slot);

private:
    bool findContent(const WireSlot& slot);
    std::size_t contentOf(std::uint32_t number) const;

    Offload offload_;
    std::uint32_t frames_ = 1;
    std::uint16_t etherType_ = 0;
    std::size_t payloadSize_ = 0;
    // Octets behind the last type word that the data path looks at.
    std::size_t ip_ = 0, transport_ = 0, content_ = 0;
    bool ipv6_ = false;
};

}  // namespace virtual_onu::datapath

#endif
