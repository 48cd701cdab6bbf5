// Composes one tag rule and installs it: the one pattern that every inserter of the engine follows.
//
// clang-format off
//   TagRule rule;                                   // clears the pending rule
//   rule.bind(VLANCTL_DIRECTION_RX, vlanIfc);       // the VLAN device that the rule belongs to
//   rule.filterVid(100, 0).push().setVid(200, 0);   // filters and commands, in the order that the device sees them
//   rule.install(engine, {devIfc, VLANCTL_DIRECTION_RX, 1}, phyId);  // one table; may be repeated for others
// clang-format on
//
// The caller brackets it with a VlanCtlSession. Results of the single vlanctl calls are not examined: a rule that the
// device refuses has the id VLANCTL_DONT_CARE, and the rule map refuses to record that id.
#ifndef BRCM_BCM968580_DATA_TAG_RULE_H
#define BRCM_BCM968580_DATA_TAG_RULE_H

#include <cstdint>
#include <optional>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "platform/vlanctl.h"
#include "state/Journal.h"

class EtherSwitchBcm380;

// Opens vlanctl for one operation and closes it at the end of the scope.
class VlanCtlSession {
public:
    VlanCtlSession() { vlanCtl_init(); }
    ~VlanCtlSession() { vlanCtl_cleanup(); }
    VlanCtlSession(const VlanCtlSession&) = delete;
    VlanCtlSession& operator=(const VlanCtlSession&) = delete;
};

// The table that a rule goes into and its place there.
struct TagRuleTable {
    const char* device;       // real device
    std::uint32_t direction;  // VLANCTL_DIRECTION_*
    std::uint32_t tags;       // number of tags of the frames that the table sees
    std::uint32_t position = VLANCTL_POSITION_APPEND;
    std::uint32_t reference = VLANCTL_DONT_CARE;
};

// A TPID/DEI code of G.988 9.3.13: the TPID it stands for and, for codes 6 and 7, the DEI that goes with it.
struct TpidDei {
    std::uint32_t tpid;
    std::optional<std::uint32_t> dei;
};

class TagRule {
public:
    TagRule() { vlanCtl_initTagRule(); }

    // Received frames are handed to vlanIfc; transmitted frames match when they come from it.
    TagRule& bind(std::uint32_t direction, const char* vlanIfc) {
        if (direction == VLANCTL_DIRECTION_RX) vlanCtl_setReceiveVlanDevice(vlanIfc);
        if (direction == VLANCTL_DIRECTION_TX) vlanCtl_filterOnTxVlanDevice(vlanIfc);
        return *this;
    }

    TagRule& filterPbits(std::uint32_t pbits, std::uint32_t tag) {
        return unexamined(vlanCtl_filterOnTagPbits(pbits, tag));
    }
    TagRule& filterCfi(std::uint32_t cfi, std::uint32_t tag) { return unexamined(vlanCtl_filterOnTagCfi(cfi, tag)); }
    TagRule& filterVid(std::uint32_t vid, std::uint32_t tag) { return unexamined(vlanCtl_filterOnTagVid(vid, tag)); }
    TagRule& filterEtherType(std::uint32_t type) { return unexamined(vlanCtl_filterOnEthertype(type)); }
    TagRule& filterTagEtherType(std::uint32_t type, std::uint32_t tag) {
        return unexamined(vlanCtl_filterOnTagEtherType(type, tag));
    }
    TagRule& filterIpProtocol(std::uint32_t protocol) { return unexamined(vlanCtl_filterOnIpProto(protocol)); }
    TagRule& filterGemIndex(std::uint32_t gemIndex) { return unexamined(vlanCtl_filterOnSkbMarkPort(gemIndex)); }

