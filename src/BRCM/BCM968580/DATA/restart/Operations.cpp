#include "BRCM/BCM968580/DATA/restart/Operations.h"

#include <cstring>
#include <optional>
#include <utility>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/TagCodes.h"
#include "BRCM/BCM968580/DATA/forwarding/GemPorts.h"
#include "BRCM/BCM968580/DATA/forwarding/IpHost.h"
#include "BRCM/BCM968580/DATA/forwarding/Mode.h"
#include "BRCM/BCM968580/DATA/forwarding/Operations.h"
#include "BRCM/BCM968580/DATA/forwarding/Tconts.h"
#include "BRCM/BCM968580/DATA/forwarding/Veip.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/Restart.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"
#include "kit/DeviceNames.h"
#include "xpon/PonMaps.h"

using kit::Ask;
using kit::AskedOperation;
using kit::AskKind;

namespace restart {

namespace {

constexpr std::size_t kMaxFilterList = 256;
constexpr std::uint8_t kUp[] = {1};

template <typename Record>
bool isRecord(state::ByteReader& bytes) {
    recordFrom<Record>(bytes);
    return bytes.done();
}

template <typename Record, typename Visit>
void forEachAsked(Ask ask, Visit visit) {
    const std::string prefix = kit::keyOf(kit::Entry::Asked, static_cast<std::uint8_t>(ask));
    for (const auto& entry : state::journal()->current(prefix)) {
        state::ByteReader arguments(std::string_view(entry.first).substr(prefix.size()));
        visit(recordFrom<Record>(arguments));
    }
}

bool changeRow(UniDataProvisioning row) {
    const AskedOperation operation(Ask::UniRow, kindOf(row), row);
    if (forwarding::isG988()) return forwarding::removeUni(engine(), row.uniPort, row.bridgeId);
    if (row.addFlag != 0) {
        engine().configureUniInterface(&row);
        engine().configureUniTagRules(&row);
    } else {
        engine().deConfigureUniTagRules(row.uniPort, row.bridgeId);
        engine().deConfigureUniInterface(row.uniPort, row.bridgeId);
    }
    return true;
}

bool isMulticast(const BridgeServiceProvisioning& service) {
    return service.isMulticast != 0 && service.multicastService != 0;
}

std::string leftQueues() {
    state::ByteWriter bytes;
    for (const auto& [gemPortId, queues] : gemPortPbitToQMap)
        for (const auto& [queue, pbits] : queues)
            for (const std::uint8_t pbit : pbits) bytes.add(gemPortId).add(queue).add(pbit);
    return bytes.take();
}

// False when that is none.
bool readLeftQueues(const std::string& left,
                    void (*add)(std::uint16_t gemPortId, std::uint16_t queue, std::uint8_t pbit)) {
    state::ByteReader bytes(left);
    while (bytes.left() > 0) {
        const std::uint16_t gemPortId = bytes.u16();
        const std::uint16_t queue = bytes.u16();
        const std::uint8_t pbit = bytes.u8();
        if (bytes.ok()) add(gemPortId, queue, pbit);
    }
    return bytes.done();
}

void setLeftQueues(const std::string& left) {
    engine_maps::clearPbitQueues();
    readLeftQueues(left, engine_maps::addPbitToQueue);
}

// Those of one that are not in the other. An entry has five bytes.
std::string without(const std::string& left, const std::string& other) {
    constexpr std::size_t kEntry = 5;
    std::string rest;
    for (std::size_t at = 0; at + kEntry <= left.size(); at += kEntry) {
        bool isThere = false;
        for (std::size_t of = 0; of + kEntry <= other.size(); of += kEntry)
            isThere = isThere || left.compare(at, kEntry, other, of, kEntry) == 0;
        if (!isThere) rest.append(left, at, kEntry);
    }
    return rest;
}

// Left by the life before. A daemon that goes on where it was gives them to its next service; one that asks for
// everything again does not, but that may show late.
std::string restoredQueues;
std::string droppedQueues;  // the same, when it has shown

std::optional<LooseRule> looseRuleOfVeip(std::string_view effect) {
    state::ByteReader key(effect);
    if (static_cast<kit::Entry>(key.u8()) != kit::Entry::LooseRules) return std::nullopt;
    LooseRule rule = looseRule(key);
    if (rule.table.device != kVeipRealDevice) return std::nullopt;
    return rule;
}

bool provisionHost(const HostArguments& arguments) {
    engine().iPhost_Stag = arguments.stag;
    const IpHostProvision& host = arguments.host;
    AskedOperation operation(Ask::IpHost, AskKind::ProvisionWhole, arguments);
    if (forwarding::isG988()) {
        if (forwarding::addIpHost(engine(), host)) return true;
        operation.rolledBack();
        return false;
    }
    if (host.dhcpEnabled != 0) {
        engine().provisionIpHostDynamic(&host);
    } else {
        engine().provisionIpHostStatic(&host);
    }
    return true;
}

// An operation with nothing but its record.
template <typename Record, typename Run>
bool run(state::ByteReader& bytes, Ask ask, AskKind kind, Run make) {
    const auto record = recordFrom<Record>(bytes);
    const AskedOperation operation(ask, kind, record);
    make(record);
    return true;
}

// Likewise a removal, which forwarding by G.988 may refuse.
template <typename Record, typename ByG988, typename ByContract>
bool runRemoval(state::ByteReader& bytes, Ask ask, ByG988 byG988, ByContract byContract) {
    const auto record = recordFrom<Record>(bytes);
    const AskedOperation operation(ask, AskKind::Remove, record);
    if (forwarding::isG988()) return byG988(record);
    byContract(record);
    return true;
}

}  // namespace

AskKind kindOf(const UniDataProvisioning& row) {
    using namespace uni_tagging;
    const bool removesAll = row.addFlag == 0;
    if (removesAll || isDeleteRow(row)) return AskKind::Remove;
    // One that takes rules away first, or that the runner carries out.
    const bool mapsDscp = row.innerTreatmentPrio == tag_codes::kPrioFromDscp;
    return row.hasTagRules == 0 || mapsDscp ? AskKind::ProvisionWhole : AskKind::Provision;
}

VeipArguments veipArguments(std::uint16_t gemPort, std::uint16_t bridgeId, std::uint16_t filterType,
                            std::uint8_t entries, const unsigned char* filterList, std::uint16_t trafficType) {
    VeipArguments arguments{gemPort, bridgeId, filterType, entries, {}, trafficType};
    if (state::journal() == nullptr) return arguments;
    const auto* const text = reinterpret_cast<const char*>(filterList);
    arguments.filterList.assign(text, strnlen(text, kMaxFilterList));
    return arguments;
}

void expectLeftQueues() {
    restoredQueues = leftQueues();
}

void dropLeftQueues() {
    if (restoredQueues.empty()) return;
    const state::Operation operation;
    droppedQueues = std::exchange(restoredQueues, {});
    setLeftQueues(without(leftQueues(), droppedQueues));
}

PonRulesAsked ponRulesArguments(const BridgeServiceProvisioning& service) {
    if (state::journal() == nullptr) return {service, {}};
    if (kit::isAskedAgain()) dropLeftQueues();
    return {service, isMulticast(service) ? std::string() : leftQueues()};
}

void noteRestoredQueues(const BridgeServiceProvisioning& service) {
    if (state::journal() == nullptr || restoredQueues.empty() || isMulticast(service)) return;
    const std::string left = leftQueues();
    if (without(left, restoredQueues) != left) kit::noteIncomplete();
}

void enableIfDown(std::uint16_t gemPortId) {
    const std::string* const up = state::journal()->find(kit::keyOf(kit::Entry::GemUp, gemPortId));
    if (up != nullptr && *up == std::string(1, static_cast<char>(kUp[0]))) return;
    unsigned short gemIndex = 0;
    if (ponAdapter().getGemIdxFromGemPortMapEntry(gemPortId, &gemIndex) != 0)
        ponAdapter().enableXGEM(gemPortId, gemIndex);
}

void rememberPbits(const BridgeServiceProvisioning& service) {
    const state::Operation operation;
    engine().setProtocolNumber(service.protocolNumber);
    if (isMulticast(service)) {
        engine().fillBridgeConfigInfo(&service);
    } else {
        engine().fillUpPbitData(&service);
        engine_maps::clearPbitQueues();
    }
}

// The multicast service has rules on the VEIP's device, if there is one when it is asked for. A VEIP that was taken
// away has taken them along, and one that is new has none.
void lookForVeip(const BridgeServiceProvisioning& service, const AskedOperation& operation) {
    if (!isMulticast(service) || !kit::isClaimed(Ask::Veip) || !engine().isInterfaceExisted(kVeipDevice)) return;
    const auto isThere = [](std::string_view effect) {
        const auto rule = looseRuleOfVeip(effect);
        return rule && knownRuleIds(rule->table).count(rule->id) != 0;
    };
    if (!operation.needs(isThere)) operation.runAgain();
}

void noteVeipAhead(const BridgeServiceProvisioning& service) {
    if (state::journal() != nullptr && isMulticast(service) && !kit::isClaimed(Ask::Veip) &&
        engine().isInterfaceExisted(kVeipDevice))
        kit::noteAhead();
}

void forgetRulesAhead() {
    kit::forgetNeedsAhead([](std::string_view effect) { return looseRuleOfVeip(effect).has_value(); });
}

void takePlaceOfBridge(std::uint16_t bridgeId) {
    const kit::Replacement replacement;
    if (engine().isInterfaceExisted(kit::bridgeName(bridgeId).get())) engine().deleteBridgeInterface(bridgeId);
}

void veipTakesPlaceOfBridge(std::uint16_t bridgeId) {
    if (engine().isInterfaceExisted(kVeipDevice)) takePlaceOfBridge(bridgeId);
}

int multicastServicesAsked() {
    int count = 0;
    forEachAsked<PonRulesArguments>(Ask::PonRules,
                                    [&](const auto& asked) { count += isMulticast(asked.service) ? 1 : 0; });
    return count;
}

void restoreHosts() {
    if (!forwarding::isG988()) return;
    forEachAsked<HostArguments>(Ask::IpHost, [](const auto& asked) { forwarding::restoreHost(asked.host); });
}

bool isOperation(state::ByteReader& bytes) {
    switch (static_cast<Ask>(bytes.u8())) {
        case Ask::Tcont:
            return isRecord<TContProvisioning>(bytes);
        case Ask::GemPort:
            return isRecord<XGEMConfig>(bytes);
        case Ask::Bridge:
            return isRecord<BridgeArguments>(bytes);
        case Ask::UniRow:
            return isRecord<UniDataProvisioning>(bytes);
        case Ask::IpHost:
            return isRecord<HostArguments>(bytes);
        case Ask::RemoveIpHost:
            return isRecord<IpHostProvision>(bytes);
        case Ask::Veip:
            return isRecord<VeipArguments>(bytes);
        case Ask::PonRules: {
            const auto rules = recordFrom<PonRulesArguments>(bytes);
            return bytes.done() && readLeftQueues(rules.leftQueues, [](auto, auto, auto) {});
        }
        case Ask::ClearPbits:
        case Ask::RemovePonSide:
        case Ask::RemoveUniSide:
            return isRecord<BridgeServiceProvisioning>(bytes);
    }
    return false;
}

bool isRemoval(std::string_view askAndArguments) {
    state::ByteReader bytes(askAndArguments);
    const auto ask = static_cast<Ask>(bytes.u8());
    return ask >= Ask::ClearPbits ||
           (ask == Ask::UniRow && kindOf(recordFrom<UniDataProvisioning>(bytes)) == AskKind::Remove);
}

bool isForOnce(std::string_view askAndArguments) {
    return !forwarding::isG988() || static_cast<Ask>(state::ByteReader(askAndArguments).u8()) == Ask::RemoveIpHost;
}

bool runOperation(std::string_view askAndArguments) {
    state::ByteReader bytes(askAndArguments);
    using Service = BridgeServiceProvisioning;
    switch (const auto ask = static_cast<Ask>(bytes.u8())) {
        case Ask::Tcont:
            return run<TContProvisioning>(bytes, ask, AskKind::Provision, [](const auto& tcont) {
                if (forwarding::isG988()) return void(forwarding::addTcont(tcont));
                ponAdapter().provisionTCont(tcont);
            });
        case Ask::GemPort:
            return run<XGEMConfig>(bytes, ask, AskKind::Provision, [](const auto& port) {
                if (forwarding::isG988()) return void(forwarding::addGemPort(port));
                ponAdapter().configureXGEM(port);
            });
        case Ask::Bridge:
            return run<BridgeArguments>(bytes, ask, AskKind::Provision, [](const auto& bridge) {
                engine().configureBridge(bridge.bridgeId, bridge.uniPort, false);
            });
        case Ask::PonRules:
            return run<PonRulesArguments>(bytes, ask, AskKind::Provision, [](const auto& rules) {
                const std::string left = leftQueues();
                setLeftQueues(without(rules.leftQueues, droppedQueues));
                engine().configureAniTagRules(&rules.service);
                setLeftQueues(left);
            });
        case Ask::UniRow:
            return changeRow(recordFrom<UniDataProvisioning>(bytes));
        case Ask::IpHost:
            return provisionHost(recordFrom<HostArguments>(bytes));
        case Ask::Veip:
            return run<VeipArguments>(bytes, ask, AskKind::Provision, [](const auto& veip) {
                const auto* const list = reinterpret_cast<const unsigned char*>(veip.filterList.c_str());
                if (forwarding::isG988())
                    return void(forwarding::addVeip(engine(), {veip.gemPort, veip.bridgeId, veip.filterType,
                                                               veip.entries, list, veip.trafficType}));
                engine().gpon_createRules(veip.gemPort, veip.bridgeId, veip.filterType, veip.entries, list,
                                          veip.trafficType);
            });
        case Ask::ClearPbits:
            return runRemoval<Service>(
                bytes, ask, [](const auto& service) { return forwarding::removePonPorts(service); },
                [](const auto& service) { engine().unsetPbitData(&service); });
        case Ask::RemovePonSide:
            return runRemoval<Service>(
                bytes, ask, [](const auto& service) { return forwarding::removePonSide(engine(), service); },
                [](const auto& service) { engine().deprovisionAniSideBridge(&service); });
        case Ask::RemoveUniSide:
            return runRemoval<Service>(
                bytes, ask, [](const auto& service) { return forwarding::removeUniSide(engine(), service.bridgeId); },
                [](const auto& service) { engine().deprovisionUniSideBridge(&service); });
        case Ask::RemoveIpHost:
            return runRemoval<IpHostProvision>(
                bytes, ask, [](const auto& host) { return forwarding::removeIpHost(engine(), host); },
                [](const auto& host) { engine().deprovisionIpHost(&host); });
    }
    return true;
}

}  // namespace restart
