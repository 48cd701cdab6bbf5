// Bytes that go through the data path by themselves, without a TAP.
#include <algorithm>

#include "Core.h"
#include "VirtualOnu.h"
#include "frames/DataPath.h"
#include "frames/WireHeader.h"

namespace virtual_onu {

namespace {

std::vector<WireExit> carried(const datapath::Entrance& entrance, const std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint8_t> room(datapath::kHeadroom + bytes.size() + datapath::kShortestFrame);
    datapath::WireSlot slot;
    slot.frame = room.data() + datapath::kHeadroom;
    slot.size = bytes.size();
    std::copy(bytes.begin(), bytes.end(), slot.frame);
    datapath::WireHeader header;
    if (!datapath::readHeader(slot.frame, slot.size, slot.size, header)) return {};
    slot.payload = slot.frame + header.payloadAt;
    slot.payloadSize = slot.size - header.payloadAt;
    datapath::Traversal traversal;
    std::vector<WireExit> exits;
    const DeviceAccess lock(deviceMutex());
    const datapath::Plan& plan = datapath::carry(entrance, datapath::packetOf(header), traversal);
    for (const auto& exit : traversal.exits) {
        WireExit made;
        made.device = exit.runner != nullptr ? exit.runner->egress : plan.device(exit.device).name;
        if (exit.gemPort != nullptr) made.gemPort = exit.gemPort->portId;
        const std::size_t size = datapath::writeCopy(slot, exit.tags);
        made.bytes.assign(slot.frame, slot.frame + size);
        exits.push_back(std::move(made));
    }
    return exits;
}

}  // namespace

std::vector<WireExit> VirtualOnu::carryFromPort(const std::string& device, const std::vector<std::uint8_t>& bytes) {
    return carried({device, 0}, bytes);
}

std::vector<WireExit> VirtualOnu::carryFromPon(unsigned gemPortId, const std::vector<std::uint8_t>& bytes) {
    return carried({"", gemPortId}, bytes);
}

}  // namespace virtual_onu
