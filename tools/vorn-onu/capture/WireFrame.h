// A frame's bytes as the data path's fields, and the frame that comes out of it as bytes with the payload that went in.
#ifndef VORN_ONU_WIRE_FRAME_H
#define VORN_ONU_WIRE_FRAME_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "VirtualOnu.h"

namespace vorn_onu {

struct WireFrame {
    virtual_onu::Frame frame;
    std::size_t payloadAt = 0;  // where the payload begins in the bytes
};

// Tags are taken as such with the TPIDs 0x8100, 0x88a8 and 0x9100, as many as the data path carries. False for fewer
// bytes than an Ethernet header. made is used again from frame to frame, so that its memory is.
bool readFrame(const std::uint8_t* bytes, std::size_t size, std::size_t wireSize, WireFrame& made);

// The frame that left, with everything behind the last type word of the one that came in.
void writeFrame(const virtual_onu::Frame& left, const std::uint8_t* bytes, std::size_t size, std::size_t payloadAt,
                std::vector<std::uint8_t>& out);

}  // namespace vorn_onu

#endif
