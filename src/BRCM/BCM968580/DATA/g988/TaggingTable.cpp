#include "BRCM/BCM968580/DATA/g988/TaggingTable.h"

#include <algorithm>
#include <tuple>

namespace g988 {

namespace {

constexpr unsigned kPbitsShift = 28, kVidShift = 15, kTpidShift = 12, kCriteriaShift = 4;
constexpr unsigned kWordBits = 32;
constexpr std::uint8_t kLastCriteria = 2;

// What a filter does not look at is the same in all of its kind: OLTs leave anything there.
TagCodes looked(const TagCodes& filter) {
    using namespace filter_code;
    if (filter.pbits == kNoTag || filter.pbits == kDefaultRow) return {filter.pbits, kAnyVid, kAnyTpid};
    return filter;
}

std::uint32_t filterWord(const TagCodes& filter) {
    const TagCodes used = looked(filter);
    return static_cast<std::uint32_t>(used.pbits) << kPbitsShift | static_cast<std::uint32_t>(used.vid) << kVidShift |
           static_cast<std::uint32_t>(used.tpidDei) << kTpidShift;
}

bool triedBefore(const TaggingRow& left, const TaggingRow& right) {
    if (left.isDefaultRow() != right.isDefaultRow()) return right.isDefaultRow();
    return left.key() < right.key();
}

bool isKnownFilter(const TagCodes& filter) {
    using namespace filter_code;
    if (!filter.isThere() || filter.pbits == kDefaultRow) return true;
    if (filter.pbits > kAnyPbits || (filter.vid > kLastVid && filter.vid != kAnyVid)) return false;
    return filter.tpidDei == kAnyTpid || (filter.tpidDei >= kTpid8100 && filter.tpidDei <= kInputTpidDei1);
}

bool isKnownTreatment(const TagCodes& treatment) {
    using namespace treatment_code;
    if (!treatment.isThere()) return true;
    if (treatment.pbits > kPbitsOfDscp) return false;
    if (treatment.vid > kLastVid && treatment.vid != kVidOfInner && treatment.vid != kVidOfOuter) return false;
    return treatment.tpidDei <= kTpid8100 || treatment.tpidDei == kOutputDei0 || treatment.tpidDei == kOutputDei1;
}

std::string filterText(const TagCodes& filter) {
    if (filter.pbits == filter_code::kDefaultRow) return "default";
    std::string text = filter.vid <= kLastVid ? "VID " + std::to_string(filter.vid) : "any VID";
    if (filter.pbits <= kLastPbits) text += " p" + std::to_string(filter.pbits);
    return text;
}

}  // namespace

DscpMap classSelectors() {
    DscpMap map{};
    for (std::size_t dscp = 0; dscp < map.size(); ++dscp) map[dscp] = static_cast<std::uint8_t>(dscp / 8);
    return map;
}

unsigned TaggingRow::tags() const {
    return outerFilter.isThere() ? 2 : innerFilter.isThere() ? 1 : 0;
}

bool TaggingRow::isDefaultRow() const {
    if (tags() == 0) return etherTypes == EtherTypes::Any && extendedCriteria == 0;
    return (tags() == 2 ? outerFilter : innerFilter).pbits == filter_code::kDefaultRow;
}

std::uint64_t TaggingRow::key() const {
    return std::uint64_t{filterWord(outerFilter)} << kWordBits | filterWord(innerFilter) |
           std::uint64_t{extendedCriteria} << kCriteriaShift | static_cast<std::uint64_t>(etherTypes);
}

bool TaggingRow::operator==(const TaggingRow& other) const {
    const auto all = [](const TaggingRow& row) {
        return std::tie(row.outerFilter, row.innerFilter, row.extendedCriteria, row.etherTypes, row.tagsToRemove,
                        row.outerTreatment, row.innerTreatment, row.bridge);
    };
    return all(*this) == all(other);
}

std::vector<TagCodes> TaggingRow::filters() const {
    if (tags() == 2) return {outerFilter, innerFilter};
    return tags() == 1 ? std::vector<TagCodes>{innerFilter} : std::vector<TagCodes>{};
}

std::vector<TagCodes> TaggingRow::added() const {
    std::vector<TagCodes> result;
    if (outerTreatment.isThere()) result.push_back(outerTreatment);
    if (innerTreatment.isThere()) result.push_back(innerTreatment);
    return result;
}

std::string TaggingRow::text() const {
    static constexpr const char* kEtherTypes[] = {"", " IPv4", " PPPoE", " ARP", " IPv6", " EAPOL", " PPPoE session"};
    std::string text = tags() == 0 ? "row untagged" : "row";
    const char* separator = " ";
    for (const TagCodes& filter : filters()) {
        text += separator + filterText(filter);
        separator = ", ";
    }
    const auto code = static_cast<std::size_t>(etherTypes);
    return code < std::size(kEtherTypes) ? text + kEtherTypes[code] : text;
}

const char* TaggingRow::mistake() const {
    if (outerFilter.isThere() && !innerFilter.isThere()) return "its filter has an outer tag and no inner one";
    for (const TagCodes& filter : filters())
        if (!isKnownFilter(filter)) return "its filter has a reserved code";
    if (etherTypes > EtherTypes::PppoeSession) return "its EtherType is a reserved code";
    if (extendedCriteria > kLastCriteria) return "its extended criterion is a reserved code";
    if (tagsToRemove > kDiscard) return "it removes more than two tags";
    if (tagsToRemove == kDiscard) return nullptr;
    for (const TagCodes& treatment : added())
        if (!isKnownTreatment(treatment)) return "its treatment has a reserved code";
    return nullptr;
}

TaggingTable::TaggingTable() {
    TaggingRow row;
    set(row);
    row.innerFilter.pbits = filter_code::kDefaultRow;
    set(row);
    row.outerFilter.pbits = filter_code::kDefaultRow;
    set(row);
}

void TaggingTable::set(const TaggingRow& row) {
    erase(row);
    const auto place = rows_.insert(std::upper_bound(rows_.begin(), rows_.end(), row, triedBefore), row);
    place->outerFilter = looked(row.outerFilter);
    place->innerFilter = looked(row.innerFilter);
}

bool TaggingTable::erase(const TaggingRow& row) {
    const auto same =
        std::find_if(rows_.begin(), rows_.end(), [&](const TaggingRow& other) { return other.key() == row.key(); });
    if (same == rows_.end()) return false;
    rows_.erase(same);
    return true;
}

bool TaggingTable::isUntouched() const {
    constexpr std::size_t kRowsFromTheStart = 3;
    return rows_.size() == kRowsFromTheStart &&
           std::all_of(rows_.begin(), rows_.end(), [](const TaggingRow& row) { return !row.bridge; });
}

}  // namespace g988
