// Bytes that go through the data path by themselves, without a TAP.
#include <algorithm>

#include "Core.h"
#include "VirtualOnu.h"
#include "frames/DataPath.h"

namespace virtual_onu {

namespace {

using Bytes = std::vector<std::uint8_t>;

// Bytes where the data path can work at them.
struct Slot {
    Slot(const Bytes& bytes, const Offload& offload)
        : room(datapath::kHeadroom + bytes.size() + datapath::kShortestFrame) {
        slot.frame = room.data() + datapath::kHeadroom;
        slot.size = bytes.size();
        std::copy(bytes.begin(), bytes.end(), slot.frame);
        if (!datapath::readHeader(slot.frame, slot.size, slot.size, header)) return;
        slot.payload = slot.frame + header.payloadAt;
        slot.payloadSize = slot.size - header.payloadAt;
        valid = segment.read(offload, header, slot);
    }
    // The frame, or all of them, as it leaves with these tags.
    Bytes whole(const datapath::Tags& tags) {
        const std::size_t size = datapath::writeCopy(slot, tags);
        return {slot.frame, slot.frame + size};
    }
    Bytes frame(const datapath::Tags& tags, std::uint32_t number) {
        if (segment.frames() == 1) {
            if (segment.lacksChecksum()) segment.finish(slot);
            return whole(tags);
        }
        datapath::Segment::Piece piece;
        segment.cut(slot, tags, number, piece);
        Bytes bytes(piece.headers, piece.headers + piece.headerSize);
        bytes.insert(bytes.end(), piece.content, piece.content + piece.contentSize);
        bytes.resize(piece.size());
        return bytes;
    }

    Bytes room;
    datapath::WireSlot slot;
    datapath::WireHeader header;
    datapath::Segment segment;
    bool valid = false;
};

std::vector<WireExit> carried(const datapath::Entrance& entrance, const Bytes& bytes, const Offload& offload) {
    Slot one(bytes, offload);
    if (!one.valid) return {};
    datapath::Passage passage;
    std::vector<WireExit> exits;
    const DeviceAccess lock(deviceMutex());
    const datapath::Plan& plan = datapath::carry(entrance, one.header, one.segment, passage);
    for (const auto& exit : passage.exits) {
        WireExit made;
        made.device = exit.at.runner != nullptr ? exit.at.runner->egress : plan.device(exit.at.device).name;
        if (exit.at.gemPort != nullptr) made.gemPort = exit.at.gemPort->portId;
        const datapath::Tags& tags = exit.at.tags;
        if (exit.frames == one.segment.frames() && one.segment.canStayWhole(tags, one.slot)) {
            made.bytes = one.whole(tags);
            made.offload = one.segment.behind(made.bytes.size() - one.slot.payloadSize);
            exits.push_back(made);
            continue;
        }
        for (std::uint32_t i = 0; i < exit.frames; ++i) {
            made.bytes = one.frame(tags, exit.first + i);
            exits.push_back(made);
        }
    }
    return exits;
}

}  // namespace

std::vector<Bytes> framesOf(const Bytes& bytes, const Offload& offload) {
    Slot one(bytes, offload);
    std::vector<Bytes> frames;
    for (std::uint32_t i = 0; one.valid && i < one.segment.frames(); ++i)
        frames.push_back(one.frame(one.header.tags, i));
    return frames;
}

std::vector<WireExit> VirtualOnu::carryFromPort(const std::string& device, const Bytes& bytes, const Offload& offload) {
    return carried({device, 0}, bytes, offload);
}

std::vector<WireExit> VirtualOnu::carryFromPon(unsigned gemPortId, const Bytes& bytes, const Offload& offload) {
    return carried({"", gemPortId}, bytes, offload);
}

}  // namespace virtual_onu
