#include "BRCM/BCM968580/DATA/g988/RuleCalls.h"

namespace g988 {

namespace {

std::uint32_t directionOf(const TableKey& table) {
    return table.direction == Direction::Receive ? VLANCTL_DIRECTION_RX : VLANCTL_DIRECTION_TX;
}

void addFilters(kit::TagRule& rule, const Match& match) {
    if (!match.txDeviceOf().empty()) rule.bind(VLANCTL_DIRECTION_TX, match.txDeviceOf().c_str());
    if (const auto gem = match.gemIndexOf()) rule.filterGemIndex(*gem);
    for (unsigned tag = 0; tag <= kMaxTagIndex; ++tag) {
        if (const auto pbits = match.pbitsOf(tag)) rule.filterPbits(*pbits, tag);
        if (const auto dei = match.deiOf(tag)) rule.filterCfi(*dei, tag);
        if (const auto vid = match.vidOf(tag)) rule.filterVid(*vid, tag);
    }
    if (const auto type = match.typeWordOf(0)) rule.filterEtherType(*type);
    for (unsigned tag = 0; tag <= kMaxTagIndex; ++tag)
        if (const auto type = match.typeWordOf(tag + 1)) rule.filterTagEtherType(*type, tag);
    if (const auto protocol = match.ipProtocolOf()) rule.filterIpProtocol(*protocol);
}

void addCommand(kit::TagRule& rule, const Command& command) {
    using Kind = Command::Kind;
    const std::uint32_t value = command.value, tag = command.tag;
    switch (command.kind) {
        case Kind::Push:
            rule.push();
            return;
        case Kind::Pop:
            rule.pop();
            return;
        case Kind::SetPbits:
            rule.setPbits(value, tag);
            return;
        case Kind::SetDei:
            rule.setCfi(value, tag);
            return;
        case Kind::SetVid:
            rule.setVid(value, tag);
            return;
        case Kind::SetTpid:
            rule.setTpid(kit::TpidDei{value, std::nullopt}, tag);
            return;
        case Kind::CopyPbits:
            rule.copyPbits(value, tag);
            return;
        case Kind::CopyDei:
            rule.copyCfi(value, tag);
            return;
        case Kind::CopyVid:
            rule.copyVid(value, tag);
            return;
        case Kind::CopyTpid:
            rule.copyTagEtherType(value, tag);
            return;
        case Kind::DscpToPbits:
            rule.dscpToPbits(tag);
            return;
        case Kind::Drop:
            rule.drop();
            return;
        case Kind::MarkGem:
            rule.markGemIndex(value);
            return;
        case Kind::MarkQueue:
            rule.markQueue(value);
            return;
    }
}

}  // namespace

kit::RuleTable kitTableOf(const TableKey& table) {
    return {table.device, directionOf(table), table.tags};
}

int insertRule(const TableKey& table, const Rule& rule, Position position, std::uint32_t* id) {
    kit::TagRule composed;
    if (!rule.receiver.empty()) composed.bind(VLANCTL_DIRECTION_RX, rule.receiver.c_str());
    addFilters(composed, rule.match);
    for (const Command& command : rule.commands) addCommand(composed, command);
    if (composed.result() != 0) return composed.result();
    const std::uint32_t place = position == Position::Front ? VLANCTL_POSITION_FRONT : VLANCTL_POSITION_APPEND;
    return kit::insertRule(kitTableOf(table), composed, {place, VLANCTL_DONT_CARE}, id);
}

int removeRule(const TableKey& table, std::uint32_t id) {
    return kit::removePlannedRule(kitTableOf(table), id);
}

}  // namespace g988
