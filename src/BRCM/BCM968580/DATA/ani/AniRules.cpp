// The tag rules of the ANI side: which frames a VLAN tagging filter (G.988 9.3.11) lets through, and how each kind of
// filter becomes a rule.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "hal/Text.h"

namespace {

constexpr std::uint8_t kReceive = VLANCTL_DIRECTION_RX;
constexpr std::uint8_t kTransmit = VLANCTL_DIRECTION_TX;
constexpr std::uint8_t kPass = 0;
constexpr std::uint8_t kDrop = 1;
constexpr std::uint8_t kIgmp = 2;
constexpr std::uint16_t kTagCounts = 3;  // tables for untagged, single-tagged and double-tagged frames

// ---- Forward operations ----

enum class EntryFilter { None, Vid, Pbits, Tci };

struct ForwardOperation {
    std::uint8_t codes[4];  // 0 fills up
    bool untaggedForwarded;
    bool untaggedRule;  // untagged frames get a rule of their own in place of the default
    bool taggedForwarded;
    EntryFilter entryFilter;   // of each TCI
    std::uint8_t entryAction;  // on the frames that match a TCI
};

// clang-format off
constexpr ForwardOperation kForwardOperations[] = {
    // codes           untagged  own rule  tagged  per TCI
    {{1},              false,    true,     false,  EntryFilter::None,  kPass},
    {{2, 21},          false,    false,    true,   EntryFilter::None,  kPass},
    {{3, 15, 22, 28},  true,     false,    false,  EntryFilter::Vid,   kPass},
    {{4, 16, 23, 29},  false,    false,    false,  EntryFilter::Vid,   kPass},
    {{5},              true,     false,    true,   EntryFilter::Vid,   kDrop},
    {{6},              false,    false,    true,   EntryFilter::Vid,   kDrop},
    {{7, 17, 24, 30},  true,     false,    false,  EntryFilter::Pbits, kPass},
    {{8, 18, 25, 31},  false,    false,    false,  EntryFilter::Pbits, kPass},
    {{9},              true,     false,    true,   EntryFilter::Pbits, kDrop},
    {{10},             false,    false,    true,   EntryFilter::Pbits, kDrop},
    {{11, 19, 26, 32}, true,     false,    false,  EntryFilter::Tci,   kPass},
    {{12, 20, 27, 33}, false,    false,    false,  EntryFilter::Tci,   kPass},
    {{13},             true,     false,    true,   EntryFilter::Tci,   kDrop},
    {{14},             false,    false,    true,   EntryFilter::Tci,   kDrop},
};
// The operations that filter received frames too; under the others every frame of the GEM port goes through.
constexpr std::uint8_t kFilterReceived[] = {
    1, 3, 4, 7, 8, 11, 12, 15, 16, 17, 18, 19, 20, 28, 29, 30, 31, 32, 33,
};
// clang-format on

// Null for the operations without a filter: 0 and whatever is not known.
const ForwardOperation* forwardOperationOf(std::uint8_t code) {
    if (code == 0) return nullptr;
    for (const ForwardOperation& operation : kForwardOperations)
        if (std::count(std::begin(operation.codes), std::end(operation.codes), code) != 0) return &operation;
    return nullptr;
}

bool filtersReceivedFrames(std::uint8_t code) {
    return std::count(std::begin(kFilterReceived), std::end(kFilterReceived), code) != 0;
}

// ---- One rule ----

// Whose rule it is and where it goes: the arguments that every inserter hands through.
struct AniRulePlace {
    std::uint8_t direction;
    std::uint32_t gemIndex;
    std::uint16_t queue;
    char* device;
    char* vlanDevice;
    bool valid() const { return device != nullptr && vlanDevice != nullptr; }
};

// How the filter inserters differ beside their match.
struct FilterStyle {
    std::uint32_t firstTable;  // tag counts of the tables that get the rule
    std::uint32_t lastTable;
    bool marksReceivedQueue;  // the queue mark is in receive rules too
    bool igmpGoesFirst;       // the rules of an IGMP service go in front of the table
    bool printsProtocol;
};
// clang-format off
//                                        tables  receive mark  IGMP first  prints
constexpr FilterStyle kUntaggedStyle   = {0, 0,   true,         true,       true};
constexpr FilterStyle kVidStyle        = {1, 2,   true,         true,       true};
constexpr FilterStyle kPbitsStyle      = {1, 2,   true,         false,      false};
constexpr FilterStyle kTciStyle        = {1, 2,   false,        true,       false};
// clang-format on

std::uint32_t tablePosition(bool igmpGoesFirst) {
    return igmpGoesFirst && protocolNumber == kIgmp ? VLANCTL_POSITION_FRONT : VLANCTL_POSITION_APPEND;
}

void installInTables(EtherSwitchBcm380& engine, const kit::TagRule& rule, const AniRulePlace& place,
                     std::uint32_t firstTable, std::uint32_t lastTable, std::uint32_t position) {
    installRuleInTables(engine, rule, {place.device, place.direction, firstTable}, lastTable, place.gemIndex,
                        {position});
}

// Received frames come from the GEM port; transmitted ones from the VLAN device and, for an IGMP service, carry IGMP.
void filterOrigin(kit::TagRule& rule, const AniRulePlace& place, bool printsProtocol) {
    rule.bind(place.direction, place.vlanDevice);
    if (place.direction == kReceive) rule.filterGemIndex(place.gemIndex);
    if (place.direction == kTransmit && protocolNumber == kIgmp) {
        if (printsProtocol) std::printf("===> vlanCtl_filterOnIpProto protocal number is =%d", protocolNumber);
        rule.filterIpProtocol(protocolNumber);
    }
}

// Origin, match, marks, drop, insert: the order of every filter inserter. addMatch adds what the inserter filters on.
template <typename AddMatch>
void installFilterRule(EtherSwitchBcm380& engine, const AniRulePlace& place, std::uint8_t action,
                       const FilterStyle& style, AddMatch&& addMatch) {
    if (!place.valid()) return;
    kit::TagRule rule;
    filterOrigin(rule, place, style.printsProtocol);
    addMatch(rule);
    if (place.direction == kTransmit && std::strstr(place.device, "gpon") != nullptr)
        rule.markGemIndex(place.gemIndex).markQueue(place.queue);
    if (place.direction == kReceive && style.marksReceivedQueue) rule.markQueue(place.queue);
    if (action == kDrop) rule.drop();
    installInTables(engine, rule, place, style.firstTable, style.lastTable, tablePosition(style.igmpGoesFirst));
}

// ---- A forward operation's rules ----

void setDefault(EtherSwitchBcm380& engine, const AniRulePlace& place, bool forwarded, std::uint16_t tags) {
    engine.setDefaultAction(place.device, forwarded ? place.vlanDevice : nullptr, forwarded ? kPass : kDrop, tags,
                            static_cast<std::uint16_t>(place.gemIndex), place.direction);
}

void insertEntryRule(EtherSwitchBcm380& engine, const AniRulePlace& place, const ForwardOperation& operation,
                     const VlanTci_t& tci) {
    const std::uint8_t action = operation.entryAction;
    const auto narrowQueue = static_cast<std::uint8_t>(place.queue);
    switch (operation.entryFilter) {
        case EntryFilter::None:
            return;
        case EntryFilter::Vid:
            return engine.insertVlanIdFilterTagRules(tci.vlanId, place.queue, action, place.direction, place.gemIndex,
                                                     place.device, place.vlanDevice);
        case EntryFilter::Pbits:
            return engine.insertPbitsFilterTagRules(tci.pbits, action, place.direction, place.gemIndex, place.device,
                                                    place.vlanDevice, narrowQueue);
        case EntryFilter::Tci:
            return engine.insertTciFilterTagRules(tci.pbits, tci.cfi, tci.vlanId, action, place.direction,
                                                  place.gemIndex, place.device, place.vlanDevice, narrowQueue);
    }
}

void insertForwardOperation(EtherSwitchBcm380& engine, const AniRulePlace& place, const ForwardOperation& operation,
                            const VlanTciFilterInfo_t& info) {
    setDefault(engine, place, operation.untaggedForwarded, 0);
    if (operation.untaggedRule) {
        engine.insertUntaggedFilterRules(place.queue, kPass, place.direction, place.gemIndex, place.device,
                                         place.vlanDevice);
    }
    setDefault(engine, place, operation.taggedForwarded, 1);
    setDefault(engine, place, operation.taggedForwarded, 2);
    if (info.entries == nullptr) return;
    for (int index = 1; index < info.numberOfEntries; ++index)  // entry 0 is the wildcard
        insertEntryRule(engine, place, operation, info.entries[index]);
}

}  // namespace

