// VLAN control: VLAN devices, the tag-rule tables of every real device, default actions, flows.
#include <algorithm>
#include <cerrno>
#include <utility>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "kernel/Network.h"
#include "kit/VlanTables.h"
#include "platform/vlanctl.h"

namespace virtual_onu {

namespace {

using Kind = RuleTerm::Kind;

constexpr unsigned kMaxTags = 4;
constexpr unsigned kActionPass = 0;
constexpr unsigned kActionDrop = 1;

using vlan::Table;
using vlan::TableKey;

struct VlanState {
    unsigned openCount = 0;  // vlanCtl_init minus vlanCtl_cleanup
    std::string suffix = ".v";
    std::vector<RuleTerm> pending;
};

VlanState& vlanState() {
    static VlanState& state = *new VlanState;
    return state;
}

using vlan::installed;

void changedDefault(const TableKey& key) {
    persistence::changed(persistence::kDefaults, vlan::textOf(key));
}

std::string nameOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

// A call of the library; outside of init and cleanup it is refused. The first device that it names narrows faults.
int vlanCall(const char* name, const std::string& argumentList, const std::function<int()>& work,
             const std::string& device = "") {
    return platformCall(
        name, argumentList,
        [&] {
            const DeviceAccess lock(deviceMutex());
            if (vlanState().openCount == 0) return EPERM;
            deviceChanged();
            return work();
        },
        device);
}

int addTerm(const char* name, const std::string& argumentList, RuleTerm term) {
    return vlanCall(name, argumentList, [&] {
        if (term.tag >= kMaxTags) return EINVAL;
        if ((term.kind == Kind::RxDevice || term.kind == Kind::TxDevice) && term.device.empty()) return EINVAL;
        vlanState().pending.push_back(term);
        return 0;
    });
}

int addCopy(const char* name, Kind kind, unsigned fromTag, unsigned toTag) {
    if (fromTag < kMaxTags) return addTerm(name, arguments(fromTag, toTag), {kind, fromTag, toTag, ""});
    return vlanCall(name, arguments(fromTag, toTag), [] { return EINVAL; });
}

int tableError(const std::string& device, unsigned direction, unsigned tags) {
    if (!network::exists(device)) return ENODEV;
    return direction > kTransmit || tags > kMaxTags ? EINVAL : 0;
}

// The driver resolves the devices of a rule when it is installed.
bool namesMissingDevice(const std::vector<RuleTerm>& terms) {
    return std::any_of(terms.begin(), terms.end(),
                       [](const RuleTerm& term) { return !term.device.empty() && !network::exists(term.device); });
}

int createVlanDevice(const std::string& realDevice, const std::string& name, int isRouted, int isMulticast) {
    if (!network::exists(realDevice)) return ENODEV;
    return network::addVlanDevice(name, realDevice, isRouted != 0, isMulticast != 0);
}

Table* findTable(const std::string& device, unsigned direction, unsigned tags) {
    const auto found = installed().tables.find({device, direction, tags});
    return found == installed().tables.end() ? nullptr : &found->second;
}

}  // namespace

namespace vlan {

void reset() {
    const DeviceAccess lock(deviceMutex());
    vlanState() = VlanState{};
    installed() = Installed{};
    deviceChanged();
}

Installed& installed() {
    static Installed& state = *new Installed;
    return state;
}

std::string textOf(const TableKey& key) {
    return key.device + (key.direction == kReceive ? " rx " : " tx ") + std::to_string(key.tags);
}

void deviceRemoved(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    auto& state = installed();
    deviceChanged();
    auto table = state.tables.lower_bound({name, 0, 0});
    for (; table != state.tables.end() && table->first.device == name; table = state.tables.erase(table)) {
        for (const TagRule& rule : table->second.rules) {
            persistence::changed(persistence::kRules, rule.id);
            state.locations.erase(rule.id);
        }
        if (table->second.defaultAction) changedDefault(table->first);
    }
    if (!state.flows.empty()) persistence::changed(persistence::kFlows);
    if (state.realDeviceModes.count(name) != 0) persistence::changed(persistence::kDeviceModes, name);
    state.flows.erase(std::remove_if(state.flows.begin(), state.flows.end(),
                                     [&](const auto& flow) { return flow.first == name || flow.second == name; }),
                      state.flows.end());
    state.realDeviceModes.erase(name);
}

void forEachTable(const std::function<void(const TableKey&, const Table&)>& look) {
    for (const auto& [key, table] : installed().tables)
        if (!table.rules.empty() || table.defaultAction) look(key, table);
}

const std::vector<std::pair<std::string, std::string>>& flowList() {
    return installed().flows;
}

nlohmann::json toJson() {
    auto tables = nlohmann::json::array();
    for (const auto& table : VirtualOnu::instance().ruleTables()) {
        auto rules = nlohmann::json::array();
        for (const auto& rule : table.rules) {
            nlohmann::json entry = {{"id", rule.id}, {"text", rule.text()}};
            entry["filters"] = entry["commands"] = nlohmann::json::array();
            for (const auto& term : rule.terms) entry[term.isCommand() ? "commands" : "filters"].push_back(term.text());
            rules.push_back(std::move(entry));
        }
        nlohmann::json entry = {{"device", table.device},
                                {"direction", table.direction == kReceive ? "receive" : "transmit"},
                                {"tags", table.tags},
                                {"rules", std::move(rules)}};
        if (table.defaultAction) {
            entry["default"] = {{"action", table.defaultAction->action == kActionPass ? "pass" : "drop"},
                                {"device", table.defaultAction->device}};
        }
        tables.push_back(std::move(entry));
    }
    auto flows = nlohmann::json::array();
    for (const auto& [from, to] : VirtualOnu::instance().flows()) flows.push_back({{"from", from}, {"to", to}});
    return {{"tables", std::move(tables)}, {"flows", std::move(flows)}};
}

}  // namespace vlan

// ---- the facade's view ----

std::vector<RuleTable> VirtualOnu::ruleTables() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<RuleTable> result;
    for (const auto& [key, table] : installed().tables) {
        if (table.rules.empty() && !table.defaultAction) continue;
        result.push_back({key.device, key.direction, key.tags, table.rules, table.defaultAction});
    }
    return result;
}

