#include "omci/mib/TableRows.h"

#include <algorithm>

#include "omci/message/TableText.h"
#include "omci/message/TaggingRow.h"

namespace omci {

namespace {

// The row with the same first keySize bytes.
TableRows::iterator findKey(TableRows& rows, ByteView row, std::size_t keySize) {
    return std::find_if(rows.begin(), rows.end(),
                        [&](const Bytes& other) { return ByteView(other).part(0, keySize) == row.part(0, keySize); });
}

Result erase(TableRows& rows, ByteView row, std::size_t keySize) {
    const auto found = findKey(rows, row, keySize);
    if (found != rows.end()) rows.erase(found);
    return Result::kSuccess;
}

template <class IsRow>
Result eraseWhere(TableRows& rows, IsRow isRow) {
    rows.erase(std::remove_if(rows.begin(), rows.end(), isRow), rows.end());
    return Result::kSuccess;
}

Result clear(TableRows& rows) {
    rows.clear();
    return Result::kSuccess;
}

// Replaces the row with the same key or adds this one, and keeps the order that before() says.
template <class Before>
Result put(TableRows& rows, Bytes row, std::size_t keySize, std::size_t maxRows, Before before) {
    const auto found = findKey(rows, row, keySize);
    if (found != rows.end()) {
        *found = std::move(row);
        return Result::kSuccess;
    }
    if (rows.size() >= maxRows) return Result::kParameterError;
    const auto place = std::upper_bound(rows.begin(), rows.end(), row, before);
    rows.insert(place, std::move(row));
    return Result::kSuccess;
}

bool bytesBefore(const Bytes& one, const Bytes& other) {
    return one < other;
}

// Rules by the first eight bytes as a number, default rules behind the others.
bool taggingBefore(const Bytes& one, const Bytes& other) {
    const bool oneLast = decodeTaggingRow(one).isDefault();
    const bool otherLast = decodeTaggingRow(other).isDefault();
    if (oneLast != otherLast) return otherLast;
    return std::lexicographical_compare(one.begin(), one.begin() + kTaggingKeySize, other.begin(),
                                        other.begin() + kTaggingKeySize);
}

Result applyTaggingRow(TableRows& rows, ByteView row, std::size_t maxRows) {
    const Bytes meant = withoutPadding(row);
    if (isTaggingDeletion(row)) return erase(rows, meant, kTaggingKeySize);
    if (!isValid(decodeTaggingRow(meant))) return Result::kParameterError;
    return put(rows, meant, kTaggingKeySize, maxRows, taggingBefore);
}

// The multicast tables: the control says what to do; rows are kept with its action cleared, as they are read back.
Result applyControlledRow(TableRows& rows, ByteView row, std::size_t maxRows, std::uint8_t parts) {
    constexpr std::size_t kControlSize = 2;
    constexpr std::uint16_t kActionBits = 0xC000;
    const std::uint16_t bits = number16(row, 0);
    const RowControl control = decodeRowControl(bits);
    if (control.action == RowControl::kReserved) return Result::kParameterError;
    if (control.action == RowControl::kClear) return clear(rows);
    if (control.action == RowControl::kDelete)
        return eraseWhere(rows,
                          [&](const Bytes& other) { return decodeRowControl(number16(other, 0)).key == control.key; });
    if (control.part >= parts) return Result::kParameterError;
    if (control.testOnly) return Result::kSuccess;
    Bytes kept;
    appendNumber(kept, static_cast<std::uint16_t>(bits & ~kActionBits), kControlSize);
    kept.insert(kept.end(), row.begin() + kControlSize, row.end());
    // By key, then by part: the order of a search for a group.
    const auto before = [](const Bytes& one, const Bytes& other) {
        const RowControl first = decodeRowControl(number16(one, 0));
        const RowControl second = decodeRowControl(number16(other, 0));
        return first.key != second.key ? first.key < second.key : first.part < second.part;
    };
    return put(rows, kept, kControlSize, maxRows, before);
}

// The bridge port's filter: bits 8 and 7 of the filter byte.
Result applyFilterRow(TableRows& rows, ByteView row, std::size_t maxRows) {
    constexpr std::uint8_t kActionBits = 0xC0;
    switch (row[1] >> 6) {
        case 0:
            return erase(rows, row, 1);
        case 1:
            break;
        case 2:
            return clear(rows);
        default:
            return Result::kParameterError;
    }
    Bytes kept = row.copy();
    kept[1] = static_cast<std::uint8_t>(kept[1] & ~kActionBits);
    return put(rows, kept, 1, maxRows, bytesBefore);
}

// A row whose fields behind the key are all zero is a deletion.
Result applyKeyedRow(TableRows& rows, ByteView row, std::size_t maxRows, std::size_t keySize) {
    if (!allAre(row.part(keySize), 0)) return put(rows, row.copy(), keySize, maxRows, bytesBefore);
    return erase(rows, row, keySize);
}

// Not certain: the layout of the row. The first bits are taken for action (1 write, 2 delete, 3 clear) and direction,
// the next 16 for the key.
Result applyEnhancedRow(TableRows& rows, ByteView row, std::size_t maxRows) {
    constexpr std::uint32_t kKeyBits = 0x0FFFF000;
    const std::uint32_t key = number32(row, 0) & kKeyBits;
    const auto isRow = [&](const Bytes& other) { return (number32(other, 0) & kKeyBits) == key; };
    Bytes kept = row.copy();
    kept[0] = static_cast<std::uint8_t>(kept[0] & 0x3FU);
    switch (row[0] >> 6) {
        case 1:
            break;
        case 2:
            return eraseWhere(rows, isRow);
        case 3:
            return clear(rows);
        default:
            return Result::kParameterError;
    }
    const auto found = std::find_if(rows.begin(), rows.end(), isRow);
    if (found != rows.end()) {
        *found = std::move(kept);
    } else if (rows.size() >= maxRows) {
        return Result::kParameterError;
    } else {
        rows.push_back(std::move(kept));
    }
    return Result::kSuccess;
}

}  // namespace

Result applyRow(ClassId classId, AttributeNumber table, std::size_t maxRows, ByteView row, TableRows& rows) {
    switch (classId) {
        case class_id::kExtendedTagging:
            return table == attr::extended_tagging::kTaggingTable ? applyTaggingRow(rows, row, maxRows)
                                                                  : applyEnhancedRow(rows, row, maxRows);
        case class_id::kMulticastProfile:
            return applyControlledRow(rows, row, maxRows, 3);
        case class_id::kMulticastSubscriber:
            return applyControlledRow(rows, row, maxRows, table == attr::multicast_subscriber::kPackageTable ? 1 : 2);
        case class_id::kBridgePortFilter:
            return applyFilterRow(rows, row, maxRows);
        case class_id::kMulticastInterworking:
            return applyKeyedRow(rows, row, maxRows, 4);
        default:
            return Result::kParameterError;
    }
}

Bytes joined(const TableRows& rows) {
    Bytes all;
    for (const Bytes& row : rows) all.insert(all.end(), row.begin(), row.end());
    return all;
}

}  // namespace omci