void EtherSwitchBcm380::createAniFilterTagRules(VlanTciFilterInfo_t& info, std::uint8_t* pbitArray, char* devIfc,
                                                char* vlanIfc, std::uint32_t phyId, std::uint16_t qid) {
    if (devIfc == nullptr || vlanIfc == nullptr) return;
    if (mcast != 0) {
        std::printf("\n createAniFilterTagRules, multicast case\n ");
        createMulticastAniFilterTagRules(info, pbitArray, devIfc, vlanIfc, phyId, qid);
    } else {
        if (filtersReceivedFrames(info.forwardOperation)) {
            insertAniFilterTagRules(&info, kReceive, phyId, devIfc, vlanIfc, qid);
        } else {
            insertDefaultAniTagRules(devIfc, vlanIfc, static_cast<std::uint16_t>(phyId), qid, kReceive, kDrop);
        }
        insertAniFilterTagRules(&info, kTransmit, phyId, devIfc, vlanIfc, qid);
    }
    std::printf("===> createAniFilterTagRules, gemPort=%d, devIfc=%s, vlanIfc=%s, qid=%u", static_cast<int>(phyId),
                devIfc, vlanIfc, qid);
}

// The p-bit array takes no part in the rules: each queue has rules of its own.
void EtherSwitchBcm380::createMulticastAniFilterTagRules(VlanTciFilterInfo_t& info, std::uint8_t* /*pbitArray*/,
                                                         char* devIfc, char* vlanIfc, std::uint32_t phyId,
                                                         std::uint16_t qid) {
    insertDefaultTagRules(devIfc, vlanIfc, static_cast<std::uint16_t>(phyId), kReceive, kDrop);
    insertAniFilterTagRules(&info, kReceive, phyId, devIfc, vlanIfc, qid);
}

