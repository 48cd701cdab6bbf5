#include "omci/mib/Description.h"

#include <utility>

namespace omci {

namespace {

Bytes rowOf(std::uint64_t number, std::size_t size) {
    Bytes row;
    appendNumber(row, number, size);
    return row;
}

// The standard's numbers of formats and kinds of access.
std::uint8_t formatCode(Format format) {
    switch (format) {
        case kPointer:
            return 1;
        case kBitField:
            return 2;
        case kSigned:
        case kOpticalLevel:
            return 3;
        case kEnumeration:
            return 6;
        case kTable:
            return 7;
        case kUnsigned:
        case kHex:
        case kTci:
            return 4;
        default:
            return 5;
    }
}

constexpr std::uint8_t kSupported = 1;

Entity describe(const AttributeInfo& attribute, InstanceId instance) {
    Entity entity(*findClass(class_id::kAttributeObject), instance, Maker::kOnu);
    entity.setText(1, attribute.name);
    entity.setNumber(2, attribute.size);
    entity.setNumber(3, attribute.access & kRWC);
    entity.setNumber(4, formatCode(attribute.format));
    const std::size_t bits = std::size_t{attribute.size} * 8;
    if (formatCode(attribute.format) == 4) entity.setNumber(6, bits < 32 ? (1U << bits) - 1 : 0xFFFFFFFF);
    if (attribute.format == kBitField) entity.setNumber(7, bits < 32 ? (1U << bits) - 1 : 0xFFFFFFFF);
    TableRows codes;
    for (const CodeWord& word : attribute.words) codes.push_back(rowOf(word.code, 2));
    entity.setRows(8, std::move(codes));
    entity.setNumber(9, kSupported);
    return entity;
}

Entity describe(const ClassInfo& info, InstanceId firstAttribute) {
    Entity entity(*findClass(class_id::kEntityObject), info.id(), Maker::kOnu);
    entity.setText(1, info.name());
    TableRows attributes;
    TableRows alarms;
    TableRows changes;
    for (const AttributeInfo& attribute : info.attributes()) {
        attributes.push_back(rowOf(firstAttribute + attribute.number - 1U, 2));
        if ((attribute.access & kAvc) != 0) changes.push_back(rowOf(attribute.number, 1));
        if (attribute.thresholdAlarm >= 0)
            alarms.push_back(rowOf(static_cast<std::uint8_t>(attribute.thresholdAlarm), 1));
    }
    for (const CodeWord& alarm : info.alarms()) alarms.push_back(rowOf(alarm.code, 1));
    entity.setRows(2, std::move(attributes));
    entity.setNumber(3, static_cast<std::uint8_t>(info.maker()));
    entity.setRows(4, std::move(alarms));
    entity.setRows(5, std::move(changes));
    entity.setNumber(6, info.actions());
    entity.setNumber(8, kSupported);
    return entity;
}

}  // namespace

void addDescription(std::vector<Entity>& entities) {
    Entity omci(*findClass(class_id::kOmciObject), 0, Maker::kOnu);
    TableRows classes;
    MessageTypes types = 0;
    InstanceId nextAttribute = 1;
    for (const ClassInfo& info : managedEntities()) {
        classes.push_back(rowOf(info.id(), 2));
        types |= info.actions();
        entities.push_back(describe(info, nextAttribute));
        for (const AttributeInfo& attribute : info.attributes())
            entities.push_back(describe(attribute, nextAttribute++));
    }
    TableRows messages;
    for (std::uint8_t type = 0; type < 32; ++type) {
        if ((types & bit(static_cast<MessageType>(type))) != 0) messages.push_back(rowOf(type, 1));
    }
    omci.setRows(1, std::move(classes));
    omci.setRows(2, std::move(messages));
    entities.push_back(std::move(omci));
}

void refreshInstances(Mib& mib, ClassId classId) {
    TableRows instances;
    for (const auto& [instance, entity] : mib.instances(classId)) instances.push_back(rowOf(instance, 2));
    mib.setRows({class_id::kEntityObject, classId}, 7, std::move(instances));
}

bool isDescription(ClassId classId) {
    return classId >= class_id::kOmciObject && classId <= class_id::kAttributeObject;
}

}  // namespace omci