std::vector<TagRule> VirtualOnu::rules(const std::string& device, unsigned direction, unsigned tags) const {
    const DeviceAccess lock(deviceMutex());
    const Table* table = findTable(device, direction, tags);
    return table == nullptr ? std::vector<TagRule>{} : table->rules;
}

std::vector<std::string> VirtualOnu::ruleTexts(const std::string& device, unsigned direction, unsigned tags) const {
    std::vector<std::string> texts;
    for (const auto& rule : rules(device, direction, tags)) texts.push_back(rule.text());
    return texts;
}

std::optional<DefaultAction> VirtualOnu::defaultAction(const std::string& device, unsigned direction,
                                                       unsigned tags) const {
    const DeviceAccess lock(deviceMutex());
    const Table* table = findTable(device, direction, tags);
    return table == nullptr ? std::nullopt : table->defaultAction;
}

void VirtualOnu::setOutOfRangeFilters(OutOfRangeFilters behaviour) {
    const DeviceAccess lock(deviceMutex());
    installed().outOfRange = behaviour;
    persistence::changed(persistence::kVlanKit);
    deviceChanged();
}

OutOfRangeFilters VirtualOnu::outOfRangeFilters() const {
    const DeviceAccess lock(deviceMutex());
    return installed().outOfRange;
}

std::size_t VirtualOnu::ruleCount() const {
    const DeviceAccess lock(deviceMutex());
    std::size_t count = 0;
    for (const auto& entry : installed().tables) count += entry.second.rules.size();
    return count;
}

std::vector<std::pair<std::string, std::string>> VirtualOnu::flows() const {
    const DeviceAccess lock(deviceMutex());
    return installed().flows;
}

}  // namespace virtual_onu

// ---- the library's functions ----

using namespace virtual_onu;

int vlanCtl_init(void) {
    return platformCall("vlanCtl_init", arguments(), [] {
        const DeviceAccess lock(deviceMutex());
        ++vlanState().openCount;
        return 0;
    });
}

void vlanCtl_cleanup(void) {
    {
        const DeviceAccess lock(deviceMutex());
        if (vlanState().openCount > 0) --vlanState().openCount;
    }
    record(CallKind::Platform, "vlanCtl_cleanup", arguments(), 0);
}

