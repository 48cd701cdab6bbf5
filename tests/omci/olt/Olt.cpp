#include "omci/olt/Olt.h"

#include <algorithm>

#include "omci/message/TaggingRow.h"
#include "omci/message/ValueText.h"

namespace olt {

namespace {

using omci::AttributeInfo;
using omci::ClassInfo;
using omci::Content;
using omci::hexText;
using omci::MessageType;
using omci::Result;
namespace class_id = omci::class_id;

std::string nameOf(EntityKey key) {
    return omci::nameOfClass(key.classId) + " " + std::to_string(key.instance);
}

// Values one behind the other, by attributes.
Bytes valuesOf(const ClassInfo& info, omci::AttributeMask mask, const std::map<AttributeNumber, Bytes>& values) {
    Bytes bytes;
    for (const AttributeInfo& attribute : info.attributes()) {
        if ((mask & omci::maskOf(attribute.number)) == 0) continue;
        const auto found = values.find(attribute.number);
        if (found == values.end()) {
            bytes.insert(bytes.end(), attribute.size, 0);
        } else {
            bytes.insert(bytes.end(), found->second.begin(), found->second.end());
        }
    }
    return bytes;
}

// Made by the ONU together with what the OLT makes.
bool isCompanion(omci::ClassId classId) {
    return classId == class_id::kBridgeData ||
           (classId >= class_id::kBridgePortDesignation && classId <= class_id::kBridgePortTable) ||
           classId == class_id::kBridgePortPreassign;
}

}  // namespace

omci::Message Olt::message(MessageType type, EntityKey entity) {
    omci::Message message;
    if (++transaction_ >= omci::kPriorityBit) transaction_ = 1;
    message.transaction = transaction_;
    message.type = type;
    message.answerWanted = true;
    message.set = set_;
    message.entity = entity;
    return message;
}

template <class Answer>
std::optional<Answer> Olt::ask(omci::Message request, const Content& content) {
    omci::encodeContent(request, content);
    const auto answer = line_.exchange(request);
    if (!answer || !answer->isAnswer || answer->transaction != request.transaction) return std::nullopt;
    auto decoded = omci::decodeContent(*answer);
    const auto* found = std::get_if<Answer>(&decoded.content);
    if (decoded.error != omci::ContentError::kNone || found == nullptr) return std::nullopt;
    return *found;
}

template <class Answer>
Result Olt::resultOf(omci::Message request, const Content& content) {
    const auto answer = ask<Answer>(std::move(request), content);
    return answer ? answer->result : Result::kProcessingError;
}

Result Olt::send(const Request& request) {
    const ClassInfo& info = *omci::findClass(request.entity.classId);
    std::map<AttributeNumber, Bytes> values;
    omci::AttributeMask mask = 0;
    for (const Value& value : request.values) {
        values[value.attribute] = value.bytes;
        mask = static_cast<omci::AttributeMask>(mask | omci::maskOf(value.attribute));
    }
    Result result{};
    if (request.kind == Request::kCreate) {
        result = resultOf<omci::CreateAnswer>(message(MessageType::kCreate, request.entity),
                                              omci::CreateValues{valuesOf(info, info.setByCreate(), values)});
    } else if (request.kind == Request::kDelete) {
        result = resultOf<omci::ResultAnswer>(message(MessageType::kDelete, request.entity), omci::NoContent{});
    } else {
        result = resultOf<omci::SetAnswer>(message(MessageType::kSet, request.entity),
                                           omci::AttributeValues{mask, valuesOf(info, mask, values)});
    }
    if (result == Result::kSuccess) remember(request);
    return result;
}

std::string Olt::send(const Requests& requests) {
    std::string wrong;
    for (const Request& request : requests) {
        const Result result = send(request);
        if (result != Result::kSuccess) wrong += nameOf(request.entity) + ": " + omci::nameOf(result) + "\n";
    }
    return wrong;
}

Result Olt::mibReset() {
    const auto answer =
        ask<omci::ResultAnswer>(message(MessageType::kMibReset, {class_id::kOnuData, 0}), omci::NoContent{});
    if (!answer) return Result::kProcessingError;
    expected_.clear();
    sync_ = 0;
    return answer->result;
}

void Olt::remember(const Request& request) {
    sync_ = sync_ == 255 ? 1 : sync_ + 1;
    if (request.kind == Request::kDelete) {
        expected_.erase(request.entity);
        return;
    }
    const ClassInfo& info = *omci::findClass(request.entity.classId);
    auto& values = expected_[request.entity];
    if (request.kind == Request::kCreate) {
        for (const AttributeInfo& attribute : info.attributes()) {
            if (attribute.setByCreate()) values[attribute.number] = Bytes(attribute.size, 0);
        }
    }
    for (const Value& value : request.values) {
        if (info.attribute(value.attribute)->isTable()) {
            rememberRow(values, request, value);
        } else {
            values[value.attribute] = value.bytes;
        }
    }
}

// Rows are compared as a set: each with its key, the last one counts.
void Olt::rememberRow(std::map<AttributeNumber, Bytes>& values, const Request& request, const Value& value) {
    const bool tagging = request.entity.classId == class_id::kExtendedTagging;
    const std::size_t size = value.bytes.size();
    const std::size_t key = tagging ? omci::kTaggingKeySize : 4;
    Bytes row = value.bytes;
    // The control of the multicast tables is read back without what it asked for.
    if (request.entity.classId == class_id::kMulticastProfile ||
        request.entity.classId == class_id::kMulticastSubscriber)
        row[0] &= 0x3FU;
    Bytes& rows = values[value.attribute];
    for (std::size_t at = 0; at + size <= rows.size(); at += size) {
        if (!std::equal(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(key),
                        rows.begin() + static_cast<std::ptrdiff_t>(at)))
            continue;
        const auto old = rows.begin() + static_cast<std::ptrdiff_t>(at);
        rows.erase(old, old + static_cast<std::ptrdiff_t>(size));
        break;
    }
    const bool removes = tagging && omci::isTaggingDeletion(row);
    if (!removes) rows.insert(rows.end(), row.begin(), row.end());
}

std::optional<unsigned> Olt::dataSync() {
    const auto bytes = read({class_id::kOnuData, 0}, omci::attr::onu_data::kMibDataSync);
    if (!bytes || bytes->size() != 1) return std::nullopt;
    return bytes->front();
}

Requests Olt::removal() const {
    Requests requests;
    for (const auto& [entity, values] : expected_) {
        if (omci::findClass(entity.classId)->maker() != omci::Maker::kOnu) requests.push_back(erase(entity));
    }
    return requests;
}

// ---- Reading back ----

std::map<EntityKey, std::map<AttributeNumber, Bytes>> Olt::upload() {
    std::map<EntityKey, std::map<AttributeNumber, Bytes>> read;
    const EntityKey onuData{class_id::kOnuData, 0};
    const auto parts = ask<omci::CommandNumber>(message(MessageType::kMibUpload, onuData), omci::NoContent{});
    for (std::uint16_t part = 0; parts && part < parts->number; ++part) {
        const auto entries =
            ask<omci::UploadEntries>(message(MessageType::kMibUploadNext, onuData), omci::CommandNumber{part});
        if (!entries) continue;
        for (const auto& entry : entries->entries) {
            const ClassInfo* info = omci::findClass(entry.entity.classId);
            auto& values = read[entry.entity];
            std::size_t at = 0;
            for (const AttributeInfo& attribute : info->attributes()) {
                if ((entry.mask & omci::maskOf(attribute.number)) == 0) continue;
                values[attribute.number] = omci::ByteView(entry.values).part(at, attribute.size).copy();
                at += attribute.size;
            }
        }
    }
    return read;
}

std::optional<Bytes> Olt::read(EntityKey entity, AttributeNumber attribute) {
    const auto answer =
        ask<omci::GetAnswer>(message(MessageType::kGet, entity), omci::AttributesAsked{omci::maskOf(attribute)});
    if (!answer || answer->result != Result::kSuccess) return std::nullopt;
    const std::size_t size = omci::findClass(entity.classId)->attribute(attribute)->size;
    const bool table = omci::findClass(entity.classId)->attribute(attribute)->isTable();
    return omci::ByteView(answer->values).part(0, table ? 4 : size).copy();
}

std::optional<Bytes> Olt::readTable(EntityKey entity, AttributeNumber attribute) {
    const auto length = read(entity, attribute);
    if (!length) return std::nullopt;
    const std::size_t size = omci::number32(*length, 0);
    Bytes rows;
    for (std::uint16_t part = 0; rows.size() < size; ++part) {
        const auto answer = ask<omci::TablePartAnswer>(message(MessageType::kGetNext, entity),
                                                       omci::TablePartAsked{omci::maskOf(attribute), part});
        if (!answer || answer->result != Result::kSuccess || answer->part.empty()) return std::nullopt;
        rows.insert(rows.end(), answer->part.begin(), answer->part.end());
    }
    rows.resize(size);
    return rows;
}

std::vector<std::string> Olt::differences() {
    std::vector<std::string> lines;
    const auto uploaded = upload();
    for (const auto& [entity, values] : expected_) {
        const ClassInfo& info = *omci::findClass(entity.classId);
        const auto found = uploaded.find(entity);
        if (found == uploaded.end()) {
            lines.push_back(nameOf(entity) + " is missing");
            continue;
        }
        for (const auto& [number, expected] : values) {
            const AttributeInfo& attribute = *info.attribute(number);
            const std::string name = nameOf(entity) + ", " + attribute.name;
            if (attribute.isTable()) {
                // The rows in any order, among those that the ONU has made by itself.
                const auto rows = readTable(entity, number);
                for (std::size_t at = 0; rows && at < expected.size(); at += attribute.size) {
                    bool exists = false;
                    for (std::size_t other = 0; other < rows->size(); other += attribute.size)
                        exists |= omci::ByteView(*rows).part(other, attribute.size) ==
                                  omci::ByteView(expected).part(at, attribute.size);
                    if (!exists)
                        lines.push_back(name + ": no row " +
                                        hexText(omci::ByteView(expected).part(at, attribute.size)));
                }
                if (!rows) lines.push_back(name + " cannot be read");
                continue;
            }
            const auto same = found->second.find(number);
            if (same != found->second.end() && same->second != expected)
                lines.push_back(name + ": " + hexText(same->second) + " in the upload, not " + hexText(expected));
            const auto got = read(entity, number);
            if (!got || *got != expected)
                lines.push_back(name + ": " + (got ? hexText(*got) : "nothing") + " by get, not " + hexText(expected));
        }
    }
    for (const auto& [entity, values] : uploaded) {
        const ClassInfo& info = *omci::findClass(entity.classId);
        if (info.maker() == omci::Maker::kOlt && !isCompanion(entity.classId) && expected_.count(entity) == 0)
            lines.push_back(nameOf(entity) + " is too many");
    }
    return lines;
}

}  // namespace olt