void EtherSwitchBcm380::insertAniFilterTagRules(const VlanTciFilterInfo_t* info, std::uint8_t direction,
                                                std::uint32_t phyId, char* devIfc, char* vlanIfc, std::uint16_t qid) {
    const AniRulePlace place = {direction, phyId, qid, devIfc, vlanIfc};
    if (info == nullptr || !place.valid()) return;
    {
        const kit::VlanCtlSession session;
        if (const ForwardOperation* operation = forwardOperationOf(info->forwardOperation)) {
            insertForwardOperation(*this, place, *operation, *info);
        } else if (direction == kReceive || direction == kTransmit) {
            insertDefaultAniTagRules(devIfc, vlanIfc, static_cast<std::uint16_t>(phyId), qid, direction,
                                     direction == kReceive ? kDrop : kPass);
        }
    }
    std::printf(
        "===> insertAniFilterTagRules: numberOfEntries=%d, forwardOperation=%d, direction=%d, phyId=%d, devIfc=%s, "
        "vlanIfc=%s, qid=%u",
        info->numberOfEntries, info->forwardOperation, direction, static_cast<int>(phyId), devIfc, vlanIfc, qid);
}

// ---- Defaults ----

// The rule is not recorded, so that it stays when the rules of a service are removed.
void EtherSwitchBcm380::setDefaultAction(char* devIfc, char* vlanIfc, std::uint8_t action, std::uint16_t nbrOfTags,
                                         std::uint16_t phyId, std::uint8_t direction) {
    static_cast<void>(phyId);
    if (devIfc == nullptr) return;
    char noDevice[] = "";
    if (vlanIfc == nullptr) vlanIfc = noDevice;
    unsigned int nbrOfRules = 0;
    const kit::RuleTable table{devIfc, direction, nbrOfTags};
    const int ret = kit::countRules(table, &nbrOfRules);
    const bool knownDirection = direction == kReceive || direction == kTransmit;
    if (ret == 0 && nbrOfRules == 0 && action == kPass && knownDirection)
        kit::insertLooseRule(table, kit::TagRule().bind(direction, vlanIfc));
    if (nbrOfRules != 0 && action == kPass) kit::noteNeedOfLooseRules(table);
    std::printf(
        "===> setDefaultAction, devIfc=%s, vlanIfc=%s, direction=%d, action=%d, nbrOfTags=%d, nbrOfRules=%d, "
        "retVlanCtl=%d\n",
        devIfc, vlanIfc, direction, action, nbrOfTags, static_cast<int>(nbrOfRules), ret);
}

void EtherSwitchBcm380::insertDefaultTagRules(char* devIfc, char* vlanIfc, std::uint16_t phyId, std::uint8_t direction,
                                              std::uint8_t action) {
    if (devIfc == nullptr || vlanIfc == nullptr) return;
    {
        const kit::VlanCtlSession session;
        for (std::uint16_t tags = 0; tags < kTagCounts; ++tags)
            setDefaultAction(devIfc, vlanIfc, action, tags, phyId, direction);
    }
    std::printf("===> insertDefaultTagRules, devIfc=%s, vlanIfc=%s, direction=%d, action=%d\n", devIfc, vlanIfc,
                direction, action);
}

