// Tag rules: composed in vlanctl, inserted into a table and removed from it.
//
// clang-format off
//   const kit::VlanCtlSession session;
//   kit::TagRule rule;                              // clears the pending rule
//   rule.bind(VLANCTL_DIRECTION_RX, vlanIfc);       // the VLAN device that the rule belongs to
//   rule.filterVid(100, 0).push().setVid(200, 0);   // filters and commands, in the order that the device sees them
//   kit::insertRule({devIfc, VLANCTL_DIRECTION_RX, 1}, rule, {}, &id);
// clang-format on
//
// The caller holds a VlanCtlSession. A call that fails does not keep the next ones back: a rule that the device refuses
// has the id VLANCTL_DONT_CARE, and the rule map refuses to record that id. Who wants to know asks for the result.
#ifndef KIT_RULES_H
#define KIT_RULES_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "kit/StateEntries.h"
#include "platform/vlanctl.h"

namespace kit {

// Opens vlanctl for one operation and closes it at the end of the scope.
class VlanCtlSession {
public:
    VlanCtlSession() : result_(vlanCtl_init()) {}
    ~VlanCtlSession() { vlanCtl_cleanup(); }
    VlanCtlSession(const VlanCtlSession&) = delete;
    VlanCtlSession& operator=(const VlanCtlSession&) = delete;
    int result() const { return result_; }  // of the opening

private:
    const int result_;
};

// A table of vlanctl's: a device has one for each direction and number of tags of the frames.
struct RuleTable {
    std::string device;       // real device
    std::uint32_t direction;  // VLANCTL_DIRECTION_*
    std::uint32_t tags;

    bool operator==(const RuleTable& other) const {
        return direction == other.direction && tags == other.tags && device == other.device;
    }
};

struct RulePosition {
    std::uint32_t position = VLANCTL_POSITION_APPEND;
    std::uint32_t reference = VLANCTL_DONT_CARE;
};

// A TPID/DEI code of G.988 9.3.13: the TPID it stands for and, for codes 6 and 7, the DEI that goes with it.
struct TpidDei {
    std::uint32_t tpid;
    std::optional<std::uint32_t> dei;
};

// The rule that is being composed. vlanctl has one at a time.
class TagRule {
public:
    TagRule() : result_(vlanCtl_initTagRule()) {}
    // 0, or vlanctl's error of the first call that failed.
    int result() const { return result_; }
    // Inserts what is composed, for insertRule() and RuleInsertion, which note it. Vlanctl's result.
    int insertInto(const RuleTable& table, RulePosition position, std::uint32_t* id) const {
        return vlanCtl_insertTagRule(table.device.c_str(), table.direction, table.tags, position.position,
                                     position.reference, id);
    }

    // Received frames are handed to vlanIfc; transmitted frames match when they come from it.
    TagRule& bind(std::uint32_t direction, const char* vlanIfc) {
        if (direction == VLANCTL_DIRECTION_RX) called(vlanCtl_setReceiveVlanDevice(vlanIfc));
        if (direction == VLANCTL_DIRECTION_TX) called(vlanCtl_filterOnTxVlanDevice(vlanIfc));
        return *this;
    }

    TagRule& filterPbits(std::uint32_t pbits, std::uint32_t tag) {
        return called(vlanCtl_filterOnTagPbits(pbits, tag));
    }
    TagRule& filterCfi(std::uint32_t cfi, std::uint32_t tag) { return called(vlanCtl_filterOnTagCfi(cfi, tag)); }
    TagRule& filterVid(std::uint32_t vid, std::uint32_t tag) { return called(vlanCtl_filterOnTagVid(vid, tag)); }
    TagRule& filterEtherType(std::uint32_t type) { return called(vlanCtl_filterOnEthertype(type)); }
    TagRule& filterTagEtherType(std::uint32_t type, std::uint32_t tag) {
        return called(vlanCtl_filterOnTagEtherType(type, tag));
    }
    TagRule& filterIpProtocol(std::uint32_t protocol) { return called(vlanCtl_filterOnIpProto(protocol)); }
    TagRule& filterGemIndex(std::uint32_t gemIndex) { return called(vlanCtl_filterOnSkbMarkPort(gemIndex)); }