int vlanCtl_setIfSuffix(const char* suffix) {
    return vlanCall("vlanCtl_setIfSuffix", arguments(suffix), [&] {
        vlanState().suffix = nameOf(suffix);
        return 0;
    });
}

int vlanCtl_createVlanInterface(const char* realDev, unsigned int vlanDevId, int isRouted, int isMulticast) {
    return vlanCall(
        "vlanCtl_createVlanInterface", arguments(realDev, vlanDevId, isRouted, isMulticast),
        [&] {
            const auto name = nameOf(realDev) + vlanState().suffix + std::to_string(vlanDevId);
            return createVlanDevice(nameOf(realDev), name, isRouted, isMulticast);
        },
        nameOf(realDev));
}

int vlanCtl_createVlanInterfaceByName(const char* realDev, const char* vlanDev, int isRouted, int isMulticast) {
    return vlanCall(
        "vlanCtl_createVlanInterfaceByName", arguments(realDev, vlanDev, isRouted, isMulticast),
        [&] { return createVlanDevice(nameOf(realDev), nameOf(vlanDev), isRouted, isMulticast); }, nameOf(realDev));
}

int vlanCtl_deleteVlanInterface(const char* vlanDev) {
    return vlanCall(
        "vlanCtl_deleteVlanInterface", arguments(vlanDev),
        [&] {
            if (!network::exists(nameOf(vlanDev))) return ENODEV;
            const int result = network::removeDevice(nameOf(vlanDev));
            if (result == 0) vlan::deviceRemoved(nameOf(vlanDev));
            return result;
        },
        nameOf(vlanDev));
}

int vlanCtl_setRealDevMode(const char* realDev, int mode) {
    return vlanCall(
        "vlanCtl_setRealDevMode", arguments(realDev, mode),
        [&] {
            if (!network::exists(nameOf(realDev))) return ENODEV;
            installed().realDeviceModes[nameOf(realDev)] = mode;
            persistence::changed(persistence::kDeviceModes, nameOf(realDev));
            return 0;
        },
        nameOf(realDev));
}

int vlanCtl_setDefaultAction(const char* realDev, unsigned int direction, unsigned int nbrOfTags, unsigned int action,
                             const char* vlanDev) {
    return vlanCall(
        "vlanCtl_setDefaultAction", arguments(realDev, direction, nbrOfTags, action, vlanDev),
        [&] {
            const DefaultAction wanted{action, nameOf(vlanDev)};
            if (const int error = tableError(nameOf(realDev), direction, nbrOfTags)) return error;
            if (action > kActionDrop) return EINVAL;
            // A dropping default needs no device, but one that is named must be there.
            const bool needsDevice = action == kActionPass || !wanted.device.empty();
            if (needsDevice && !network::exists(wanted.device)) return ENODEV;
            const TableKey key{nameOf(realDev), direction, nbrOfTags};
            installed().tables[key].defaultAction = wanted;
            changedDefault(key);
            return 0;
        },
        nameOf(realDev));
}

int vlanCtl_createVlanFlows(const char* rxVlanDev, const char* txVlanDev) {
    return vlanCall(
        "vlanCtl_createVlanFlows", arguments(rxVlanDev, txVlanDev),
        [&] {
            const std::pair<std::string, std::string> flow(nameOf(rxVlanDev), nameOf(txVlanDev));
            if (!network::exists(flow.first) || !network::exists(flow.second)) return ENODEV;
            auto& flows = installed().flows;
            if (std::find(flows.begin(), flows.end(), flow) != flows.end()) return 0;
            flows.push_back(flow);
            persistence::changed(persistence::kFlows);
            return 0;
        },
        nameOf(rxVlanDev));
}

int vlanCtl_getNbrOfRulesInTable(const char* realDev, unsigned int direction, unsigned int nbrOfTags,
                                 unsigned int* nbrOfRules) {
    std::optional<Out> received;
    return platformCallWithOut(
        "vlanCtl_getNbrOfRulesInTable", [&] { return arguments(realDev, direction, nbrOfTags, received); },
        [&] {
            const DeviceAccess lock(deviceMutex());
            if (vlanState().openCount == 0) return EPERM;
            if (const int error = tableError(nameOf(realDev), direction, nbrOfTags)) return error;
            const Table* table = findTable(nameOf(realDev), direction, nbrOfTags);
            *nbrOfRules = table == nullptr ? 0 : static_cast<unsigned>(table->rules.size());
            received = out(*nbrOfRules);
            return 0;
        },
        nameOf(realDev));
}

