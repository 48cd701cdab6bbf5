// Frames as text.
#include <algorithm>
#include <array>

#include "DeviceTexts.h"
#include "Frames.h"
#include "frames/Packet.h"

namespace virtual_onu {

namespace {

struct NamedType {
    std::uint16_t value;
    const char* name;
};
constexpr std::array<NamedType, 6> kTypeNames = {{{0x0800, "IPv4"},
                                                  {0x0806, "ARP"},
                                                  {0x86DD, "IPv6"},
                                                  {0x8863, "PPPoE discovery"},
                                                  {0x8864, "PPPoE session"},
                                                  {0x888E, "EAPOL"}}};

std::string typeName(std::uint16_t type) {
    const auto* found =
        std::find_if(kTypeNames.begin(), kTypeNames.end(), [&](const NamedType& entry) { return entry.value == type; });
    return found != kTypeNames.end() ? found->name : "type " + network::hex16(type);
}

const char* kindName(GroupMessage::Kind kind) {
    if (kind == GroupMessage::Kind::Query) return "query";
    return kind == GroupMessage::Kind::Report ? "report" : "leave";
}

}  // namespace

bool VlanTag::operator==(const VlanTag& other) const {
    return tpid == other.tpid && pbits == other.pbits && dei == other.dei && vid == other.vid;
}

std::string VlanTag::text() const {
    std::string text = "VID " + std::to_string(vid) + " p" + std::to_string(pbits);
    if (dei) text += " DEI";
    if (tpid != 0x8100) text += " TPID " + network::hex16(tpid);
    return text;
}

bool Frame::operator==(const Frame& other) const {
    return source == other.source && destination == other.destination && tags == other.tags &&
           etherType == other.etherType && ipProtocol == other.ipProtocol && dscp == other.dscp &&
           payloadSize == other.payloadSize && groupMessage == other.groupMessage;
}

bool GroupMessage::operator==(const GroupMessage& other) const {
    const auto same = [](const Record& one, const Record& two) {
        return one.kind == two.kind && one.group == two.group;
    };
    return kind == other.kind && group == other.group && maxResponseMs == other.maxResponseMs &&
           std::equal(more.begin(), more.end(), other.more.begin(), other.more.end(), same);
}

std::string GroupMessage::text() const {
    std::string text = kindName(kind);
    if (!group.empty()) text += " " + group;
    for (const Record& record : more)
        text += std::string(", ") + kindName(record.kind) + " " + datapath::textOf(record.group);
    return text;
}

std::string Frame::text() const {
    std::string text;
    for (const VlanTag& tag : tags) text += tag.text() + ", ";
    if (tags.empty()) text = "untagged ";
    text += typeName(etherType);
    if (ipProtocol) text += *ipProtocol == 2 ? " IGMP" : " protocol " + std::to_string(*ipProtocol);
    if (groupMessage) text += " " + groupMessage->text();
    if (dscp != 0) text += " DSCP " + std::to_string(dscp);
    if (payloadSize != 0) text += ", " + std::to_string(payloadSize) + " octets";
    return text;
}

}  // namespace virtual_onu
