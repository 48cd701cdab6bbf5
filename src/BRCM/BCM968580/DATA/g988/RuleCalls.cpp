#include "BRCM/BCM968580/DATA/g988/RuleCalls.h"

#include "platform/vlanctl.h"

namespace g988 {

namespace {

// The calls one after the other, until one fails.
class Calls {
public:
    template <typename Call, typename... Arguments>
    void make(Call call, Arguments... arguments) {
        if (result_ == 0) result_ = call(arguments...);
    }
    int result() const { return result_; }

private:
    int result_ = 0;
};

void addFilters(Calls& calls, const Match& match) {
    if (!match.txDeviceOf().empty()) calls.make(vlanCtl_filterOnTxVlanDevice, match.txDeviceOf().c_str());
    if (const auto gem = match.gemIndexOf()) calls.make(vlanCtl_filterOnSkbMarkPort, *gem);
    for (unsigned tag = 0; tag <= kMaxTagIndex; ++tag) {
        if (const auto pbits = match.pbitsOf(tag)) calls.make(vlanCtl_filterOnTagPbits, *pbits, tag);
        if (const auto dei = match.deiOf(tag)) calls.make(vlanCtl_filterOnTagCfi, *dei, tag);
        if (const auto vid = match.vidOf(tag)) calls.make(vlanCtl_filterOnTagVid, *vid, tag);
    }
    if (const auto type = match.typeWordOf(0)) calls.make(vlanCtl_filterOnEthertype, *type);
    for (unsigned tag = 0; tag <= kMaxTagIndex; ++tag)
        if (const auto type = match.typeWordOf(tag + 1)) calls.make(vlanCtl_filterOnTagEtherType, *type, tag);
    if (const auto protocol = match.ipProtocolOf()) calls.make(vlanCtl_filterOnIpProto, *protocol);
}

void addCommand(Calls& calls, const Command& command) {
    using Kind = Command::Kind;
    const unsigned value = command.value, tag = command.tag;
    switch (command.kind) {
        case Kind::Push:
            return calls.make(vlanCtl_cmdPushVlanTag);
        case Kind::Pop:
            return calls.make(vlanCtl_cmdPopVlanTag);
        case Kind::SetPbits:
            return calls.make(vlanCtl_cmdSetTagPbits, value, tag);
        case Kind::SetDei:
            return calls.make(vlanCtl_cmdSetTagCfi, value, tag);
        case Kind::SetVid:
            return calls.make(vlanCtl_cmdSetTagVid, value, tag);
        case Kind::SetTpid:  // of tag 0 it is the frame's first type word, of others the type word inside the tag
                             // before
            return tag == 0 ? calls.make(vlanCtl_cmdSetEtherType, value)
                            : calls.make(vlanCtl_cmdSetTagEtherType, value, tag - 1);
        case Kind::CopyPbits:
            return calls.make(vlanCtl_cmdCopyTagPbits, value, tag);
        case Kind::CopyDei:
            return calls.make(vlanCtl_cmdCopyTagCfi, value, tag);
        case Kind::CopyVid:
            return calls.make(vlanCtl_cmdCopyTagVid, value, tag);
        case Kind::CopyTpid:
            return calls.make(vlanCtl_cmdCopyTagEtherType, value, tag);
        case Kind::DscpToPbits:
            return calls.make(vlanCtl_cmdDscpToPbits, tag);
        case Kind::Drop:
            return calls.make(vlanCtl_cmdDropFrame);
        case Kind::MarkGem:
            return calls.make(vlanCtl_cmdSetSkbMarkPort, value);
        case Kind::MarkQueue:
            return calls.make(vlanCtl_cmdSetSkbMarkQueue, value);
    }
}

unsigned directionOf(const TableKey& table) {
    return table.direction == Direction::Receive ? VLANCTL_DIRECTION_RX : VLANCTL_DIRECTION_TX;
}

}  // namespace

int insertRule(const TableKey& table, const Rule& rule, Position position, std::uint32_t* id) {
    Calls calls;
    calls.make(vlanCtl_initTagRule);
    if (!rule.receiver.empty()) calls.make(vlanCtl_setReceiveVlanDevice, rule.receiver.c_str());
    addFilters(calls, rule.match);
    for (const Command& command : rule.commands) addCommand(calls, command);
    const unsigned place = position == Position::Front ? VLANCTL_POSITION_FRONT : VLANCTL_POSITION_APPEND;
    calls.make(vlanCtl_insertTagRule, table.device.c_str(), directionOf(table), table.tags, place, VLANCTL_DONT_CARE,
               id);
    return calls.result();
}

int removeRule(const TableKey& table, std::uint32_t id) {
    return vlanCtl_removeTagRule(table.device.c_str(), directionOf(table), table.tags, id);
}

}  // namespace g988
