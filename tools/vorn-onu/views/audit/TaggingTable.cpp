#include "views/audit/TaggingTable.h"

#include <algorithm>

namespace vorn_onu::audit {

namespace {

constexpr unsigned kDropFrame = 3;
// Codes of a treatment.
constexpr unsigned kPriorityOfInner = 8, kPriorityOfOuter = 9, kPriorityOfDscp = 10;
constexpr unsigned kVidOfInner = 4096, kVidOfOuter = 4097;
constexpr unsigned kAllOnesVid = 8191;
constexpr unsigned kTpid8100 = 4, kInputTpid = 5, kInputTpidDei1 = 7;
constexpr unsigned kTagOfInner = 0, kTagOfOuter = 1, kOutputDeiOfInner = 2, kOutputDeiOfOuter = 3, kOutputDei0 = 6,
                   kOutputDei1 = 7;
constexpr std::uint16_t kCustomerTpid = 0x8100;

bool has(const TagField& field) {
    return field.priority != kNoTag;
}

std::uint32_t wordOf(const TagField& filter) {
    if (!has(filter)) return kNoTag << 28 | kAnyVid << 15;         // the rest of the word says nothing then
    if (filter.priority == kDefaultRow) return kDefaultRow << 28;  // likewise
    return static_cast<std::uint32_t>(filter.priority << 28 | filter.vid << 15 | filter.tpidDei << 12);
}

bool fits(PayloadType payload, std::uint16_t etherType) {
    switch (payload) {
        case PayloadType::Any:
            return true;
        case PayloadType::Ipv4:
            return etherType == 0x0800;
        case PayloadType::Pppoe:
            return etherType == 0x8863 || etherType == 0x8864;
        case PayloadType::Arp:
            return etherType == 0x0806;
        case PayloadType::Ipv6:
            return etherType == 0x86dd;
        case PayloadType::Eapol:
            return etherType == 0x888e;
        case PayloadType::PppoeSession:
            return etherType == 0x8864;
    }
    return false;
}

const char* wordOf(PayloadType payload) {
    static constexpr const char* kWords[] = {"", " IPv4", " PPPoE", " ARP", " IPv6", " EAPOL", " PPPoE session"};
    return kWords[static_cast<std::size_t>(payload)];
}

// The frame's own tags by their names: the only tag of a frame is its inner one.
const VlanTag* innerOf(const Frame& frame) {
    if (frame.tags.empty()) return nullptr;
    return frame.tags.size() == 1 ? &frame.tags[0] : &frame.tags[1];
}
const VlanTag* outerOf(const Frame& frame) {
    return frame.tags.size() < 2 ? nullptr : &frame.tags[0];
}

bool isIp(const Frame& frame) {
    return frame.etherType == 0x0800 || frame.etherType == 0x86dd;
}

std::string filterText(const TagField& filter) {
    std::string text = filter.vid <= kMaxVid ? "VID " + std::to_string(filter.vid) : "any VID";
    if (filter.priority <= kMaxPriority) text += " p" + std::to_string(filter.priority);
    return text;
}

std::string treatmentText(const TagField& treatment) {
    std::string text = "VID " + std::to_string(treatment.vid);
    if (treatment.vid == kVidOfInner || treatment.vid == kVidOfOuter) text = "the same VID";
    if (treatment.priority <= kMaxPriority) return text + " p" + std::to_string(treatment.priority);
    return text + (treatment.priority == kPriorityOfDscp ? ", p-bits by DSCP" : ", the same p-bits");
}

}  // namespace

unsigned TaggingRow::tags() const {
    return has(outerFilter) ? 2 : has(innerFilter) ? 1 : 0;
}

bool TaggingRow::isDefaultRow() const {
    if (tags() == 0) return payload == PayloadType::Any;
    return (tags() == 2 ? outerFilter : innerFilter).priority == kDefaultRow;
}

bool TaggingRow::isDeletion() const {
    const auto allOnes = [](const TagField& treatment) {
        return treatment.priority == kNoTag && treatment.vid == kAllOnesVid && treatment.tpidDei == kOutputDei1;
    };
    return tagsToRemove == kDropFrame && allOnes(outerTreatment) && allOnes(innerTreatment);
}

std::vector<TagField> TaggingRow::filters() const {
    if (tags() == 2) return {outerFilter, innerFilter};
    return tags() == 1 ? std::vector<TagField>{innerFilter} : std::vector<TagField>{};
}

std::vector<TagField> TaggingRow::added() const {
    std::vector<TagField> tags;
    if (has(outerTreatment)) tags.push_back(outerTreatment);
    if (has(innerTreatment)) tags.push_back(innerTreatment);
    return tags;
}

std::array<std::uint32_t, 2> TaggingRow::key() const {
    return {wordOf(outerFilter), wordOf(innerFilter) | static_cast<std::uint32_t>(payload)};
}

std::string TaggingRow::text() const {
    std::string text = tags() == 0 ? "untagged" : "";
    if (tags() > 0 && isDefaultRow()) text = tags() == 1 ? "any other tag" : "any other two tags";
    if (text.empty())
        for (const TagField& filter : filters()) text += (text.empty() ? "" : ", ") + filterText(filter);
    text += wordOf(payload);
    text += " → ";
    if (tagsToRemove == kDropFrame) return text + "drop";
    std::string action;
    if (tagsToRemove != 0) action = "remove " + std::to_string(tagsToRemove);
    for (const TagField& treatment : added()) action += (action.empty() ? "add " : ", add ") + treatmentText(treatment);
    return text + (action.empty() ? "pass" : action);
}

TaggingTable::TaggingTable() {
    TaggingRow row;
    set(row);
    row.innerFilter.priority = kDefaultRow;
    set(row);
    row.outerFilter.priority = kDefaultRow;
    set(row);
}

void TaggingTable::set(const TaggingRow& row) {
    rows_.erase(
        std::remove_if(rows_.begin(), rows_.end(), [&](const TaggingRow& other) { return other.key() == row.key(); }),
        rows_.end());
    if (row.isDeletion()) return;
    const auto before = [](const TaggingRow& left, const TaggingRow& right) {
        if (left.isDefaultRow() != right.isDefaultRow()) return right.isDefaultRow();
        return left.key() < right.key();
    };
    rows_.insert(std::upper_bound(rows_.begin(), rows_.end(), row, before), row);
}

bool TaggingTable::isUntouched() const {
    constexpr std::size_t kRowsFromTheStart = 3;
    return rows_.size() == kRowsFromTheStart &&
           std::all_of(rows_.begin(), rows_.end(), [](const TaggingRow& row) { return row.step == 0; });
}

bool TaggingTable::fits(const TagField& filter, const VlanTag& tag) const {
    if (filter.priority == kDefaultRow) return true;
    if (filter.priority <= kMaxPriority && tag.pbits != filter.priority) return false;
    if (filter.vid <= kMaxVid && tag.vid != filter.vid) return false;
    if (filter.tpidDei == kTpid8100) return tag.tpid == kCustomerTpid;
    if (filter.tpidDei < kInputTpid) return true;
    return tag.tpid == inputTpid && (filter.tpidDei == kInputTpid || tag.dei == (filter.tpidDei == kInputTpidDei1));
}

bool TaggingTable::fits(const TaggingRow& row, const Frame& frame) const {
    if (std::min<std::size_t>(frame.tags.size(), 2) != row.tags()) return false;
    const auto filters = row.filters();
    for (std::size_t i = 0; i < filters.size(); ++i)
        if (!fits(filters[i], frame.tags[i])) return false;
    return audit::fits(row.payload, frame.etherType);
}

VlanTag TaggingTable::written(const TagField& treatment, const Frame& frame) const {
    static const VlanTag kMissing;  // what a copy of a tag that is not there gives
    const VlanTag* innermost = innerOf(frame);
    const VlanTag* outermost = outerOf(frame);
    const VlanTag& inner = innermost != nullptr ? *innermost : kMissing;
    const VlanTag& outer = outermost != nullptr ? *outermost : kMissing;
    VlanTag tag;
    if (treatment.priority <= kMaxPriority) tag.pbits = static_cast<std::uint8_t>(treatment.priority);
    if (treatment.priority == kPriorityOfInner) tag.pbits = inner.pbits;
    if (treatment.priority == kPriorityOfOuter) tag.pbits = outer.pbits;
    // The usual map; the frames that are tried have DSCP 0, which every usual one takes to 0.
    if (treatment.priority == kPriorityOfDscp && isIp(frame)) tag.pbits = static_cast<std::uint8_t>(frame.dscp / 8);
    if (treatment.vid <= kMaxVid) tag.vid = static_cast<std::uint16_t>(treatment.vid);
    if (treatment.vid == kVidOfInner) tag.vid = inner.vid;
    if (treatment.vid == kVidOfOuter) tag.vid = outer.vid;
    const unsigned code = treatment.tpidDei;
    if (code == kTagOfInner || code == kTagOfOuter) tag.tpid = (code == kTagOfInner ? inner : outer).tpid;
    if (code == kOutputDeiOfInner || code == kOutputDeiOfOuter || code == kOutputDei0 || code == kOutputDei1)
        tag.tpid = outputTpid;
    if (code == kTagOfInner || code == kOutputDeiOfInner) tag.dei = inner.dei;
    if (code == kTagOfOuter || code == kOutputDeiOfOuter) tag.dei = outer.dei;
    if (code == kOutputDei1) tag.dei = true;
    return tag;
}

Tagging TaggingTable::upstream(const Frame& frame) const {
    for (const TaggingRow& row : rows_) {
        if (!fits(row, frame)) continue;
        if (row.tagsToRemove == kDropFrame) return {Tagging::Fate::Dropped, frame, row};
        Frame treated = frame;
        const auto removed = std::min<std::size_t>(row.tagsToRemove, frame.tags.size());
        treated.tags.erase(treated.tags.begin(), treated.tags.begin() + static_cast<std::ptrdiff_t>(removed));
        const auto added = row.added();
        for (auto tag = added.rbegin(); tag != added.rend(); ++tag)
            treated.tags.insert(treated.tags.begin(), written(*tag, frame));
        return {Tagging::Fate::Passes, treated, row};
    }
    return {Tagging::Fate::Dropped, frame, std::nullopt};  // its default row was deleted
}

// What was copied stands for any value, but for what the filter says of it.
bool TaggingTable::isAsWritten(const TaggingRow& row, const TagField& treatment, const VlanTag& tag,
                               Inversion by) const {
    if (by.pbits) {
        if (treatment.priority <= kMaxPriority && tag.pbits != treatment.priority) return false;
        if (treatment.priority == kPriorityOfInner && row.innerFilter.priority <= kMaxPriority &&
            tag.pbits != row.innerFilter.priority)
            return false;
        if (treatment.priority == kPriorityOfOuter && row.outerFilter.priority <= kMaxPriority &&
            tag.pbits != row.outerFilter.priority)
            return false;
    }
    if (by.vid) {
        if (treatment.vid <= kMaxVid && tag.vid != treatment.vid) return false;
        if (treatment.vid == kVidOfInner && row.innerFilter.vid <= kMaxVid && tag.vid != row.innerFilter.vid)
            return false;
        if (treatment.vid == kVidOfOuter && row.outerFilter.vid <= kMaxVid && tag.vid != row.outerFilter.vid)
            return false;
    }
    const unsigned code = treatment.tpidDei;
    if (code == kTpid8100) return tag.tpid == kCustomerTpid;
    return code == kTagOfInner || code == kTagOfOuter || tag.tpid == outputTpid;
}

bool TaggingTable::isTreated(const TaggingRow& row, const Frame& frame, Inversion by) const {
    const auto added = row.added();
    const auto filters = row.filters();
    const std::size_t kept = filters.size() - std::min<std::size_t>(filters.size(), row.tagsToRemove);
    if (frame.tags.size() < added.size() + kept) return false;
    if (row.tags() < 2 && frame.tags.size() != added.size() + kept) return false;
    for (std::size_t i = 0; i < added.size(); ++i)
        if (!isAsWritten(row, added[i], frame.tags[i], by)) return false;
    for (std::size_t i = 0; i < kept; ++i)
        if (!fits(filters[filters.size() - kept + i], frame.tags[added.size() + i])) return false;
    return audit::fits(row.payload, frame.etherType);
}

// The tag of the frame that a removed tag's field was copied into; none where it was not.
std::optional<VlanTag> TaggingTable::sourceOf(const TaggingRow& row, std::size_t place, const Frame& frame,
                                              unsigned TagField::*field) const {
    const bool isInner = place + 1 == row.filters().size();
    const auto added = row.added();
    for (std::size_t i = 0; i < added.size(); ++i) {
        const unsigned code = added[i].*field;
        bool copies = false;
        if (field == &TagField::priority) copies = code == (isInner ? kPriorityOfInner : kPriorityOfOuter);
        if (field == &TagField::vid) copies = code == (isInner ? kVidOfInner : kVidOfOuter);
        if (field == &TagField::tpidDei) copies = code == (isInner ? kTagOfInner : kTagOfOuter);
        if (copies) return frame.tags[i];
    }
    return std::nullopt;
}

// A tag that the row has removed: by its filter, by what was copied, else the lowest value.
VlanTag TaggingTable::restored(const TaggingRow& row, std::size_t place, const Frame& frame, Inversion by) const {
    const TagField filter = row.filters()[place];
    VlanTag tag;
    if (filter.priority <= kMaxPriority)
        tag.pbits = static_cast<std::uint8_t>(filter.priority);
    else if (const auto source = sourceOf(row, place, frame, &TagField::priority))
        tag.pbits = source->pbits;
    if (filter.vid <= kMaxVid)
        tag.vid = static_cast<std::uint16_t>(filter.vid);
    else if (const auto source = sourceOf(row, place, frame, &TagField::vid))
        tag.vid = source->vid;
    if (filter.tpidDei >= kInputTpid) {
        tag.tpid = inputTpid;
        tag.dei = filter.tpidDei == kInputTpidDei1;
    } else if (filter.tpidDei != kTpid8100) {
        if (const auto source = sourceOf(row, place, frame, &TagField::tpidDei)) {
            tag.tpid = source->tpid;
            tag.dei = source->dei;
        }
    }
    const bool hasCounterpart = place < row.added().size();
    if (!by.pbits && hasCounterpart) tag.pbits = frame.tags[place].pbits;
    if (!by.vid && hasCounterpart) tag.vid = frame.tags[place].vid;
    return tag;
}

Frame TaggingTable::inverse(const TaggingRow& row, const Frame& frame, Inversion by) const {
    Frame back = frame;
    const auto added = static_cast<std::ptrdiff_t>(row.added().size());
    back.tags.erase(back.tags.begin(), back.tags.begin() + added);
    const std::size_t removed = std::min<std::size_t>(row.filters().size(), row.tagsToRemove);
    for (std::size_t i = removed; i > 0; --i) back.tags.insert(back.tags.begin(), restored(row, i - 1, frame, by));
    return back;
}

std::optional<Tagging> TaggingTable::inverted(const Frame& frame, unsigned bridge, Inversion compared,
                                              Inversion restored) const {
    for (const TaggingRow& row : rows_) {
        // What passes everything else has no inverse of its own, nor has what drops.
        const bool passesRest = row.isDefaultRow() && (row.tags() > 0 || row.added().empty());
        if (passesRest || row.tagsToRemove == kDropFrame || (row.bridge && *row.bridge != bridge)) continue;
        if (isTreated(row, frame, compared)) return Tagging{Tagging::Fate::Passes, inverse(row, frame, restored), row};
    }
    return std::nullopt;
}

Tagging TaggingTable::downstream(const Frame& frame, unsigned bridge, Untaken untaken) const {
    constexpr unsigned kPassAll = 1, kDropAll = 8;
    if (downstreamMode == kPassAll) return {Tagging::Fate::Passes, frame, std::nullopt};
    if (downstreamMode == kDropAll) return {Tagging::Fate::Dropped, frame, std::nullopt};
    static constexpr Inversion kModes[] = {{true, true},  {},           {true, true},  {true, false},
                                           {false, true}, {true, true}, {true, false}, {false, true}};
    if (downstreamMode > kDropAll) return {Tagging::Fate::Open, frame, std::nullopt};
    const Inversion by = kModes[downstreamMode];
    if (const auto taken = inverted(frame, bridge, by, by)) return *taken;
    if (downstreamMode == 0) {
        if (untaken == Untaken::LeftToTheOnu) return {Tagging::Fate::Open, frame, std::nullopt};
        constexpr Inversion kByVid = {true, false};
        if (const auto taken = inverted(frame, bridge, kByVid, by)) return *taken;
        return {isUntouched() ? Tagging::Fate::Passes : Tagging::Fate::Dropped, frame, std::nullopt};
    }
    constexpr unsigned kLastThatPasses = 4;
    return {downstreamMode <= kLastThatPasses ? Tagging::Fate::Passes : Tagging::Fate::Dropped, frame, std::nullopt};
}

}  // namespace vorn_onu::audit
