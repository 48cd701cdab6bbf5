#include "omci/message/ValueText.h"

#include <algorithm>
#include <cstdio>

#include "omci/message/TableText.h"

namespace omci {

namespace {

constexpr char kDigits[] = "0123456789abcdef";
constexpr char kUpperDigits[] = "0123456789ABCDEF";

std::string hexOf(ByteView value) {
    return hexNumber(numberOf(value), std::min<std::size_t>(value.size(), 8) * 2);
}

std::int64_t signedOf(ByteView value) {
    std::int64_t number = static_cast<std::int64_t>(numberOf(value));
    const std::size_t bits = value.size() * 8;
    if (bits > 0 && bits < 64 && (value[0] & 0x80U) != 0) number -= std::int64_t{1} << bits;
    return number;
}

std::string levelText(std::int64_t level) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f dBm", static_cast<double>(level) * 0.002);
    return text;
}

std::string quoted(ByteView value) {
    std::string text = "\"";
    const std::uint8_t* end = std::find(value.begin(), value.end(), 0);
    while (end != value.begin() && end[-1] == ' ') --end;
    for (const std::uint8_t* at = value.begin(); at != end; ++at) {
        if (*at == '"' || *at == '\\') text += '\\';
        text += *at >= 0x20 && *at < 0x7F ? std::string(1, static_cast<char>(*at)) : "\\x" + hexText({at, 1});
    }
    return text + '"';
}

std::string serialText(ByteView value) {
    const ByteView vendor = value.part(0, 4);
    const bool letters =
        std::all_of(vendor.begin(), vendor.end(), [](std::uint8_t byte) { return byte > 0x20 && byte < 0x7F; });
    return letters ? std::string(vendor.begin(), vendor.end()) + hexText(value.part(4)) : hexText(value);
}

std::string tciList(ByteView value) {
    // What is behind the last entry is zero as a rule; how many count, another attribute says.
    std::size_t count = value.size() / 2;
    while (count > 0 && number16(value, count * 2 - 2) == 0) --count;
    std::string text;
    for (std::size_t at = 0; at < count; ++at) text += (at > 0 ? ", " : "") + tciText(number16(value, at * 2));
    return count > 0 ? text : "none";
}

std::string dscpText(ByteView value) {
    // In eighths of the 64 codes, where each of them has one priority.
    std::string text;
    for (std::size_t group = 0; group < 8; ++group) {
        const std::uint64_t bits = numberOf(value.part(group * 3, 3));
        const unsigned first = static_cast<unsigned>(bits >> 21 & 7U);
        for (unsigned code = 0; code < 8; ++code) {
            if ((bits >> (21 - 3 * code) & 7U) != first) return hexText(value);
        }
        text += (group > 0 ? " " : "") + std::to_string(first);
    }
    return "by eights " + text;
}

std::string tableText(ClassId classId, const AttributeInfo& attribute, ByteView value) {
    const std::size_t size = attribute.size;
    if (size == 0 || value.size() < size) return hexText(value);
    std::string text;
    std::size_t at = 0;
    for (; at + size <= value.size(); at += size) {
        text += (at > 0 ? "; " : "") + rowText(classId, attribute.number, value.part(at, size));
    }
    return at < value.size() ? text + "; " + hexText(value.part(at)) : text;
}

}  // namespace

std::string hexText(ByteView bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xFU];
    }
    return text;
}

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

std::string hexNumber(std::uint64_t number, std::size_t digits) {
    std::string text = "0x";
    for (std::size_t at = digits; at > 0; --at) text += kUpperDigits[number >> (at - 1) * 4 & 0xFU];
    return text;
}

std::string entityText(EntityKey entity) {
    return nameOfClass(entity.classId) + " " + hexNumber(entity.instance, 4);
}

std::string attributeNames(ClassId classId, AttributeMask mask) {
    const ClassInfo* info = findClass(classId);
    std::string names;
    for (AttributeNumber number = 1; number <= kMaxAttributes; ++number) {
        if ((mask & maskOf(number)) == 0) continue;
        const AttributeInfo* attribute = info != nullptr ? info->attribute(number) : nullptr;
        names += names.empty() ? "" : ", ";
        names += attribute != nullptr ? attribute->name : "attribute " + std::to_string(number);
    }
    return names;
}

std::string valueText(ClassId classId, const AttributeInfo& attribute, ByteView value) {
    if (attribute.isTable()) return tableText(classId, attribute, value);
    if (value.size() < attribute.size) return hexText(value);
    switch (attribute.format) {
        case kUnsigned:
            return std::to_string(numberOf(value));
        case kSigned:
            return std::to_string(signedOf(value));
        case kHex:
        case kBitField:
            return hexOf(value);
        case kEnumeration: {
            const char* word = attribute.wordOf(static_cast<std::uint32_t>(numberOf(value)));
            return word != nullptr ? word : std::to_string(numberOf(value)) + " (no meaning)";
        }
        case kPointer:
            return numberOf(value) == kNullPointer ? "none" : hexOf(value);
        case kText:
            return quoted(value);
        case kSerialNumber:
            return serialText(value);
        case kIpv4:
            return ipv4Text(value);
        case kMac:
            return macText(value);
        case kTci:
            return tciText(number16(value, 0));
        case kTciList:
            return tciList(value);
        case kDscpMap:
            return dscpText(value);
        case kOpticalLevel:
            return levelText(signedOf(value));
        case kOctets:
        case kTable:
            break;
    }
    return hexText(value);
}

SplitValues splitValues(const ClassInfo& info, AttributeMask mask, ByteView values, Tables tables) {
    SplitValues split;
    split.unknown = static_cast<AttributeMask>(mask & ~info.all());
    std::size_t at = 0;
    for (const AttributeInfo& attribute : info.attributes()) {
        if ((mask & maskOf(attribute.number)) == 0) continue;
        const std::size_t size = attribute.isTable() && tables == Tables::kSizes ? 4 : attribute.size;
        const bool alone = mask == maskOf(attribute.number);
        const bool allRows = attribute.isTable() && tables == Tables::kRows && alone;
        const ByteView value = values.part(at, allRows ? values.size() : size);
        split.tooShort = split.tooShort || value.size() < size;
        split.values.push_back({&attribute, value});
        at += value.size();
    }
    return split;
}

}  // namespace omci
