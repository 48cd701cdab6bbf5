// Blocks of a pcapng file, made one after the other: a section header, interfaces before their first frame, frames.
#ifndef VORN_ONU_PCAPNG_H
#define VORN_ONU_PCAPNG_H

#include <cstdint>
#include <string>
#include <vector>

namespace vorn_onu {

struct PcapngPacket {
    enum class Direction : std::uint8_t { In = 1, Out = 2 };  // as the ONU's port sees the frame
    std::uint32_t interface = 0;                              // in the order of appendInterface, from 0
    std::uint64_t timeUs = 0;                                 // since the epoch
    Direction direction = Direction::Out;
    std::string comment;
};

void appendSectionHeader(std::vector<std::uint8_t>& file);
void appendInterface(std::vector<std::uint8_t>& file, const std::string& name);
void appendPacket(std::vector<std::uint8_t>& file, const PcapngPacket& packet, const std::vector<std::uint8_t>& frame);

}  // namespace vorn_onu

#endif
