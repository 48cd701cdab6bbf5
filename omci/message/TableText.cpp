#include "omci/message/TableText.h"

#include <cstdio>

#include "omci/message/TaggingRow.h"
#include "omci/message/ValueText.h"

namespace omci {

namespace {

std::string numberText(ByteView row, std::size_t at, std::size_t size) {
    return std::to_string(numberOf(row.part(at, size)));
}

// What the control asks for, in front of the row; a row that was read back has none.
std::string controlText(const RowControl& control) {
    std::string row = "row " + std::to_string(control.key);
    if (control.part != 0) row += " part " + std::to_string(control.part);
    if (control.testOnly) row += " (test only)";
    switch (control.action) {
        case RowControl::kWrite:
            return "write " + row + ": ";
        case RowControl::kDelete:
            return "delete " + row;
        case RowControl::kClear:
            return "clear the table";
        default:
            return row + ": ";
    }
}

bool hasNoFields(const RowControl& control) {
    return control.action == RowControl::kDelete || control.action == RowControl::kClear;
}

std::string accessRow(ByteView row) {
    const RowControl control = decodeRowControl(number16(row, 0));
    std::string text = controlText(control);
    if (hasNoFields(control)) return text;
    if (control.part != 0) return text + hexText(row.part(2));
    const std::string vlan = number16(row, 4) == 0 ? "untagged" : "VID " + numberText(row, 4, 2);
    const std::string source = number32(row, 6) == 0 ? "" : " from " + ipv4Text(row.part(6, 4));
    return text + "groups " + ipv4Text(row.part(10, 4)) + " to " + ipv4Text(row.part(14, 4)) + source + ", GEM port " +
           numberText(row, 2, 2) + ", " + vlan + ", " + numberText(row, 18, 4) + " bytes/s";
}

std::string packageRow(ByteView row) {
    const RowControl control = decodeRowControl(number16(row, 0));
    if (hasNoFields(control)) return controlText(control);
    std::string vlan = "VID " + numberText(row, 2, 2);
    switch (number16(row, 2)) {
        case 4096:
            vlan = "untagged";
            break;
        case 4097:
            vlan = "any tag";
            break;
        case 0xFFFF:
            vlan = "any frame";
            break;
        default:
            break;
    }
    return controlText(control) + vlan + ", at most " + numberText(row, 4, 2) + " groups and " + numberText(row, 6, 4) +
           " bytes/s, profile " + hexText(row.part(10, 2));
}

// Not certain: the order of the fields.
std::string previewRow(ByteView row) {
    const RowControl control = decodeRowControl(number16(row, 0));
    return hasNoFields(control) ? controlText(control) : controlText(control) + hexText(row.part(2));
}

std::string multicastRow(ByteView row) {
    const std::string text = "GEM port " + numberText(row, 0, 2) + " key " + numberText(row, 2, 2);
    if (allAre(row.part(4), 0)) return text + ": delete";
    return text + ": " + ipv4Text(row.part(4, 4)) + " to " + ipv4Text(row.part(8, 4));
}

std::string filterRow(ByteView row) {
    const std::uint8_t filter = row[1];
    const std::string index = "entry " + numberText(row, 0, 1) + ": ";
    switch (filter >> 6) {
        case 0:
            return index + "remove";
        case 2:
            return "clear the table";
        default:
            break;
    }
    return index + ((filter & 1U) != 0 ? "filter" : "forward") + ((filter & 2U) != 0 ? " source " : " destination ") +
           macText(row.part(2, 6));
}

std::string bridgeTableRow(ByteView row) {
    const std::uint16_t info = number16(row, 0);
    return macText(row.part(2, 6)) + ((info & 4U) != 0 ? " learned, " : " static, ") +
           ((info & 1U) != 0 ? "filter" : "forward") + ", age " + std::to_string(info >> 4) + " s";
}

std::string taggingRow(ByteView row) {
    const TaggingRow decoded = decodeTaggingRow(row);
    if (!isTaggingDeletion(row)) return textOf(decoded);
    const std::string text = textOf(decoded);
    return "delete " + text.substr(0, text.rfind(": "));
}

std::string groupRow(ByteView row) {
    return "VID " + numberText(row, 0, 2) + " " + ipv4Text(row.part(6, 4)) + " from " + ipv4Text(row.part(2, 4)) +
           " to " + ipv4Text(row.part(14, 4)) + ", " + numberText(row, 10, 4) + " bytes/s, for " +
           numberText(row, 18, 4) + " s";
}

struct RowWords {
    ClassId classId;
    AttributeNumber table;
    std::string (*text)(ByteView row);
};
constexpr RowWords kRowWords[] = {
    {class_id::kBridgePortFilter, attr::bridge_port_filter::kMacFilterTable, filterRow},
    {class_id::kBridgePortTable, attr::bridge_port_table::kBridgeTable, bridgeTableRow},
    {class_id::kExtendedTagging, attr::extended_tagging::kTaggingTable, taggingRow},
    {class_id::kMulticastInterworking, attr::multicast_interworking::kIpv4Table, multicastRow},
    {class_id::kMulticastProfile, attr::multicast_profile::kDynamicAccessTable, accessRow},
    {class_id::kMulticastProfile, attr::multicast_profile::kStaticAccessTable, accessRow},
    {class_id::kMulticastSubscriber, attr::multicast_subscriber::kPackageTable, packageRow},
    {class_id::kMulticastSubscriber, attr::multicast_subscriber::kPreviewTable, previewRow},
    {class_id::kMulticastMonitor, attr::multicast_monitor::kIpv4ActiveGroupListTable, groupRow},
};

}  // namespace

std::string ipv4Text(ByteView address) {
    std::string text;
    for (const std::uint8_t byte : address) text += (text.empty() ? "" : ".") + std::to_string(byte);
    return text;
}

std::string macText(ByteView address) {
    std::string text;
    for (std::size_t at = 0; at < address.size(); ++at) text += (at > 0 ? ":" : "") + hexText(address.part(at, 1));
    return text;
}

std::string tciText(std::uint16_t tci) {
    std::string text = "VID " + std::to_string(tci & 0xFFFU) + " p-bits " + std::to_string(tci >> 13);
    return (tci & 0x1000U) != 0 ? text + " DEI 1" : text;
}

RowControl decodeRowControl(std::uint16_t control) {
    RowControl decoded;
    decoded.action = static_cast<RowControl::Action>(control >> 14);
    decoded.part = static_cast<std::uint8_t>(control >> 11 & 7U);
    decoded.testOnly = (control & 0x400U) != 0;
    decoded.key = control & 0x3FFU;
    return decoded;
}

std::string rowText(ClassId classId, AttributeNumber table, ByteView row) {
    const ClassInfo* info = findClass(classId);
    const AttributeInfo* attribute = info != nullptr ? info->attribute(table) : nullptr;
    for (const RowWords& words : kRowWords) {
        const bool whole = attribute != nullptr && row.size() == attribute->size;
        if (words.classId == classId && words.table == table && whole) return words.text(row);
    }
    return hexText(row);
}

}  // namespace omci
