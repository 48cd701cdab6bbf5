#include "frames/FilterKey.h"

namespace virtual_onu::datapath {

namespace {

using Kind = RuleTerm::Kind;

// Word 0: 16 bits a tag: p-bits, DEI, VID as on the wire. Word 1: the type words in front of the tags and behind them.
// Word 2: what remains.
constexpr unsigned kTagBits = 16;
constexpr unsigned kPbitsShift = 13, kDeiShift = 12;
constexpr std::uint64_t kMaxPbits = 7, kMaxVid = 0xFFF, kMaxType = 0xFFFF, kMaxProtocol = 0xFF;
constexpr unsigned kLastTypeShift = 0, kTxDeviceShift = 16, kGemShift = 32, kProtocolShift = 52;
constexpr std::uint64_t kGemMask = 0xFFFFF, kNoGem = kGemMask, kProtocolMask = 0x1FF, kNoProtocol = kProtocolMask;

struct Field {
    std::size_t word;
    unsigned shift;
    std::uint64_t mask;
};

void require(Filter& filter, const Field& field, std::uint64_t value, std::size_t tags) {
    std::uint64_t& mask = filter.mask.word[field.word];
    std::uint64_t& wanted = filter.value.word[field.word];
    const std::uint64_t placed = value << field.shift, bits = field.mask << field.shift;
    if (((wanted ^ placed) & mask & bits) != 0) filter.never = true;  // asks for two values of one field
    mask |= bits;
    wanted |= placed;
    if (tags > filter.value.tags) filter.value.tags = static_cast<std::uint8_t>(tags);
    if (tags > kMaxTags) filter.never = true;
}

// p-bits and VIDs that no frame can carry do what the board is set to.
void requireInTag(Filter& filter, const RuleTerm& term, unsigned shift, std::uint64_t most,
                  OutOfRangeFilters outOfRange) {
    const std::size_t tags = std::size_t{term.tag} + 1;
    const Field field{0, term.tag * kTagBits + shift, most};
    if (term.value <= most || outOfRange == OutOfRangeFilters::Masked) {
        require(filter, field, term.value & most, tags);
    } else if (outOfRange == OutOfRangeFilters::MatchAnything) {
        require(filter, {0, 0, 0}, 0, tags);
    } else {
        filter.never = true;
    }
}

void requireType(Filter& filter, std::size_t number, std::uint64_t type) {
    if (type > kMaxType) filter.never = true;
    const Field field = number < kMaxTags ? Field{1, static_cast<unsigned>(number) * kTagBits, kMaxType}
                                          : Field{2, kLastTypeShift, kMaxType};
    require(filter, field, type & kMaxType, number);
}

}  // namespace

Key::Key(const Packet& packet, const Marks& marks, DeviceId txDevice) : tags(packet.tags.count) {
    for (unsigned i = 0; i < tags; ++i) {
        const VlanTag& tag = packet.tags.tag[i];
        const std::uint64_t content =
            std::uint64_t{tag.pbits} << kPbitsShift | std::uint64_t{tag.dei ? 1u : 0u} << kDeiShift | tag.vid;
        word[0] |= content << i * kTagBits;
        word[1] |= std::uint64_t{tag.tpid} << i * kTagBits;
    }
    if (tags < kMaxTags)
        word[1] |= std::uint64_t{packet.tags.etherType} << tags * kTagBits;
    else
        word[2] |= std::uint64_t{packet.tags.etherType} << kLastTypeShift;
    const bool hasProtocol = packet.ipProtocol.has_value() && packet.isIp();
    const std::uint64_t gem = marks.gemIndex && *marks.gemIndex < kNoGem ? *marks.gemIndex : kNoGem;
    word[2] |= std::uint64_t{txDevice} << kTxDeviceShift | gem << kGemShift |
               (hasProtocol ? std::uint64_t{*packet.ipProtocol} : kNoProtocol) << kProtocolShift;
}

void addTerm(Filter& filter, const RuleTerm& term, DeviceId txDevice, OutOfRangeFilters outOfRange) {
    switch (term.kind) {
        case Kind::TxDevice:
            if (txDevice == kNoDevice) filter.never = true;
            return require(filter, {2, kTxDeviceShift, 0xFFFF}, txDevice, 0);
        case Kind::Pbits:
            return requireInTag(filter, term, kPbitsShift, kMaxPbits, outOfRange);
        case Kind::Cfi:
            return require(filter, {0, term.tag * kTagBits + kDeiShift, 1}, term.value != 0 ? 1 : 0,
                           std::size_t{term.tag} + 1);
        case Kind::Vid:
            return requireInTag(filter, term, 0, kMaxVid, outOfRange);
        case Kind::TagType:
            return requireType(filter, std::size_t{term.tag} + 1, term.value);
        case Kind::Type:
            return requireType(filter, 0, term.value);
        case Kind::IpProto:
            if (term.value > kMaxProtocol) filter.never = true;
            return require(filter, {2, kProtocolShift, kProtocolMask}, term.value & kProtocolMask, 0);
        case Kind::Gem:
            if (term.value >= kNoGem) filter.never = true;
            return require(filter, {2, kGemShift, kGemMask}, term.value & kGemMask, 0);
        default:
            return;  // RxDevice says where the frame goes and filters nothing
    }
}

}  // namespace virtual_onu::datapath
