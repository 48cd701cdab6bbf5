#include "omci/agent/MulticastGroups.h"

#include <algorithm>
#include <array>
#include <utility>

#include "omci/message/Numbers.h"

namespace omci {

namespace {

// A stream that pauses for longer is lost; how long, the standard leaves to the ONU.
constexpr std::uint32_t kLostAfterS = 10;
constexpr std::uint16_t kRowPart = 0x7000;  // of a row's control; part 0 has the addresses of IPv4

void appendAddress(Bytes& row, std::uint32_t address) {
    appendNumber(row, address, 4);
}

void appendAddress(Bytes& row, const std::array<std::uint8_t, 16>& address) {
    row.insert(row.end(), address.begin(), address.end());
}

template <typename Address>
Bytes activeGroupRow(const JoinedGroup<Address>& one) {
    Bytes row;
    appendNumber(row, one.vlan, 2);
    appendAddress(row, one.source);
    appendAddress(row, one.group);
    appendNumber(row, one.bytesPerSecond, 4);
    appendAddress(row, one.client);
    appendNumber(row, one.secondsSinceJoin, 4);
    return row;
}

bool names(ByteView accessRow, std::uint32_t group) {
    return (number16(accessRow, 0) & kRowPart) == 0 && number32(accessRow, access_row::kFirstGroup) <= group &&
           group <= number32(accessRow, access_row::kLastGroup);
}

}  // namespace

TableRows activeGroupRows(const std::vector<JoinedGroupIpv4>& groups) {
    TableRows rows;
    for (const auto& one : groups) {
        rows.push_back(activeGroupRow(one));
        appendNumber(rows.back(), 0, 2);
    }
    return rows;
}

TableRows activeGroupRows(const std::vector<JoinedGroupIpv6>& groups) {
    TableRows rows;
    for (const auto& one : groups) rows.push_back(activeGroupRow(one));
    return rows;
}

void addLostGroups(const TableRows& dynamicList, const std::vector<JoinedGroupIpv4>& joined, TableRows& lost) {
    for (const auto& one : joined) {
        if (one.secondsSilent.value_or(0) < kLostAfterS) continue;
        const auto named = std::find_if(dynamicList.begin(), dynamicList.end(),
                                        [&](const Bytes& row) { return names(row, one.group); });
        if (named == dynamicList.end()) continue;
        Bytes row;
        appendNumber(row, number16(*named, access_row::kVlan), 2);
        appendAddress(row, one.source);
        appendAddress(row, one.group);
        if (std::find(lost.begin(), lost.end(), row) == lost.end()) lost.push_back(std::move(row));
    }
}

}  // namespace omci
