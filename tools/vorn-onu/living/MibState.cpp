#include "living/MibState.h"

#include <nlohmann/json.hpp>

#include "omci/message/ValueText.h"
#include "omci/mib/Relations.h"

namespace vorn_onu {

namespace {

nlohmann::json attributeJson(const omci::Entity& entity, const omci::AttributeInfo& attribute) {
    nlohmann::json one = {{"number", attribute.number}, {"name", attribute.name}};
    if (attribute.isTable()) {
        nlohmann::json rows = nlohmann::json::array(), bytes = nlohmann::json::array();
        for (const omci::Bytes& row : entity.rows(attribute.number)) {
            rows.push_back(omci::rowText(entity.classId(), attribute.number, row));
            bytes.push_back(omci::hexText(row));
        }
        one["rows"] = std::move(rows);
        one["bytes"] = std::move(bytes);
        return one;
    }
    const omci::ByteView bytes = entity.bytes(attribute.number);
    one["value"] = omci::valueText(entity.classId(), attribute, bytes);
    one["bytes"] = omci::hexText(bytes);
    return one;
}

nlohmann::json entityJson(const omci::Mib& mib, const omci::Entity& entity) {
    nlohmann::json attributes = nlohmann::json::array(), pointers = nlohmann::json::array();
    for (const omci::AttributeInfo& attribute : entity.info().attributes())
        if (entity.has(attribute.number)) attributes.push_back(attributeJson(entity, attribute));
    for (const omci::Pointer& pointer : omci::pointersOf(entity))
        pointers.push_back({{"attribute", pointer.attribute},
                            {"class", pointer.target.classId},
                            {"instance", pointer.target.instance},
                            {"entity", omci::entityText(pointer.target)},
                            {"exists", mib.find(pointer.target) != nullptr}});
    return {{"class", entity.classId()},
            {"instance", entity.instance()},
            {"entity", omci::entityText(entity.key())},
            {"maker", entity.maker() == omci::Maker::kOlt ? "olt" : "onu"},
            {"attributes", std::move(attributes)},
            {"pointers", std::move(pointers)}};
}

}  // namespace

nlohmann::json mibJson(const omci::Mib& mib) {
    nlohmann::json entities = nlohmann::json::array();
    for (const omci::ClassInfo& info : omci::managedEntities())
        for (const auto& [instance, entity] : mib.instances(info.id())) entities.push_back(entityJson(mib, entity));
    return entities;
}

}  // namespace vorn_onu