int vlanCtl_initTagRule(void) {
    return vlanCall("vlanCtl_initTagRule", arguments(), [] {
        vlanState().pending.clear();
        return 0;
    });
}

int vlanCtl_insertTagRule(const char* realDev, unsigned int direction, unsigned int nbrOfTags, unsigned int position,
                          unsigned int referenceRuleId, unsigned int* tagRuleId) {
    std::optional<Out> received;
    return platformCallWithOut(
        "vlanCtl_insertTagRule",
        [&] { return arguments(realDev, direction, nbrOfTags, position, referenceRuleId, received); },
        [&] {
            const DeviceAccess lock(deviceMutex());
            auto& state = vlanState();
            if (state.openCount == 0) return EPERM;
            if (const int error = tableError(nameOf(realDev), direction, nbrOfTags)) return error;
            if (position != VLANCTL_POSITION_FRONT && position != VLANCTL_POSITION_APPEND) return EINVAL;
            if (namesMissingDevice(state.pending)) return ENODEV;
            deviceChanged();
            const bool front = position == VLANCTL_POSITION_FRONT;
            const TableKey key{nameOf(realDev), direction, nbrOfTags};
            auto& rules = installed().tables[key].rules;
            const TagRule rule{installed().nextRuleId++, state.pending};
            rules.insert(front ? rules.begin() : rules.end(), rule);
            installed().locations[rule.id] = {key, front};
            persistence::changed(persistence::kRules, rule.id);
            persistence::changed(persistence::kVlanKit);
            *tagRuleId = rule.id;
            received = out(rule.id);
            return 0;
        },
        nameOf(realDev));
}

int vlanCtl_removeTagRule(const char* realDev, unsigned int direction, unsigned int nbrOfTags, unsigned int tagRuleId) {
    return vlanCall(
        "vlanCtl_removeTagRule", arguments(realDev, direction, nbrOfTags, tagRuleId),
        [&] {
            if (const int error = tableError(nameOf(realDev), direction, nbrOfTags)) return error;
            Table* table = findTable(nameOf(realDev), direction, nbrOfTags);
            if (table == nullptr) return ENOENT;
            const auto rule = std::find_if(table->rules.begin(), table->rules.end(),
                                           [&](const TagRule& candidate) { return candidate.id == tagRuleId; });
            if (rule == table->rules.end()) return ENOENT;
            table->rules.erase(rule);
            installed().locations.erase(tagRuleId);
            persistence::changed(persistence::kRules, tagRuleId);
            return 0;
        },
        nameOf(realDev));
}

int vlanCtl_setReceiveVlanDevice(const char* vlanDev) {
    return addTerm("vlanCtl_setReceiveVlanDevice", arguments(vlanDev), {Kind::RxDevice, 0, 0, nameOf(vlanDev)});
}
int vlanCtl_filterOnTxVlanDevice(const char* vlanDev) {
    return addTerm("vlanCtl_filterOnTxVlanDevice", arguments(vlanDev), {Kind::TxDevice, 0, 0, nameOf(vlanDev)});
}
int vlanCtl_filterOnTagPbits(unsigned int pbits, unsigned int tagIndex) {
    return addTerm("vlanCtl_filterOnTagPbits", arguments(pbits, tagIndex), {Kind::Pbits, pbits, tagIndex, ""});
}
int vlanCtl_filterOnTagCfi(unsigned int cfi, unsigned int tagIndex) {
    return addTerm("vlanCtl_filterOnTagCfi", arguments(cfi, tagIndex), {Kind::Cfi, cfi, tagIndex, ""});
}
int vlanCtl_filterOnTagVid(unsigned int vid, unsigned int tagIndex) {
    return addTerm("vlanCtl_filterOnTagVid", arguments(vid, tagIndex), {Kind::Vid, vid, tagIndex, ""});
}
int vlanCtl_filterOnTagEtherType(unsigned int etherType, unsigned int tagIndex) {
    return addTerm("vlanCtl_filterOnTagEtherType", arguments(etherType, tagIndex),
                   {Kind::TagType, etherType, tagIndex, ""});
}
int vlanCtl_filterOnEthertype(unsigned int etherType) {
    return addTerm("vlanCtl_filterOnEthertype", arguments(etherType), {Kind::Type, etherType, 0, ""});
}
int vlanCtl_filterOnIpProto(unsigned int ipProtocol) {
    return addTerm("vlanCtl_filterOnIpProto", arguments(ipProtocol), {Kind::IpProto, ipProtocol, 0, ""});
}
int vlanCtl_filterOnSkbMarkPort(unsigned int port) {
    return addTerm("vlanCtl_filterOnSkbMarkPort", arguments(port), {Kind::Gem, port, 0, ""});
}

