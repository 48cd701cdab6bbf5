// What the commands of a tag rule do to a frame.
#include "frames/RuleTable.h"

namespace virtual_onu::datapath {

namespace {

using Kind = RuleTerm::Kind;

// The type word in front of tag number `tag`; behind the last tag it is the payload's.
void setType(Tags& tags, std::size_t tag, std::uint32_t value) {
    const auto type = static_cast<std::uint16_t>(value);
    if (tag < tags.count)
        tags.tag[tag].tpid = type;
    else if (tag == tags.count)
        tags.etherType = type;
}

// Commands that write one tag. A tag's type is copied as its own TPID: "TPID from the inner tag".
void writeTag(const RuleTerm& term, VlanTag& tag, const Packet& packet) {
    const VlanTag* source = term.value < packet.tags.count ? &packet.tags.tag[term.value] : nullptr;
    switch (term.kind) {
        case Kind::SetPbits:
            tag.pbits = static_cast<std::uint8_t>(term.value & 7);
            break;
        case Kind::SetCfi:
            tag.dei = term.value != 0;
            break;
        case Kind::SetVid:
            tag.vid = static_cast<std::uint16_t>(term.value & 0xFFF);
            break;
        case Kind::DscpToPbits:  // the class selector; a frame without DSCP has none
            tag.pbits = packet.isIp() ? static_cast<std::uint8_t>(packet.dscp >> 3) : std::uint8_t{0};
            break;
        case Kind::CopyPbits:
            if (source != nullptr) tag.pbits = source->pbits;
            break;
        case Kind::CopyCfi:
            if (source != nullptr) tag.dei = source->dei;
            break;
        case Kind::CopyVid:
            if (source != nullptr) tag.vid = source->vid;
            break;
        case Kind::CopyTagType:
            if (source != nullptr) tag.tpid = source->tpid;
            break;
        default:
            break;
    }
}

}  // namespace

const char* apply(const CompiledRule& rule, Packet& packet, Marks& marks) {
    for (const RuleTerm& term : rule.commands) {
        switch (term.kind) {
            case Kind::Drop:
                return "the rule drops the frame";
            case Kind::Push:
                if (!packet.tags.push()) return "the rule pushes more than 4 tags";
                break;
            case Kind::Pop:
                packet.tags.pop();
                break;
            case Kind::SetType:
                setType(packet.tags, 0, term.value);
                break;
            case Kind::SetTagType:
                setType(packet.tags, std::size_t{term.tag} + 1, term.value);
                break;
            case Kind::MarkGem:
                marks.gemIndex = term.value;
                break;
            case Kind::MarkQueue:
                marks.queue = term.value;
                break;
            default:  // a command for a tag that the frame does not have does nothing
                if (term.tag < packet.tags.count) writeTag(term, packet.tags.tag[term.tag], packet);
        }
    }
    return nullptr;
}

}  // namespace virtual_onu::datapath
