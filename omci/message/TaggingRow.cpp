#include "omci/message/TaggingRow.h"

namespace omci {

namespace {

// The four words' bits that mean something.
constexpr std::uint32_t kMeant[] = {0xFFFFF000, 0xFFFFFFFF, 0xC00FFFFF, 0x000FFFFF};

std::uint32_t word(ByteView row, std::size_t index) {
    return number32(row, index * 4);
}

TagFilter filterOf(std::uint32_t bits) {
    return {static_cast<std::uint8_t>(bits >> 28), static_cast<std::uint16_t>(bits >> 15 & 0x1FFFU),
            static_cast<std::uint8_t>(bits >> 12 & 7U)};
}

TagTreatment treatmentOf(std::uint32_t bits) {
    return {static_cast<std::uint8_t>(bits >> 16 & 0xFU), static_cast<std::uint16_t>(bits >> 3 & 0x1FFFU),
            static_cast<std::uint8_t>(bits & 7U)};
}

std::uint32_t bitsOf(const TagFilter& filter) {
    return std::uint32_t{filter.priority} << 28 | (filter.vid & 0x1FFFU) << 15 | (filter.tpid & 7U) << 12;
}

std::uint32_t bitsOf(const TagTreatment& tag) {
    return (tag.priority & 0xFU) << 16 | (tag.vid & 0x1FFFU) << 3 | (tag.tpid & 7U);
}

bool isValid(const TagFilter& filter) {
    if (filter.priority == TagFilter::kNoTag) return true;  // the rest is not looked at
    const bool priority = filter.priority <= TagFilter::kAnyPriority || filter.priority == TagFilter::kDefaultRule;
    const bool vid = filter.vid <= 4094 || filter.vid == TagFilter::kAnyVid;
    return priority && vid && (filter.tpid == TagFilter::kAnyTpid || filter.tpid >= TagFilter::k8100);
}

bool isValid(const TagTreatment& tag) {
    if (!tag.adds()) return true;
    const bool vid =
        tag.vid <= 4094 || tag.vid == TagTreatment::kVidFromInner || tag.vid == TagTreatment::kVidFromOuter;
    return tag.priority <= TagTreatment::kFromDscp && vid && tag.tpid != 5;
}

// ---- Words ----

std::string textOf(const TagFilter& filter) {
    std::string text;
    if (filter.vid != TagFilter::kAnyVid) text += " VID " + std::to_string(filter.vid);
    if (filter.priority <= 7) text += " p-bits " + std::to_string(filter.priority);
    switch (filter.tpid) {
        case TagFilter::kAnyTpid:
            break;
        case TagFilter::k8100:
            text += " TPID 0x8100";
            break;
        case TagFilter::kInputDei0:
            text += " input TPID with DEI 0";
            break;
        case TagFilter::kInputDei1:
            text += " input TPID with DEI 1";
            break;
        default:
            text += " input TPID";
            break;
    }
    return text.empty() ? " any" : text;
}

std::string textOf(const TagTreatment& tag) {
    static constexpr const char* kTpids[] = {
        "the inner tag's TPID", "the outer tag's TPID", "output TPID (inner DEI)", "output TPID (outer DEI)", "0x8100",
        "a reserved TPID",      "output TPID",          "output TPID with DEI 1"};
    std::string text = kTpids[tag.tpid];
    if (tag.vid == TagTreatment::kVidFromInner) {
        text += " inner VID";
    } else if (tag.vid == TagTreatment::kVidFromOuter) {
        text += " outer VID";
    } else {
        text += " VID " + std::to_string(tag.vid);
    }
    switch (tag.priority) {
        case TagTreatment::kCopyInner:
            return text + " inner p-bits";
        case TagTreatment::kCopyOuter:
            return text + " outer p-bits";
        case TagTreatment::kFromDscp:
            return text + " p-bits from DSCP";
        default:
            return text + " p-bits " + std::to_string(tag.priority);
    }
}

std::string filterText(const TaggingRow& row) {
    static constexpr const char* kEthertypes[] = {"", " IPv4", " PPPoE", " ARP", " IPv6", " EAPOL"};
    std::string text;
    switch (row.kind()) {
        case TaggingKind::kUntagged:
            text = "untagged";
            break;
        case TaggingKind::kSingleTagged:
            text = row.isDefault() ? "one tag" : "one tag," + textOf(row.inner);
            break;
        case TaggingKind::kDoubleTagged:
            text = row.isDefault() ? "two tags" : "two tags, outer" + textOf(row.outer) + ", inner" + textOf(row.inner);
            break;
    }
    text += row.ethertype < 6 ? kEthertypes[row.ethertype] : " reserved ethertype";
    if (row.extendedCriteria == 1) text += " DHCPv4";
    if (row.extendedCriteria == 2) text += " DHCPv6";
    return row.isDefault() ? text + " (default)" : text;
}

}  // namespace

TaggingKind TaggingRow::kind() const {
    if (outer.priority != TagFilter::kNoTag) return TaggingKind::kDoubleTagged;
    return inner.priority != TagFilter::kNoTag ? TaggingKind::kSingleTagged : TaggingKind::kUntagged;
}

bool TaggingRow::isDefault() const {
    switch (kind()) {
        case TaggingKind::kUntagged:
            return ethertype == 0 && extendedCriteria == 0;
        case TaggingKind::kSingleTagged:
            return inner.priority == TagFilter::kDefaultRule;
        default:
            return outer.priority == TagFilter::kDefaultRule;
    }
}

TaggingRow decodeTaggingRow(ByteView row) {
    TaggingRow decoded;
    const std::uint32_t inner = word(row, 1);
    const std::uint32_t treatment = word(row, 2);
    decoded.outer = filterOf(word(row, 0));
    decoded.inner = filterOf(inner);
    decoded.extendedCriteria = static_cast<std::uint8_t>(inner >> 4 & 0xFFU);
    decoded.ethertype = static_cast<std::uint8_t>(inner & 0xFU);
    decoded.tagsToRemove = static_cast<std::uint8_t>(treatment >> 30);
    decoded.outerTag = treatmentOf(treatment);
    decoded.innerTag = treatmentOf(word(row, 3));
    return decoded;
}

Bytes encodeTaggingRow(const TaggingRow& row) {
    Bytes bytes;
    appendNumber(bytes, bitsOf(row.outer), 4);
    appendNumber(bytes, bitsOf(row.inner) | std::uint32_t{row.extendedCriteria} << 4 | (row.ethertype & 0xFU), 4);
    appendNumber(bytes, std::uint32_t{row.tagsToRemove} << 30 | bitsOf(row.outerTag), 4);
    appendNumber(bytes, bitsOf(row.innerTag), 4);
    return bytes;
}

Bytes withoutPadding(ByteView row) {
    Bytes bytes;
    for (std::size_t at = 0; at < 4; ++at) appendNumber(bytes, word(row, at) & kMeant[at], 4);
    return bytes;
}

bool isTaggingDeletion(ByteView row) {
    return allAre(row.part(kTaggingKeySize), 0xFF);
}

bool isValid(const TaggingRow& row) {
    return isValid(row.outer) && isValid(row.inner) && row.extendedCriteria <= 2 && row.ethertype <= 5 &&
           isValid(row.outerTag) && isValid(row.innerTag);
}

std::vector<Bytes> defaultTaggingRows() {
    std::vector<Bytes> rows;
    for (const auto& [outer, inner] :
         {std::pair{TagFilter::kDefaultRule, TagFilter::kDefaultRule},
          std::pair{TagFilter::kNoTag, TagFilter::kDefaultRule}, std::pair{TagFilter::kNoTag, TagFilter::kNoTag}}) {
        TaggingRow row;
        row.outer.priority = outer;
        row.inner.priority = inner;
        rows.push_back(encodeTaggingRow(row));
    }
    return rows;
}

std::string textOf(const TaggingRow& row) {
    std::string text = filterText(row) + ": ";
    if (row.tagsToRemove == TaggingRow::kDiscard) return text + "drop";
    if (row.tagsToRemove == 1) text += "take 1 tag off";
    if (row.tagsToRemove == 2) text += "take 2 tags off";
    const bool removes = row.tagsToRemove != 0;
    if (row.outerTag.adds()) text += std::string(removes ? ", add " : "add ") + textOf(row.outerTag) + " above";
    if (row.innerTag.adds())
        text += std::string(removes || row.outerTag.adds() ? ", add " : "add ") + textOf(row.innerTag);
    return removes || row.outerTag.adds() || row.innerTag.adds() ? text : text + "pass";
}

}  // namespace omci
