#include "omci/services/UniRules.h"

#include <cstring>

#include "omci/services/RowParts.h"
#include "omci/services/StandardRules.h"
#include "omci/services/contract/UniRecords.h"

namespace omci::services {

namespace {

bool overlap(const TagFilter& one, const TagFilter& other) {
    if (hasTag(one) != hasTag(other)) return false;
    if (!hasTag(one)) return true;
    if (namesPriority(one) && namesPriority(other) && one.priority != other.priority) return false;
    return !namesVid(one) || !namesVid(other) || one.vid == other.vid;
}

// 0: a row with a filter of its own; 1, 2: a default rule that treats tags or drops; 3: whatever is left passes.
int orderOf(const UniRule& rule) {
    if (!rule.row.isDefault()) return 0;
    return passesUnchanged(rule.row) ? 3 : tagsOf(rule.row) == 0 ? 1 : 2;
}

}  // namespace

unsigned UniRule::rules() const {
    // PPPoE is two types.
    const unsigned each = (downstream ? 2 : 1) * (row.ethertype == 2 ? 2 : 1);
    return static_cast<unsigned>(records.size()) * each;
}

UniRule uniRule(const TaggingRow& row, const Tagging& tagging, UniPort port) {
    return tagging.standard ? standardRule(row, tagging, port) : contract::uniRule(row, tagging, port);
}

bool isBefore(const UniRule& one, const UniRule& other) {
    const int first = orderOf(one), second = orderOf(other);
    if (first != second) return first < second;
    return std::memcmp(one.source.data(), other.source.data(), kTaggingKeySize) < 0;
}

bool overlap(const UniRule& one, const UniRule& other) {
    const TaggingRow& a = one.row;
    const TaggingRow& b = other.row;
    const bool up = a.kind() == b.kind() && overlap(a.outer, b.outer) && overlap(a.inner, b.inner) &&
                    (a.ethertype == b.ethertype || a.ethertype == 0 || b.ethertype == 0);
    if (up) return true;
    return one.downstream && other.downstream && one.ponTags == other.ponTags && overlap(one.ponOuter, other.ponOuter);
}

bool passesUnchanged(const TaggingRow& row) {
    return row.tagsToRemove == 0 && addedBy(row) == 0;
}

std::vector<TaggingRow> rowsOfTaggingOperation(std::uint8_t upstreamMode, std::uint16_t tci) {
    TaggingRow two, one, untagged;
    two.outer = two.inner = one.inner = kAny;
    if (upstreamMode != 0) {
        const TagTreatment added{static_cast<std::uint8_t>(tci >> 13), static_cast<std::uint16_t>(tci & 0x0FFFU),
                                 TagTreatment::k8100};
        two.innerTag = one.innerTag = untagged.innerTag = added;
        if (upstreamMode == 1) two.tagsToRemove = one.tagsToRemove = 1;
    }
    return {two, one, untagged};
}

UniDataProvisioning portWithoutRows(UniPort port) {
    UniDataProvisioning record{};
    record.addFlag = 1;
    record.bridgeId = port.bridgeId;
    record.uniPort = port.port;
    record.inputTpid = record.outputTpid = 0x8100;
    return record;
}

UniDataProvisioning removalOf(UniPort port) {
    UniDataProvisioning record{};
    record.bridgeId = port.bridgeId;
    record.uniPort = port.port;
    return record;
}

UniDataProvisioning removalOf(const UniDataProvisioning& record) {
    UniDataProvisioning removal = record;
    removal.removeType = TaggingRow::kDiscard;
    removal.outerTreatmentPrio = removal.innerTreatmentPrio = TagTreatment::kNoTag;
    removal.outerTreatmentVlanId = removal.innerTreatmentVlanId = 8191;
    removal.outerTreatmentTpidDe = removal.innerTreatmentTpidDe = 7;
    return removal;
}

}  // namespace omci::services
