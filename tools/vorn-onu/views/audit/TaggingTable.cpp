#include "views/audit/TaggingTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

// By the type word behind so many tags.
bool fits(PayloadType payload, const Frame& frame, std::size_t tags) {
    static constexpr std::pair<PayloadType, std::uint16_t> kTypes[] = {
        {PayloadType::Ipv4, 0x0800},  {PayloadType::Pppoe, 0x8863},        {PayloadType::Pppoe, 0x8864},
        {PayloadType::Arp, 0x0806},   {PayloadType::PppoeSession, 0x8864}, {PayloadType::Ipv6, 0x86dd},
        {PayloadType::Eapol, 0x888e},
    };
    const std::uint16_t type = tags < frame.tags.size() ? frame.tags[tags].tpid : frame.etherType;
    return payload == PayloadType::Any ||
           std::find(std::begin(kTypes), std::end(kTypes), std::pair(payload, type)) != std::end(kTypes);
}

const char* wordOf(PayloadType payload) {
    static constexpr const char* kWords[] = {"", " IPv4", " PPPoE", " ARP", " IPv6", " EAPOL", " PPPoE session"};
    return kWords[static_cast<std::size_t>(payload)];
}

enum class Part { Priority, Vid, Tpid, Dei };

// The place among the row's filters of the tag that a treatment copies this part from; none: it writes a value of its
// own, or that tag is not there. The only tag of a frame is its inner one.
std::optional<std::size_t> placeCopied(const TaggingRow& row, const TagField& treatment, Part part) {
    bool inner = false, outer = false;
    switch (part) {
        case Part::Priority:
            inner = treatment.priority == kPriorityOfInner;
            outer = treatment.priority == kPriorityOfOuter;
            break;
        case Part::Vid:
            inner = treatment.vid == kVidOfInner;
            outer = treatment.vid == kVidOfOuter;
            break;
        case Part::Dei:
            inner = treatment.tpidDei == kOutputDeiOfInner;
            outer = treatment.tpidDei == kOutputDeiOfOuter;
            [[fallthrough]];
        case Part::Tpid:
            inner = inner || treatment.tpidDei == kTagOfInner;
            outer = outer || treatment.tpidDei == kTagOfOuter;
    }
    if (inner && row.tags() > 0) return row.tags() - 1;
    if (outer && row.tags() == 2) return 0;
    return std::nullopt;
}

bool hasOutputTpid(const TagField& treatment) {
    return treatment.tpidDei > kTagOfOuter && treatment.tpidDei != kTpid8100;
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
    return audit::fits(row.payload, frame, filters.size());
}

VlanTag TaggingTable::written(const TaggingRow& row, const TagField& treatment, const Frame& frame) const {
    const auto source = [&](Part part) {
        const auto place = placeCopied(row, treatment, part);
        return place ? frame.tags[*place] : VlanTag{};
    };
    VlanTag tag;
    tag.tpid = source(Part::Tpid).tpid;
    tag.pbits = source(Part::Priority).pbits;
    tag.dei = source(Part::Dei).dei || treatment.tpidDei == kOutputDei1;
    tag.vid = source(Part::Vid).vid;
    if (treatment.priority <= kMaxPriority) tag.pbits = static_cast<std::uint8_t>(treatment.priority);
    // The usual map; the frames that an audit tries have DSCP 0, which every usual one takes to 0.
    if (treatment.priority == kPriorityOfDscp && isIp(frame)) tag.pbits = static_cast<std::uint8_t>(frame.dscp / 8);
    if (treatment.vid <= kMaxVid) tag.vid = static_cast<std::uint16_t>(treatment.vid);
    if (hasOutputTpid(treatment)) tag.tpid = outputTpid;
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
            treated.tags.insert(treated.tags.begin(), written(row, *tag, frame));
        return {Tagging::Fate::Passes, treated, row};
    }
    return {Tagging::Fate::Dropped, frame, std::nullopt};  // its default row was deleted
}

// What was copied stands for any value, but for what the filter says of it.
bool TaggingTable::isAsWritten(const TaggingRow& row, const TagField& treatment, const VlanTag& tag,
                               Inversion by) const {
    const auto valueOf = [&](Part part, unsigned TagField::*field) {
        const auto place = placeCopied(row, treatment, part);
        return (place ? row.filters()[*place] : treatment).*field;
    };
    const unsigned priority = valueOf(Part::Priority, &TagField::priority);
    if (by.pbits && priority <= kMaxPriority && tag.pbits != priority) return false;
    const unsigned vid = valueOf(Part::Vid, &TagField::vid);
    if (by.vid && vid <= kMaxVid && tag.vid != vid) return false;
    if (treatment.tpidDei == kTpid8100) return tag.tpid == kCustomerTpid;
    return !hasOutputTpid(treatment) || tag.tpid == outputTpid;
}

bool TaggingTable::isTreated(const TaggingRow& row, const Frame& frame, Inversion by) const {
    const auto added = row.added();
    const auto filters = row.filters();
    const std::size_t kept = filters.size() - std::min<std::size_t>(filters.size(), row.tagsToRemove);
    const std::size_t least = added.size() + kept;
    const std::size_t has = frame.tags.size();
    // Two tags stand for two and more, before the row or behind it.
    if (has < least || (has > least && least < 2 && row.tags() < 2)) return false;
    for (std::size_t i = 0; i < added.size(); ++i)
        if (!isAsWritten(row, added[i], frame.tags[i], by)) return false;
    for (std::size_t i = 0; i < kept; ++i)
        if (!fits(filters[filters.size() - kept + i], frame.tags[added.size() + i])) return false;
    return audit::fits(row.payload, frame, std::max(least, std::min<std::size_t>(has, 2)));
}

// A tag that the row has removed: by its filter, by what was copied, else the lowest value.
VlanTag TaggingTable::restored(const TaggingRow& row, std::size_t place, const Frame& frame, Inversion by) const {
    const TagField filter = row.filters()[place];
    const auto added = row.added();
    const auto copy = [&](Part part) {
        for (std::size_t i = 0; i < added.size(); ++i)
            if (placeCopied(row, added[i], part) == place) return frame.tags[i];
        return VlanTag{};
    };
    VlanTag tag;
    tag.pbits =
        filter.priority <= kMaxPriority ? static_cast<std::uint8_t>(filter.priority) : copy(Part::Priority).pbits;
    tag.vid = filter.vid <= kMaxVid ? static_cast<std::uint16_t>(filter.vid) : copy(Part::Vid).vid;
    if (filter.tpidDei < kTpid8100) tag.tpid = copy(Part::Tpid).tpid;
    if (filter.tpidDei >= kInputTpid) tag.tpid = inputTpid;
    tag.dei = filter.tpidDei > kInputTpid ? filter.tpidDei == kInputTpidDei1 : copy(Part::Dei).dei;
    const bool hasCounterpart = place < added.size();
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
