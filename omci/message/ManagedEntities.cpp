#include "omci/message/ManagedEntities.h"

#include <algorithm>

#include "omci/message/EntityTables.h"

namespace omci {

namespace {

std::vector<ClassInfo> makeClasses() {
    std::vector<const EntityRow*> rows;
    for (const auto& table :
         {tables::equipmentEntities(), tables::trafficEntities(), tables::subscriberEntities(),
          tables::bridgeEntities(), tables::vlanEntities(), tables::multicastEntities(), tables::managementEntities(),
          tables::descriptionEntities(), tables::performanceEntities()}) {
        for (const EntityRow& row : table) rows.push_back(&row);
    }
    std::sort(rows.begin(), rows.end(),
              [](const EntityRow* one, const EntityRow* other) { return one->id < other->id; });
    std::vector<ClassInfo> classes;
    for (const EntityRow* row : rows) classes.emplace_back(*row, classes.size());
    return classes;
}

// Where the classes are, for the numbers up to the largest one.
std::vector<const ClassInfo*> makeIndex() {
    std::vector<const ClassInfo*> index(managedEntities().back().id() + 1U, nullptr);
    for (const ClassInfo& info : managedEntities()) index[info.id()] = &info;
    return index;
}

}  // namespace

const char* AttributeInfo::wordOf(std::uint32_t code) const {
    for (const CodeWord& word : words) {
        if (word.code == code) return word.word;
    }
    return nullptr;
}

ClassInfo::ClassInfo(const EntityRow& row, std::size_t index) : row_(&row), index_(index) {
    std::size_t offset = 0;
    for (const AttributeInfo& attribute : row.attributes) {
        const AttributeMask mask = maskOf(attribute.number);
        all_ |= mask;
        if (attribute.readable()) readable_ |= mask;
        if (attribute.writable()) writable_ |= mask;
        if (attribute.setByCreate()) {
            setByCreate_ |= mask;
            createSize_ += attribute.size;
        }
        offsets_[attribute.number] = static_cast<std::uint16_t>(offset);
        if (attribute.isTable()) {
            tables_ |= mask;
        } else {
            offset += attribute.size;
        }
    }
    offsets_[0] = static_cast<std::uint16_t>(offset);
}

const std::vector<ClassInfo>& managedEntities() {
    static const std::vector<ClassInfo> classes = makeClasses();
    return classes;
}

const ClassInfo* findClass(ClassId id) {
    static const std::vector<const ClassInfo*> index = makeIndex();
    return id < index.size() ? index[id] : nullptr;
}

std::string nameOfClass(ClassId id) {
    const ClassInfo* info = findClass(id);
    return info != nullptr ? info->name() : "class " + std::to_string(id);
}

}  // namespace omci
