#include "omci/mib/Entity.h"

#include <algorithm>
#include <utility>

namespace omci {

namespace {

// Place of a table among the tables of its class.
std::size_t tableIndex(const ClassInfo& info, AttributeNumber table) {
    std::size_t index = 0;
    for (AttributeNumber number = 1; number < table; ++number) index += (info.tables() & maskOf(number)) != 0 ? 1 : 0;
    return index;
}

Bytes defaultOf(const AttributeInfo& attribute) {
    Bytes value(attribute.size, 0);
    if (attribute.format != kText) {
        const std::size_t digits = std::min<std::size_t>(value.size(), 4);
        putNumber(value.data() + value.size() - digits, attribute.defaultValue, digits);
    } else if (attribute.defaultValue == ' ') {
        std::fill(value.begin(), value.end(), static_cast<std::uint8_t>(' '));
    } else if (!value.empty()) {
        value[0] = static_cast<std::uint8_t>(attribute.defaultValue);
    }
    return value;
}

}  // namespace

Entity::Entity(const ClassInfo& info, InstanceId instance, Maker maker)
    : info_(&info), instance_(instance), maker_(maker), implemented_(info.all()), values_(info.size(), 0) {
    for (const AttributeInfo& attribute : info.attributes()) {
        if (attribute.isTable())
            tables_.emplace_back();
        else
            setBytes(attribute.number, defaultOf(attribute));
    }
}

ByteView Entity::bytes(AttributeNumber attribute) const {
    const AttributeInfo* row = info_->attribute(attribute);
    if (row == nullptr || row->isTable()) return {};
    return ByteView(values_).part(info_->offset(attribute), row->size);
}

std::string Entity::text(AttributeNumber attribute) const {
    const ByteView padded = bytes(attribute);
    std::string text(padded.begin(), std::find(padded.begin(), padded.end(), 0));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

const TableRows& Entity::rows(AttributeNumber table) const {
    static const TableRows none;
    const AttributeInfo* row = info_->attribute(table);
    return row != nullptr && row->isTable() ? tables_[tableIndex(*info_, table)] : none;
}

bool Entity::setNumber(AttributeNumber attribute, std::uint64_t value) {
    const std::size_t size = bytes(attribute).size();
    std::uint8_t number[sizeof value] = {};
    const std::size_t count = std::min(size, sizeof number);
    putNumber(number, value, count);
    if (size <= sizeof number) return setBytes(attribute, {number, count});
    Bytes wide(size, 0);
    std::copy(number, number + count, wide.end() - static_cast<std::ptrdiff_t>(count));
    return setBytes(attribute, wide);
}

bool Entity::setBytes(AttributeNumber attribute, ByteView value) {
    const AttributeInfo* row = info_->attribute(attribute);
    if (row == nullptr || row->isTable()) return false;
    bool changed = false;
    std::uint8_t* to = values_.data() + info_->offset(attribute);
    for (std::size_t at = 0; at < row->size; ++at) {
        const std::uint8_t byte = at < value.size() ? value[at] : std::uint8_t{0};
        changed = changed || to[at] != byte;
        to[at] = byte;
    }
    return changed;
}

bool Entity::setText(AttributeNumber attribute, const std::string& text) {
    return setBytes(attribute, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

bool Entity::setRows(AttributeNumber table, TableRows rows) {
    const AttributeInfo* row = info_->attribute(table);
    if (row == nullptr || !row->isTable()) return false;
    TableRows& held = tables_[tableIndex(*info_, table)];
    if (held == rows) return false;
    held = std::move(rows);
    return true;
}

}  // namespace omci