int vlanCtl_cmdPushVlanTag(void) {
    return addTerm("vlanCtl_cmdPushVlanTag", arguments(), {Kind::Push, 0, 0, ""});
}
int vlanCtl_cmdPopVlanTag(void) {
    return addTerm("vlanCtl_cmdPopVlanTag", arguments(), {Kind::Pop, 0, 0, ""});
}
int vlanCtl_cmdSetTagPbits(unsigned int pbits, unsigned int tagIndex) {
    return addTerm("vlanCtl_cmdSetTagPbits", arguments(pbits, tagIndex), {Kind::SetPbits, pbits, tagIndex, ""});
}
int vlanCtl_cmdSetTagCfi(unsigned int cfi, unsigned int tagIndex) {
    return addTerm("vlanCtl_cmdSetTagCfi", arguments(cfi, tagIndex), {Kind::SetCfi, cfi, tagIndex, ""});
}
int vlanCtl_cmdSetTagVid(unsigned int vid, unsigned int tagIndex) {
    return addTerm("vlanCtl_cmdSetTagVid", arguments(vid, tagIndex), {Kind::SetVid, vid, tagIndex, ""});
}
int vlanCtl_cmdSetTagEtherType(unsigned int etherType, unsigned int tagIndex) {
    return addTerm("vlanCtl_cmdSetTagEtherType", arguments(etherType, tagIndex),
                   {Kind::SetTagType, etherType, tagIndex, ""});
}
int vlanCtl_cmdSetEtherType(unsigned int etherType) {
    return addTerm("vlanCtl_cmdSetEtherType", arguments(etherType), {Kind::SetType, etherType, 0, ""});
}
int vlanCtl_cmdCopyTagPbits(unsigned int fromTag, unsigned int toTag) {
    return addCopy("vlanCtl_cmdCopyTagPbits", Kind::CopyPbits, fromTag, toTag);
}
int vlanCtl_cmdCopyTagCfi(unsigned int fromTag, unsigned int toTag) {
    return addCopy("vlanCtl_cmdCopyTagCfi", Kind::CopyCfi, fromTag, toTag);
}
int vlanCtl_cmdCopyTagVid(unsigned int fromTag, unsigned int toTag) {
    return addCopy("vlanCtl_cmdCopyTagVid", Kind::CopyVid, fromTag, toTag);
}
int vlanCtl_cmdCopyTagEtherType(unsigned int fromTag, unsigned int toTag) {
    return addCopy("vlanCtl_cmdCopyTagEtherType", Kind::CopyTagType, fromTag, toTag);
}
int vlanCtl_cmdDscpToPbits(unsigned int tagIndex) {
    return addTerm("vlanCtl_cmdDscpToPbits", arguments(tagIndex), {Kind::DscpToPbits, 0, tagIndex, ""});
}
int vlanCtl_cmdDropFrame(void) {
    return addTerm("vlanCtl_cmdDropFrame", arguments(), {Kind::Drop, 0, 0, ""});
}
int vlanCtl_cmdSetSkbMarkPort(unsigned int port) {
    return addTerm("vlanCtl_cmdSetSkbMarkPort", arguments(port), {Kind::MarkGem, port, 0, ""});
}
int vlanCtl_cmdSetSkbMarkQueue(unsigned int queue) {
    return addTerm("vlanCtl_cmdSetSkbMarkQueue", arguments(queue), {Kind::MarkQueue, queue, 0, ""});
}
