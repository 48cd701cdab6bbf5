#include "frames/NearestRule.h"

#include "DeviceTexts.h"
#include "frames/FilterKey.h"

namespace virtual_onu {

namespace datapath {

namespace {

using Kind = RuleTerm::Kind;

constexpr std::size_t kWrongDevice = 1000;  // weighs more than all the filters of a rule

// "p-bits", "VID" of the only tag; "p-bits of tag 1" where there are more.
std::string field(const char* name, const RuleTerm& term, const Frame& frame) {
    return frame.tags.size() == 1 ? name : name + (" of tag " + std::to_string(term.tag));
}

std::string isNot(const std::string& what, const std::string& is, const std::string& wanted,
                  const char* verb = " is ") {
    return what + verb + is + ", not " + wanted;
}

// The type word number `number`, or nothing where the frame has fewer.
std::optional<std::uint16_t> typeWord(const Frame& frame, std::size_t number) {
    if (number > frame.tags.size()) return std::nullopt;
    return number < frame.tags.size() ? frame.tags[number].tpid : frame.etherType;
}

std::string againstType(const RuleTerm& term, const Frame& frame) {
    const std::size_t number = term.kind == Kind::Type ? 0 : std::size_t{term.tag} + 1;
    const auto word = typeWord(frame, number);
    if (!word) return "there is no tag " + std::to_string(term.tag);
    const std::string what = number < frame.tags.size() ? "TPID of tag " + std::to_string(number) : "EtherType";
    return isNot(what, network::hex16(static_cast<std::uint16_t>(*word)),
                 network::hex16(static_cast<std::uint16_t>(term.value)));
}

std::string againstTag(const RuleTerm& term, const Frame& frame) {
    if (term.tag >= frame.tags.size()) return "there is no tag " + std::to_string(term.tag);
    const VlanTag& tag = frame.tags[term.tag];
    if (term.kind == Kind::Pbits)
        return isNot(field("p-bits", term, frame), std::to_string(tag.pbits), std::to_string(term.value), " are ");
    if (term.kind == Kind::Vid)
        return isNot(field("VID", term, frame), std::to_string(tag.vid), std::to_string(term.value));
    return isNot(field("DEI", term, frame), tag.dei ? "1" : "0", term.value != 0 ? "1" : "0");
}

std::string againstIpProtocol(const RuleTerm& term, const Frame& frame) {
    if (frame.etherType != 0x0800 && frame.etherType != 0x86DD) return "it is no IP packet";
    return isNot("IP protocol", frame.ipProtocol ? std::to_string(*frame.ipProtocol) : "none",
                 std::to_string(term.value));
}

// What speaks against the rule, in words, where the filter of this term does not hold.
std::string against(const RuleTerm& term, const Frame& frame, std::optional<std::uint32_t> gemIndex,
                    const std::string& txDevice) {
    switch (term.kind) {
        case Kind::TxDevice:
            return isNot("the frame", "from " + txDevice, term.device);
        case Kind::Type:
        case Kind::TagType:
            return againstType(term, frame);
        case Kind::Pbits:
        case Kind::Vid:
        case Kind::Cfi:
            return againstTag(term, frame);
        case Kind::IpProto:
            return againstIpProtocol(term, frame);
        case Kind::Gem:
            return isNot("GEM index", gemIndex ? std::to_string(*gemIndex) : "none", std::to_string(term.value));
        default:
            return "";
    }
}

}  // namespace

std::optional<NearestRule> nearestRule(const Plan& plan, const CompiledTable& table, const Frame& frame,
                                       std::optional<std::uint32_t> gemIndex, DeviceId txDevice) {
    const Key key(packetOf(frame), {gemIndex, std::nullopt}, txDevice);
    const std::string txName = txDevice == kNoDevice ? "" : plan.device(txDevice).name;
    std::optional<NearestRule> nearest;
    std::size_t least = 0;
    for (const CompiledRule& candidate : table.rules()) {
        NearestRule one{candidate.rule.id, candidate.rule.text(), {}};
        std::size_t weight = 0;
        for (const RuleTerm& term : candidate.rule.terms) {
            if (term.isCommand()) continue;
            Filter filter;
            addTerm(filter, term, plan.idOf(term.device), plan.outOfRange());
            if (!filter.never && filter.takes(key)) continue;
            weight += term.kind == Kind::TxDevice ? kWrongDevice : 1;
            one.against.push_back(against(term, frame, gemIndex, txName));
        }
        if (nearest && weight >= least) continue;
        least = weight;
        nearest = std::move(one);
    }
    return nearest;
}

}  // namespace datapath

std::string NearestRule::words() const {
    std::string reasons;
    for (std::size_t i = 0; i < against.size(); ++i)
        reasons += (i == 0 ? "" : i + 1 < against.size() ? ", " : " and ") + against[i];
    const std::string filters = text.substr(0, text.find(" | "));  // by which it is found among the rules of the table
    return "rule " + std::to_string(rule) + " (" + filters + ") would take it, but " + reasons;
}

}  // namespace virtual_onu
