#include "omci/services/contract/UniRecords.h"

#include <algorithm>

#include "omci/services/Numbers.h"
#include "omci/services/RowParts.h"

namespace omci::services::contract {

namespace {

// UniDataProvisioning::tagAction.
enum TagAction : std::uint16_t { kPush = 1, kPop = 2, kNone = 3, kPushTwo = 4, kPopTwo = 5, kTranslate = 6 };
// By tags removed and tags added. Where a tag is removed and two are added, one is pushed and both are written; where
// two are removed and one is added, one is popped and the other written.
constexpr TagAction kActions[3][3] = {{kNone, kPush, kPushTwo}, {kPop, kTranslate, kPush}, {kPopTwo, kPop, kTranslate}};

// Codes of the HAL's treatment that leave the field of the tag that is written as it was, and do not look at it
// downstream.
constexpr std::uint8_t kKeptPriority = TagTreatment::kCopyOuter;
constexpr std::uint16_t kKeptVid = TagTreatment::kVidFromOuter;
constexpr std::uint8_t kKeptTpid = 0;

// Works one row out.
class Translation {
public:
    Translation(const TaggingRow& row, const Tagging& tagging, UniPort port, UniRule& rule)
        : row_(row), tagging_(tagging), rule_(rule), removed_(std::min<unsigned>(row.tagsToRemove, tagsOf(row))) {
        record_.addFlag = record_.hasTagRules = 1;
        record_.bridgeId = port.bridgeId;
        record_.uniPort = port.port;
        record_.inputTpid = record_.outputTpid = 0x8100;
        // A single tag is added with the inner fields.
        if (!row_.innerTag.adds()) std::swap(row_.innerTag, row_.outerTag);
    }

    void run() {
        filter();
        treat();
        downstream();
        if (!expansion_) {
            rule_.records.push_back(record_);
            return;
        }
        for (std::uint8_t priority = 0; priority < kPriorities; ++priority) {
            (expansion_ == &row_.outer ? record_.outerFilterPrio : record_.innerFilterPrio) = priority;
            if (expandOuter_) record_.outerTreatmentPrio = priority;
            if (expandInner_) record_.innerTreatmentPrio = priority;
            rule_.records.push_back(record_);
        }
    }

private:
    void problem(const char* reason) { rule_.problems.emplace_back(reason); }

    void filter() {
        record_.filterType = static_cast<std::uint16_t>(tagsOf(row_));
        record_.etherType = row_.ethertype;
        for (auto* filter : {&row_.outer, &row_.inner}) {
            if (filter->priority == TagFilter::kDefaultRule) *filter = kAny;
            if (!hasTag(*filter)) *filter = {TagFilter::kNoTag, TagFilter::kAnyVid, TagFilter::kAnyTpid};
            if (filter->tpid >= TagFilter::kInput) record_.inputTpid = tagging_.inputTpid;
        }
        TagFilter outer = row_.outer;
        // With a filter on neither tag an untagged row would get its rule for downstream twice, or not at all on a
        // port that has more than six rules; p-bits from DSCP would leave the bridge's tables; and a row that lets
        // everything pass would not count. A filter on any p-bits of a tag that is not there takes the same frames.
        if (tagsOf(row_) == 0) outer = kAny;
        record_.outerFilterPrio = outer.priority;
        record_.outerFilterVlanId = outer.vid;
        record_.outerFilterTpidDe = outer.tpid;
        record_.innerFilterPrio = row_.inner.priority;
        record_.innerFilterVlanId = row_.inner.vid;
        record_.innerFilterTpidDe = row_.inner.tpid;
    }

    // The tag of the received frame that is written in the place of what the row adds, null for a new tag.
    const TagFilter* writtenTag() const {
        if (addedBy(row_) != 1 || removed_ == 0) return nullptr;
        return tagsOf(row_) == 2 && removed_ == 1 ? &row_.outer : &row_.inner;
    }

    void treat() {
        record_.removeType = static_cast<std::uint16_t>(removed_);
        record_.tagAction = kActions[removed_][addedBy(row_)];
        record_.outerTreatmentPrio = record_.innerTreatmentPrio = TagTreatment::kNoTag;
        if (row_.outerTag.adds()) {
            treat(row_.outerTag, record_.outerTreatmentPrio, record_.outerTreatmentVlanId, record_.outerTreatmentTpidDe,
                  expandOuter_);
        }
        if (row_.innerTag.adds()) {
            treat(row_.innerTag, record_.innerTreatmentPrio, record_.innerTreatmentVlanId, record_.innerTreatmentTpidDe,
                  expandInner_);
        }
        if (removed_ > 0 && addedBy(row_) == 0) problem("tags that are only taken off are not put back downstream");
        if (removed_ == 2 && addedBy(row_) == 1) problem("the inner tag is not put back downstream");
    }

    void treat(const TagTreatment& wanted, std::uint8_t& priority, std::uint16_t& vid, std::uint16_t& tpid,
               bool& expand) {
        priority = wanted.priority;
        if (wanted.priority == TagTreatment::kCopyInner || wanted.priority == TagTreatment::kCopyOuter) {
            priority =
                copiedPriority(wanted.priority == TagTreatment::kCopyInner ? row_.inner : row_.outer, priority, expand);
        } else if (wanted.priority == TagTreatment::kFromDscp && !tagging_.classSelector) {
            problem("p-bits from DSCP are DSCP / 8, whatever the DSCP map says");
        }
        vid = wanted.vid;
        if (wanted.vid >= TagTreatment::kVidFromInner)
            vid = copiedVid(wanted.vid == TagTreatment::kVidFromInner ? row_.inner : row_.outer, vid);
        tpid = treatmentTpid(wanted.tpid);
    }