    TagRule& push() { return called(vlanCtl_cmdPushVlanTag()); }
    TagRule& pop() { return called(vlanCtl_cmdPopVlanTag()); }
    TagRule& setPbits(std::uint32_t pbits, std::uint32_t tag) { return called(vlanCtl_cmdSetTagPbits(pbits, tag)); }
    TagRule& setCfi(std::uint32_t cfi, std::uint32_t tag) { return called(vlanCtl_cmdSetTagCfi(cfi, tag)); }
    TagRule& setVid(std::uint32_t vid, std::uint32_t tag) { return called(vlanCtl_cmdSetTagVid(vid, tag)); }
    TagRule& setEtherType(std::uint32_t type) { return called(vlanCtl_cmdSetEtherType(type)); }
    TagRule& setTagEtherType(std::uint32_t type, std::uint32_t tag) {
        return called(vlanCtl_cmdSetTagEtherType(type, tag));
    }
    TagRule& copyPbits(std::uint32_t from, std::uint32_t to) { return called(vlanCtl_cmdCopyTagPbits(from, to)); }
    TagRule& copyCfi(std::uint32_t from, std::uint32_t to) { return called(vlanCtl_cmdCopyTagCfi(from, to)); }
    TagRule& copyVid(std::uint32_t from, std::uint32_t to) { return called(vlanCtl_cmdCopyTagVid(from, to)); }
    TagRule& copyTagEtherType(std::uint32_t from, std::uint32_t to) {
        return called(vlanCtl_cmdCopyTagEtherType(from, to));
    }
    TagRule& dscpToPbits(std::uint32_t tag) { return called(vlanCtl_cmdDscpToPbits(tag)); }
    TagRule& drop() { return called(vlanCtl_cmdDropFrame()); }
    TagRule& markGemIndex(std::uint32_t gemIndex) { return called(vlanCtl_cmdSetSkbMarkPort(gemIndex)); }
    TagRule& markQueue(std::uint32_t queue) { return called(vlanCtl_cmdSetSkbMarkQueue(queue)); }

    // The TPID and, with it, the DEI of the given tag. The TPID of tag 0 is the type word of the frame, that of tag 1
    // the type word inside tag 0. Nothing for a code that stands for no TPID.
    TagRule& filterTpid(const std::optional<TpidDei>& code, std::uint32_t tag);
    TagRule& setTpid(const std::optional<TpidDei>& code, std::uint32_t tag);

private:
    TagRule& called(int vlanCtlResult) {
        if (result_ == 0) result_ = vlanCtlResult;
        return *this;
    }
    int result_;
};

// Inserts the composed rule; its id is written to *id, when vlanctl takes it. The caller records it in a map. Vlanctl's
// result.
int insertRule(const RuleTable& table, const TagRule& rule, RulePosition position, std::uint32_t* id);
// Likewise a rule that no map holds. Its id, VLANCTL_DONT_CARE when vlanctl refused it.
std::uint32_t insertLooseRule(const RuleTable& table, const TagRule& rule, RulePosition position = {});
// The rule is inserted, and no map holds it.
void noteLooseRule(const RuleTable& table, std::uint32_t id);

constexpr std::uint32_t kMaxTablesOfRule = 4;

// The insertion of one rule into the tables of a device and direction that follow one another by number of tags, at
// most kMaxTablesOfRule: noted by one record of the state file before the first.
class RuleInsertion {
public:
    RuleInsertion(const RuleTable& first, std::uint32_t lastTags);
    // Into one of the tables, in their order. Vlanctl's result.
    int insert(const RuleTable& table, const TagRule& rule, RulePosition position, std::uint32_t* id);

private:
    const state::Operation operation_;
    const std::uint32_t firstTags_;
    std::array<std::uint32_t, kMaxTablesOfRule> rulesBefore_{};  // for the state file alone
};

// 0 when vlanctl has removed it, or its error.
int removeRule(const RuleTable& table, std::uint32_t id);
// Likewise, and notes before that it goes: a removal that is not finished is finished when the state file is opened.
int removePlannedRule(const RuleTable& table, std::uint32_t id);
// Removes a rule that the state file counts neither in its table nor as a loose one.
bool removeUncountedRule(const RuleTable& table, std::uint32_t id);
// 0 and the number of rules in the table, or vlanctl's error, as for a device that does not exist.
int countRules(const RuleTable& table, unsigned int* count);
// What happens to the frames of a table that match no rule.
void setDefaultAction(const RuleTable& table, std::uint32_t action, const char* vlanIfc);

// ---- what the state file says of tables ----

// The rule as an entry, loose or not.
std::string ruleKey(const RuleTable& table, std::uint32_t id);
void noteRuleCount(const RuleTable& table, std::uint32_t count);
void forgetTable(const RuleTable& table);
// The running operation makes no rule of its own here, for there is one: it needs those that no map has.
void noteNeedOfLooseRules(const RuleTable& table);
// The rule is no longer in its table.
void forgetRule(const RuleTable& table, std::uint32_t id);

}  // namespace kit

#endif