void EtherSwitchBcm380::insertDefaultAniTagRules(char* devIfc, char* vlanIfc, std::uint16_t phyId, std::uint16_t qid,
                                                 std::uint8_t direction, std::uint8_t action) {
    const AniRulePlace place = {direction, phyId, qid, devIfc, vlanIfc};
    if (!place.valid()) return;
    {
        const kit::VlanCtlSession session;
        for (std::uint16_t tags = 0; tags < kTagCounts; ++tags)
            kit::setDefaultAction({devIfc, direction, tags}, action, vlanIfc);
        if (direction == kReceive || direction == kTransmit) {
            kit::TagRule rule;
            filterOrigin(rule, place, false);
            if (direction == kTransmit) rule.markGemIndex(phyId).markQueue(qid);
            installInTables(*this, rule, place, 0, kTagCounts - 1, tablePosition(direction == kTransmit));
        }
    }
    std::printf("===> insertDefaultAniTagRules, devIfc=%s, vlanIfc=%s, phyId=%d, qid=%u, direction=%d, action=%d",
                devIfc, vlanIfc, phyId, qid, direction, action);
}

// ---- Filters ----

void EtherSwitchBcm380::insertUntaggedFilterRules(std::uint16_t qid, std::uint8_t action, std::uint8_t direction,
                                                  std::uint32_t phyId, char* devIfc, char* vlanIfc) {
    installFilterRule(*this, {direction, phyId, qid, devIfc, vlanIfc}, action, kUntaggedStyle, [](kit::TagRule&) {});
}

void EtherSwitchBcm380::insertVlanIdFilterTagRules(std::uint16_t vlanId, std::uint16_t qid, std::uint8_t action,
                                                   std::uint8_t direction, std::uint32_t phyId, char* devIfc,
                                                   char* vlanIfc) {
    installFilterRule(*this, {direction, phyId, qid, devIfc, vlanIfc}, action, kVidStyle,
                      [&](kit::TagRule& rule) { rule.filterVid(vlanId, 0); });
}

void EtherSwitchBcm380::insertPbitsFilterTagRules(std::uint8_t pbits, std::uint8_t action, std::uint8_t direction,
                                                  std::uint32_t phyId, char* devIfc, char* vlanIfc, std::uint8_t qid) {
    installFilterRule(*this, {direction, phyId, qid, devIfc, vlanIfc}, action, kPbitsStyle,
                      [&](kit::TagRule& rule) { rule.filterPbits(pbits, 0); });
}

// Kept: received frames are matched on their VID alone, whatever p-bits the list names; the daemon relies on it.
void EtherSwitchBcm380::insertTciFilterTagRules(std::uint8_t pbits, std::uint8_t cfi, std::uint16_t vlanId,
                                                std::uint8_t action, std::uint8_t direction, std::uint32_t phyId,
                                                char* devIfc, char* vlanIfc, std::uint8_t qid) {
    std::printf("pbits:%u, cfi:%u, vlanId:%u, action:%u, direction:%u, phyId:%u, devIfc:%s, vlanIfc:%s, qid:%u", pbits,
                cfi, vlanId, action, direction, phyId, printable(devIfc), printable(vlanIfc), qid);
    installFilterRule(*this, {direction, phyId, qid, devIfc, vlanIfc}, action, kTciStyle, [&](kit::TagRule& rule) {
        if (direction == kTransmit) rule.filterPbits(pbits, 0).filterCfi(cfi, 0);
        rule.filterVid(vlanId, 0);
    });
    std::printf(
        "=====> insertTciFilterTagRules: pbits:%u, cfi:%u, vlanId:%u, action:%u, direction:%u, phyId:%u, devIfc:%s, "
        "vlanIfc:%s, qid:%u",
        pbits, cfi, vlanId, action, direction, phyId, printable(devIfc), printable(vlanIfc), qid);
}

// ---- No filter at all ----

void EtherSwitchBcm380::insertUniAllowAllTxRxRules(char* devIfc, char* vlanIfc, std::uint16_t phyId) {
    if (devIfc == nullptr || vlanIfc == nullptr) return;
    const kit::VlanCtlSession session;
    for (std::uint16_t tags = 0; tags < kTagCounts; ++tags) {
        for (const std::uint8_t direction : {kReceive, kTransmit})
            installRule(*this, kit::TagRule().bind(direction, vlanIfc), {devIfc, direction, tags}, phyId);
    }
}