    std::uint8_t copiedPriority(const TagFilter& source, std::uint8_t code, bool& expand) {
        if (!hasTag(source)) return 0;  // a copy of a tag that is not there
        if (namesPriority(source)) return source.priority;
        if (&source == writtenTag()) return kKeptPriority;
        if (removed_ == 2 && addedBy(row_) == 2) return code;  // both tags are there to be copied from
        // The HAL would look for the filter's own p-bits downstream, and "any" is none: a record for each value.
        if (expansion_ != nullptr && expansion_ != &source) {
            problem("p-bits are copied from one of the two tags only");
            return 0;
        }
        expansion_ = &source;
        expand = true;
        return 0;
    }

    std::uint16_t copiedVid(const TagFilter& source, std::uint16_t code) {
        if (!hasTag(source)) return 0;
        if (source.vid < TagFilter::kAnyVid) return source.vid;
        if (&source == writtenTag()) return kKeptVid;
        if (removed_ == 2 && addedBy(row_) == 2) return code;
        if (tagsOf(row_) == 1 && addedBy(row_) == 1) {
            problem("nothing comes down: a VID copied from any VID is not found again");
            return TagTreatment::kVidFromInner;
        }
        problem("a VID is not copied from any VID into this tag: it is 0");
        return 0;
    }

    std::uint16_t treatmentTpid(std::uint8_t code) {
        switch (code) {
            case TagTreatment::kTpidFromInner:
            case TagTreatment::kTpidFromOuter: {
                const auto& source = code == TagTreatment::kTpidFromInner ? row_.inner : row_.outer;
                if (!hasTag(source) || source.tpid < TagFilter::kInput)
                    return writtenTag() != nullptr ? std::uint16_t{kKeptTpid} : std::uint16_t{TagTreatment::k8100};
                if (&source == writtenTag()) return kKeptTpid;
                record_.outputTpid = tagging_.inputTpid;
                return source.tpid == TagFilter::kInput ? std::uint16_t{TagTreatment::kOutputDei0}
                                                        : std::uint16_t{source.tpid};
            }
            case TagTreatment::kOutputDeiFromInner:
            case TagTreatment::kOutputDeiFromOuter:
                record_.outputTpid = tagging_.outputTpid;
                // Of two tags the HAL writes a TPID with a DEI of its own only.
                return addedBy(row_) == 1 ? std::uint16_t{TagTreatment::kOutputDeiFromOuter}
                                          : std::uint16_t{TagTreatment::kOutputDei0};
            case TagTreatment::kOutputDei0:
            case TagTreatment::kOutputDei1:
                record_.outputTpid = tagging_.outputTpid;
                return code;
            default:
                return TagTreatment::k8100;
        }
    }

    void downstream() {
        const bool passes = row_.isDefault() && passesUnchanged(row_);
        const std::uint8_t mode = tagging_.downstreamMode;
        // Frames that fit no row pass in modes 0 (the ONU's choice) to 4; the rest is dropped by the port's default.
        rule_.downstream = passes ? mode <= 4 : mode != 1 && mode != 8;
        record_.downstreamMode = rule_.downstream ? 0 : 1;
        rule_.ponTags = std::min(tagsOf(row_) - removed_ + addedBy(row_), 2U);
        rule_.ponOuter = kAny;
        if (addedBy(row_) == 0) return;
        const bool two = addedBy(row_) == 2;
        const auto priority = two ? record_.outerTreatmentPrio : record_.innerTreatmentPrio;
        const auto vid = two ? record_.outerTreatmentVlanId : record_.innerTreatmentVlanId;
        if (priority < TagFilter::kAnyPriority && expansion_ == nullptr) rule_.ponOuter.priority = priority;
        if (vid < TagFilter::kAnyVid) rule_.ponOuter.vid = vid;
        if (!rule_.downstream) return;
        if ((mode == 3 || mode == 6) && rule_.ponOuter.priority < TagFilter::kAnyPriority)
            problem("downstream the p-bits have to fit too, not the VID alone");
        if ((mode == 4 || mode == 7) && vid < TagFilter::kAnyVid)
            problem("downstream the VID has to fit too, not the p-bits alone");
        if (record_.outerFilterVlanId == 1 || record_.innerFilterVlanId == 1)
            problem("nothing comes down: a filter on VID 1 gets no downstream rule");
        if (tagsOf(row_) == 2 && !namesPriority(row_.outer) && !namesPriority(row_.inner) &&
            (row_.outer.vid == 0 || row_.inner.vid == 0))
            problem("nothing comes down: a filter on a priority tag beside another tag gets no downstream rule");
    }

    TaggingRow row_;
    const Tagging& tagging_;
    UniRule& rule_;
    unsigned removed_;
    UniDataProvisioning record_{};
    const TagFilter* expansion_ = nullptr;  // the filter whose p-bits get a record for each value
    bool expandOuter_ = false, expandInner_ = false;
};

}  // namespace

UniRule uniRule(const TaggingRow& row, const Tagging& tagging, UniPort port) {
    UniRule rule;
    rule.row = row;
    if (rule.drops()) return rule;  // what no rule takes is dropped
    if (row.extendedCriteria != 0) {
        rule.problems.emplace_back("no rule: DHCP is not distinguished from other frames");
    } else if (row.ethertype > 3) {
        rule.problems.emplace_back(row.ethertype == 4 ? "no rule: IPv6 is not distinguished from other frames"
                                                      : "no rule: EAPOL is not distinguished from other frames");
    } else {
        Translation(row, tagging, port, rule).run();
    }
    return rule;
}

}  // namespace omci::services::contract
