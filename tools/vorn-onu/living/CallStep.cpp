#include "living/CallStep.h"

#include <set>

#include <nlohmann/json.hpp>

#include "living/BoardDevice.h"
#include "running/scenario/operations/RecordFields.h"
#include "running/state/FieldWords.h"

namespace vorn_onu {

namespace {

namespace services = omci::services;

// Those that a scenario has to say.
template <typename Record>
Json said(const Record& record, const std::vector<Field>& fields) {
    Json given = *fieldsOf(record, fields);
    for (const Field& one : fields) {
        if (one.presence.required || !given.contains(one.name)) continue;
        Record left{};
        if (!one.presence.fallback->is_null()) one.store(&left, *one.presence.fallback);
        if (one.load(&left) == given[one.name]) given.erase(one.name);
    }
    return given;
}

struct Fields {
    Json operator()(const services::OmciAction& action) const { return {{"action", action.action}}; }
    Json operator()(const TContProvisioning& record) const { return said(record, tcontFields()); }
    Json operator()(const XGEMConfig& record) const { return said(record, gemPortFields()); }
    Json operator()(const services::BridgeSide& side) const {
        return {{"bridgeId", side.bridgeId}, {"uniPort", side.uniPort}};
    }
    Json operator()(const BridgeServiceProvisioning& record) const {
        Json given = said(record, bridgeServiceFields({"bridgeId", "gemPortId"}));
        // Without the number a scenario counts the entries of a list, and finds none in a text.
        if (record.numberOfEntries != 0) given["numberOfEntries"] = record.numberOfEntries;
        return given;
    }
    Json operator()(const services::VeipRules& rules) const {
        return {{"gemPort", rules.gemPort},       {"bridgeId", rules.bridgeId},
                {"filterType", rules.filterType}, {"numberOfEntries", rules.numberOfEntries},
                {"filterList", rules.filterList}, {"trafficType", rules.trafficType}};
    }
    Json operator()(const UniDataProvisioning& record) const { return said(record, uniDataFields()); }
    Json operator()(const IpHostProvision& record) const { return said(record, ipHostFields()); }
    Json operator()(const services::PortStatus& status) const {
        return {{"uniInstance", status.port}, {"adminState", status.up}};
    }
    Json operator()(const services::PortMode& mode) const {
        return {{"uniInstance", mode.port}, {"speed", mode.speed}, {"duplex", mode.duplex}};
    }
    Json operator()(const services::PortIsolation& isolation) const {
        return {{"bridge", BoardDevice::bridgeName(isolation.bridgeId)},
                {"port", BoardDevice::memberName(isolation.bridgeId, isolation.port)},
                {"isolated", isolation.isolated}};
    }
    Json operator()(const services::BridgeAgeing& ageing) const {
        return {{"bridge", BoardDevice::bridgeName(ageing.bridgeId)}, {"seconds", ageing.seconds}};
    }
};

// Ports are switched by functions beside the HAL's interface.
std::string operationOf(services::Operation operation) {
    if (operation == services::Operation::kSetPortStatus) return "setEthernetUniStatus";
    if (operation == services::Operation::kSetPortMode) return "updateEthernetUniSpeed";
    return nameOf(operation);
}

}  // namespace

Json callStep(const services::HalCall& call) {
    Json step = {{"call", operationOf(call.operation)}};
    const Json fields = std::visit(Fields{}, call.record);
    for (const auto& [name, value] : fields.items()) step[name] = value;
    return step;
}

Step asStep(const Json& callStep, std::size_t number) {
    Step step;
    step.number = number;
    step.kind = "call";
    step.name = callStep.at("call").get<std::string>();
    step.fields = callStep;
    for (const char* key : {"call", "result"}) step.fields->erase(key);
    return step;
}

Step asStep(const omci::services::HalCall& call, std::size_t number) {
    return asStep(callStep(call), number);
}

std::string callWords(const Json& step) {
    Json fields = step;
    for (const char* key : {"call", "result", "numberOfEntries"}) fields.erase(key);
    // What has no meaning in this record, whatever is there.
    const bool noRow = fields.contains("hasTagRules") && fields["hasTagRules"] == false;
    const bool aniSide = fields.contains("gemPortId");
    static const std::set<std::string> kOfAnyRecord = {"addFlag", "hasTagRules", "bridgeId", "uniPort"};
    for (const auto& [name, value] : step.items()) {
        const bool isZero = value == 0 || value == "copyInner" || value == "0x0000";
        if ((noRow && kOfAnyRecord.count(name) == 0) || (aniSide && isZero)) fields.erase(name);
    }
    return fieldWords(fields);
}

}  // namespace vorn_onu