    TagRule& push() { return unexamined(vlanCtl_cmdPushVlanTag()); }
    TagRule& pop() { return unexamined(vlanCtl_cmdPopVlanTag()); }
    TagRule& setPbits(std::uint32_t pbits, std::uint32_t tag) { return unexamined(vlanCtl_cmdSetTagPbits(pbits, tag)); }
    TagRule& setCfi(std::uint32_t cfi, std::uint32_t tag) { return unexamined(vlanCtl_cmdSetTagCfi(cfi, tag)); }
    TagRule& setVid(std::uint32_t vid, std::uint32_t tag) { return unexamined(vlanCtl_cmdSetTagVid(vid, tag)); }
    TagRule& setEtherType(std::uint32_t type) { return unexamined(vlanCtl_cmdSetEtherType(type)); }
    TagRule& setTagEtherType(std::uint32_t type, std::uint32_t tag) {
        return unexamined(vlanCtl_cmdSetTagEtherType(type, tag));
    }
    TagRule& copyPbits(std::uint32_t from, std::uint32_t to) { return unexamined(vlanCtl_cmdCopyTagPbits(from, to)); }
    TagRule& copyCfi(std::uint32_t from, std::uint32_t to) { return unexamined(vlanCtl_cmdCopyTagCfi(from, to)); }
    TagRule& copyVid(std::uint32_t from, std::uint32_t to) { return unexamined(vlanCtl_cmdCopyTagVid(from, to)); }
    TagRule& copyTagEtherType(std::uint32_t from, std::uint32_t to) {
        return unexamined(vlanCtl_cmdCopyTagEtherType(from, to));
    }
    TagRule& dscpToPbits(std::uint32_t tag) { return unexamined(vlanCtl_cmdDscpToPbits(tag)); }
    TagRule& drop() { return unexamined(vlanCtl_cmdDropFrame()); }
    TagRule& markGemIndex(std::uint32_t gemIndex) { return unexamined(vlanCtl_cmdSetSkbMarkPort(gemIndex)); }
    TagRule& markQueue(std::uint32_t queue) { return unexamined(vlanCtl_cmdSetSkbMarkQueue(queue)); }

    // The TPID and, with it, the DEI of the given tag. The TPID of tag 0 is the type word of the frame, that of tag 1
    // the type word inside tag 0. Nothing for a code that stands for no TPID.
    TagRule& filterTpid(const std::optional<TpidDei>& code, std::uint32_t tag);
    TagRule& setTpid(const std::optional<TpidDei>& code, std::uint32_t tag);
    // p-bits and VID of one of the two tags that a treatment writes, by the codes of TagCodes.h. Values are copied from
    // one tag to the other only where the row translates, since the tag to copy from may else be missing.
    enum class DscpMapping { Always, OnlyWhenTranslating };
    TagRule& writeTag(std::uint32_t pbits, std::uint32_t vid, std::uint32_t tag, bool translates, DscpMapping dscp);
    // The pushes or pops of a VlanTagAction, and those that take it back.
    TagRule& changeTagCount(std::uint32_t tagAction);
    TagRule& revertTagCount(std::uint32_t tagAction);

    // Answers the rule's id, VLANCTL_DONT_CARE when vlanctl refused it. No map holds the rule.
    std::uint32_t insert(const TagRuleTable& table);
    // Inserts and records the rule under the table's device and phyId; the second form with the filters of the tagging
    // row that it was made from. The result is that of the rule map.
    bool install(EtherSwitchBcm380& engine, const TagRuleTable& table, std::uint32_t phyId);
    bool install(EtherSwitchBcm380& engine, const TagRuleTable& table, std::uint32_t phyId,
                 const VlanExtVlanTagOper_t& row);

private:
    // Why no call is examined stands at the top.
    TagRule& unexamined(int /*vlanCtlResult*/) { return *this; }
};

// Notes ahead, by one record of the state file, that the composed rule goes into the tables first to last (numbers of
// tags) of the device, each once and in this order. Nothing without a state file.
class RuleTablesNoted {
public:
    RuleTablesNoted(const char* device, std::uint32_t direction, std::uint32_t first, std::uint32_t last);
    ~RuleTablesNoted();
    RuleTablesNoted(const RuleTablesNoted&) = delete;
    RuleTablesNoted& operator=(const RuleTablesNoted&) = delete;

private:
    const state::Operation operation_;
};

// Asks vlanctl for the rule that was composed; its id is written to *id, when vlanctl takes it. The form for rules that
// go into the rule map.
void insertComposedRule(const TagRuleTable& table, std::uint32_t* id);

constexpr std::uint32_t kTpidCustomer = 0x8100;

// Filter codes: 4 = 0x8100, 5 = the input TPID, 6 and 7 = the input TPID with DEI 0 and 1; others no filter.
std::optional<TpidDei> tpidFilterOf(std::uint32_t code, std::uint32_t inputTpid);
// Treatment codes that hold for every inserter: 4 = 0x8100, 6 and 7 = the output TPID with DEI 0 and 1; others none
// here.
std::optional<TpidDei> tpidTreatmentOf(std::uint32_t code, std::uint32_t outputTpid);
// The EtherType of a filter code up to highestCode (the two record forms know different numbers of codes).
std::optional<std::uint32_t> etherTypeOf(std::uint32_t code, std::uint32_t highestCode);

#endif
