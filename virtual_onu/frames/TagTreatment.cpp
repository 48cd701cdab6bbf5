#include "frames/TagTreatment.h"

#include <algorithm>

namespace virtual_onu::datapath {

namespace {

using Kind = RuleTerm::Kind;

constexpr std::uint16_t kIpv4 = 0x0800;
constexpr std::uint16_t kIpv6 = 0x86DD;

bool isIp(const Frame& frame) {
    return frame.etherType == kIpv4 || frame.etherType == kIpv6;
}

// The type word in front of tag number `tag`; behind the last tag it is the payload's.
std::uint16_t* typeWord(Frame& frame, std::size_t tag) {
    if (tag > frame.tags.size()) return nullptr;
    return tag < frame.tags.size() ? &frame.tags[tag].tpid : &frame.etherType;
}

bool typeIs(const Frame& frame, std::size_t tag, std::uint32_t value) {
    if (tag > frame.tags.size()) return false;
    return (tag < frame.tags.size() ? frame.tags[tag].tpid : frame.etherType) == value;
}

bool holds(const RuleTerm& term, const Frame& frame, const Marks& marks, const std::string& txDevice) {
    const VlanTag* tag = term.tag < frame.tags.size() ? &frame.tags[term.tag] : nullptr;
    switch (term.kind) {
        case Kind::RxDevice:
            return true;  // says where the frame goes, filters nothing
        case Kind::TxDevice:
            return term.device == txDevice;
        case Kind::Pbits:
            return tag != nullptr && tag->pbits == term.value;
        case Kind::Cfi:
            return tag != nullptr && tag->dei == (term.value != 0);
        case Kind::Vid:
            return tag != nullptr && tag->vid == term.value;
        case Kind::TagType:
            return typeIs(frame, term.tag + 1, term.value);
        case Kind::Type:
            return typeIs(frame, 0, term.value);
        case Kind::IpProto:
            return isIp(frame) && frame.ipProtocol == term.value;
        case Kind::Gem:
            return marks.gemIndex == term.value;
        default:
            return true;
    }
}

void setType(Frame& frame, std::size_t tag, std::uint32_t value) {
    if (std::uint16_t* word = typeWord(frame, tag)) *word = static_cast<std::uint16_t>(value);
}

// Commands that write one tag from a number.
void write(const RuleTerm& term, VlanTag& tag, const Frame& frame) {
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
            tag.pbits = isIp(frame) ? static_cast<std::uint8_t>(frame.dscp >> 3) : std::uint8_t{0};
            break;
        default:
            break;
    }
}

// Commands that write one tag from another. A tag's type is copied as its own TPID: "TPID from the inner tag".
void copy(const RuleTerm& term, VlanTag& target, const VlanTag& source) {
    switch (term.kind) {
        case Kind::CopyPbits:
            target.pbits = source.pbits;
            break;
        case Kind::CopyCfi:
            target.dei = source.dei;
            break;
        case Kind::CopyVid:
            target.vid = source.vid;
            break;
        case Kind::CopyTagType:
            target.tpid = source.tpid;
            break;
        default:
            break;
    }
}

bool isCopy(Kind kind) {
    return kind == Kind::CopyPbits || kind == Kind::CopyCfi || kind == Kind::CopyVid || kind == Kind::CopyTagType;
}

// A command for a tag that the frame does not have does nothing.
void change(const RuleTerm& term, Frame& frame, Marks& marks) {
    const auto tagAt = [&](std::uint32_t index) { return index < frame.tags.size() ? &frame.tags[index] : nullptr; };
    switch (term.kind) {
        case Kind::SetType:
            return setType(frame, 0, term.value);
        case Kind::SetTagType:
            return setType(frame, term.tag + 1, term.value);
        case Kind::MarkGem:
            marks.gemIndex = term.value;
            return;
        case Kind::MarkQueue:
            marks.queue = term.value;
            return;
        default:
            break;
    }
    VlanTag* target = tagAt(term.tag);
    if (target == nullptr) return;
    if (!isCopy(term.kind)) return datapath::write(term, *target, frame);
    if (const VlanTag* source = tagAt(term.value)) copy(term, *target, *source);
}

}  // namespace

bool matches(const TagRule& rule, const Frame& frame, const Marks& marks, const std::string& txDevice) {
    return std::all_of(rule.terms.begin(), rule.terms.end(),
                       [&](const RuleTerm& term) { return term.isCommand() || holds(term, frame, marks, txDevice); });
}

std::string apply(const TagRule& rule, Frame& frame, Marks& marks) {
    for (const RuleTerm& term : rule.terms) {
        if (term.kind == Kind::Drop) return "the rule drops the frame";
        if (term.kind == Kind::Push) frame.tags.insert(frame.tags.begin(), VlanTag{});
        if (term.kind == Kind::Pop && !frame.tags.empty()) frame.tags.erase(frame.tags.begin());
    }
    if (frame.tags.size() > kMostTags) return "the rule pushes more than " + std::to_string(kMostTags) + " tags";
    for (const RuleTerm& term : rule.terms)
        if (term.isCommand()) change(term, frame, marks);
    return "";
}

}  // namespace virtual_onu::datapath
