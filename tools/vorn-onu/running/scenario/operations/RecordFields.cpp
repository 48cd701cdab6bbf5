#include "running/scenario/operations/RecordFields.h"

#include <cstring>

#include <nlohmann/json.hpp>

#include "hal/ProvisioningRecords.h"

namespace vorn_onu {

namespace {

// ---- ranges and the words of G.988 ----

const Numbers kId{};
const Numbers kTpid{0, 65535, {}, false, true};
const Numbers kTags{0, 65535, {{"untagged", 0}, {"single", 1}, {"double", 2}}};
const Numbers kEtherType{
    0,
    65535,
    {{"none", 0}, {"ipv4", 1}, {"pppoeDiscovery", 2}, {"arp", 3}, {"pppoeSession", 4}, {"ipv6", 5}, {"eapol", 6}}};
const Numbers kRemove{0, 65535, {{"none", 0}, {"outer", 1}, {"both", 2}, {"discard", 3}}};
const Numbers kTagAction{
    0, 65535, {{"push", 1}, {"pop", 2}, {"none", 3}, {"pushTwo", 4}, {"popTwo", 5}, {"translate", 6}}};
const Numbers kDownstream{0, 65535, {{"inverse", 0}, {"none", 1}, {"discard", 8}}};

const Numbers kFilterPrio{0, 15, {{"any", 8}, {"default", 14}, {"none", 15}}};
const Numbers kFilterVid{0, 8191, {{"any", 4096}}};
const Numbers kFilterTpid{0, 7, {{"any", 0}, {"0x8100", 4}, {"input", 5}, {"inputDei0", 6}, {"inputDei1", 7}}};
const Numbers kTreatPrio{0, 15, {{"copyInner", 8}, {"copyOuter", 9}, {"dscp", 10}, {"none", 15}}};
const Numbers kTreatVid{0, 8191, {{"copyInner", 4096}, {"copyOuter", 4097}}};
const Numbers kTreatTpid{0,
                         7,
                         {{"copyInner", 0},
                          {"copyOuter", 1},
                          {"outputDeiInner", 2},
                          {"output", 3},
                          {"0x8100", 4},
                          {"outputDei0", 6},
                          {"outputDei1", 7}}};

const Numbers kTrafficModel{0, 6, {{"1-filter", 2}, {"1-map-filter", 3}, {"n-filter", 5}, {"n-map-filter", 6}}};
const Numbers kProtocol{0, 255, {{"none", 0}, {"igmp", 2}}};

Field tciList() {
    const auto store = [](void* record, const Json& value) {
        auto& service = *static_cast<BridgeServiceProvisioning*>(record);
        std::size_t entries = 0;
        const std::string text = tciListText(value, &entries);
        if (text.size() > sizeof service.vlanTciFilterList) throw Problem("must be at most 256 bytes");
        std::memset(service.vlanTciFilterList, 0, sizeof service.vlanTciFilterList);
        std::memcpy(service.vlanTciFilterList, text.data(), text.size());
        service.numberOfEntries = static_cast<std::uint8_t>(entries);
    };
    const auto load = [](const void* record) {
        const auto& list = static_cast<const BridgeServiceProvisioning*>(record)->vlanTciFilterList;
        return tciListJson({list, strnlen(list, sizeof list)});  // may fill its field to the last character
    };
    return {"vlanTciFilterList", optional(), "VLAN tagging filter list: [{\"pbits\", \"dei\", \"vid\"}] or hex text",
            tciListSchema(),     store,      load};
}

Field pbitMap() {
    const auto store = [](void* record, const Json& value) {
        static_cast<BridgeServiceProvisioning*>(record)->pbitMap = pbitMapOf(value);
    };
    const auto load = [](const void* record) {
        return pbitMapJson(static_cast<const BridgeServiceProvisioning*>(record)->pbitMap);
    };
    const auto storeUnchecked = [](void* record, const Json& value) {
        static_cast<BridgeServiceProvisioning*>(record)->pbitMap = pbitMapOf(value, 255);
    };
    return {"pbitMap",
            optional(),
            "GEM port and upstream queue of each p-bit: [{\"pbit\", \"gemPort\", \"queue\"}]; a p-bit that is left out "
            "keeps what an earlier record gave it; \"untagged\" is for forwarding by G.988",
            pbitMapSchema(),
            store,
            load,
            storeUnchecked};
}

std::vector<Field> extendedRowFields() {
    using R = BridgeServiceProvisioning;
    return {
        field("inputTpid", &R::inputTpid, kTpid, otherwise("0x8100"), "TPID of tagged frames that come in"),
        field("outputTpid", &R::outputTpid, kTpid, otherwise("0x8100"), "TPID that treatments may write"),
        field("dsMode", &R::dsMode, kDownstream, otherwise("inverse"), "downstream mode of the tagging row"),
        field("filterTagCount", &R::filterTagCount, kTags, otherwise("untagged"), "tags that the row filters on"),
        field("tagTreatment", &R::tagTreatment, kTagAction, otherwise("none"), "what the row does to the tags"),
        field("etherTypeFilter", &R::etherTypeFilter, kEtherType, otherwise("none"), "EtherType to match"),
        field("outerTpidFilter", &R::outerTpidFilter, kFilterTpid, otherwise("any"), "TPID and DEI of the outer tag"),
        field("outerVlanIdFilter", &R::outerVlanIdFilter, kFilterVid, otherwise("any"), "VID of the outer tag"),
        field("outerVlanPrioFilter", &R::outerVlanPrioFilter, kFilterPrio, otherwise("none"),
              "p-bits of the outer tag"),
        field("innerTpidFilter", &R::innerTpidFilter, kFilterTpid, otherwise("any"), "TPID and DEI of the inner tag"),
        field("innerVlanIdFilter", &R::innerVlanIdFilter, kFilterVid, otherwise("any"), "VID of the inner tag"),
        field("innerVlanPrioFilter", &R::innerVlanPrioFilter, kFilterPrio, otherwise("none"),
              "p-bits of the inner tag"),
        field("removeType", &R::removeType, kRemove, otherwise("none"), "tags removed upstream"),
        field("outerTpidAction", &R::outerTpidAction, kTreatTpid, otherwise("0x8100"), "TPID written to the outer tag"),
        field("outerVlanIdAction", &R::outerVlanIdAction, kTreatVid, otherwise(0), "VID written to the outer tag"),
        field("outerVlanPrioAction", &R::outerVlanPrioAction, kTreatPrio, otherwise("none"), "p-bits of an outer tag"),
        field("innerTpidAction", &R::innerTpidAction, kTreatTpid, otherwise("0x8100"), "TPID written to the inner tag"),
        field("innerVlanIdAction", &R::innerVlanIdAction, kTreatVid, otherwise(0), "VID written to the inner tag"),
        field("innerVlanPrioAction", &R::innerVlanPrioAction, kTreatPrio, otherwise("none"), "p-bits of an inner tag"),
    };
}

}  // namespace

std::vector<Field> bridgeServiceFields(const std::set<std::string>& requiredNames) {
    using R = BridgeServiceProvisioning;
    std::vector<Field> fields = {
        field("gemPortId", &R::gemPortId, kId, otherwise(0), "GEM port of the service"),
        field("bridgeId", &R::bridgeId, kId, optional(), "number of the bridge: 3 is br3"),
        tciList(),
        field("forwardOperation", &R::forwardOperation, Numbers{0, 33}, otherwise(0),
              "forward operation of the VLAN tagging filter"),
        field("numberOfEntries", &R::numberOfEntries, Numbers{0, 12}, optional(),
              "entries of vlanTciFilterList; left out: as many as it has"),
        field("trafficModel", &R::trafficModel, kTrafficModel, otherwise("1-filter"),
              "mapping and filter model; 2 and 5 make rules on the PON side"),
        pbitMap(),
        field("protocolNumber", &R::protocolNumber, kProtocol, otherwise("none"), "IP protocol to filter on"),
        field("isMulticast", &R::isMulticast, kFlag, otherwise(false), "a multicast service (with multicastService)"),
        field("multicastService", &R::multicastService, kFlag, otherwise(false),
              "a multicast service (with isMulticast)"),
        field("restoreVlanFlows", &R::restoreVlanFlows, kFlag, otherwise(false),
              "recreate the VLAN flows after the p-bit data is removed"),
    };
    for (Field& row : extendedRowFields()) fields.insert(fields.end() - 1, std::move(row));
    for (Field& one : fields)
        if (requiredNames.count(one.name) != 0) one.presence = required();
    return fields;
}

std::vector<Field> uniDataFields() {
    using R = UniDataProvisioning;
    return {
        field("addFlag", &R::addFlag, kFlag, otherwise(true), "true adds the row, false removes the UNI's rules"),
        field("hasTagRules", &R::hasTagRules, kFlag, otherwise(true), "false: no row, every frame passes as it is"),
        field("bridgeId", &R::bridgeId, kId, required(), "number of the bridge: 3 is br3"),
        field("uniPort", &R::uniPort, kId, required(),
              "UNI port of the record; 1 and 2 are exchanged on their way to the device"),
        field("inputTpid", &R::inputTpid, kTpid, otherwise("0x8100"), "TPID of tagged frames that come in"),
        field("outputTpid", &R::outputTpid, kTpid, otherwise("0x8100"), "TPID that treatments may write"),
        field("downstreamMode", &R::downstreamMode, kDownstream, otherwise("inverse"), "downstream mode of the row"),
        field("filterType", &R::filterType, kTags, otherwise("untagged"), "tags that the row filters on"),
        field("tagAction", &R::tagAction, kTagAction, otherwise("none"), "what the row does to the tags"),
        field("etherType", &R::etherType, kEtherType, otherwise("none"), "EtherType to match"),
        field("outerFilterTpidDe", &R::outerFilterTpidDe, kFilterTpid, otherwise("any"),
              "TPID and DEI of the outer tag"),
        field("outerFilterVlanId", &R::outerFilterVlanId, kFilterVid, otherwise("any"), "VID of the outer tag"),
        field("outerFilterPrio", &R::outerFilterPrio, kFilterPrio, otherwise("none"), "p-bits of the outer tag"),
        field("innerFilterTpidDe", &R::innerFilterTpidDe, kFilterTpid, otherwise("any"),
              "TPID and DEI of the inner tag"),
        field("innerFilterVlanId", &R::innerFilterVlanId, kFilterVid, otherwise("any"), "VID of the inner tag"),
        field("innerFilterPrio", &R::innerFilterPrio, kFilterPrio, otherwise("none"), "p-bits of the inner tag"),
        field("removeType", &R::removeType, kRemove, otherwise("none"), "tags removed upstream"),
        field("outerTreatmentTpidDe", &R::outerTreatmentTpidDe, kTreatTpid, otherwise("0x8100"),
              "TPID of an outer tag"),
        field("outerTreatmentVlanId", &R::outerTreatmentVlanId, kTreatVid, otherwise(0),
              "VID written to the outer tag"),
        field("outerTreatmentPrio", &R::outerTreatmentPrio, kTreatPrio, otherwise("none"), "p-bits of an outer tag"),
        field("innerTreatmentTpidDe", &R::innerTreatmentTpidDe, kTreatTpid, otherwise("0x8100"),
              "TPID of an inner tag"),
        field("innerTreatmentVlanId", &R::innerTreatmentVlanId, kTreatVid, otherwise(0),
              "VID written to the inner tag"),
        field("innerTreatmentPrio", &R::innerTreatmentPrio, kTreatPrio, otherwise("none"), "p-bits of an inner tag"),
    };
}

std::vector<Field> ipHostFields() {
    using R = IpHostProvision;
    return {
        field("allocId", &R::allocId, kId, otherwise(0), "alloc-id, for the log"),
        field("gemId", &R::gemId, kId, otherwise(0), "GEM port, for the log"),
        field("bridgeId", &R::bridgeId, kId, required(), "number of the bridge: 3 is br3"),
        field("uniPort", &R::uniPort, kId, required(), "second number of the host's device: br3.2"),
        field("macAddress", &R::macAddress, otherwise(""), "host MAC, used when the board has no first MAC"),
        field("ipOptions", &R::ipOptions, kFlag, otherwise(0), "IP options, for the log"),
        field("ipAddress", &R::ipAddress, otherwise(""), "IPv4 address"),
        field("subnetMask", &R::subnetMask, otherwise(""), "IPv4 mask"),
        field("gateway", &R::gateway, otherwise(""), "default gateway"),
        field("dhcpEnabled", &R::dhcpEnabled, kFlag, otherwise(false), "true: the address comes from DHCP"),
        field("useSharedBridge", &R::useSharedBridge, kFlag, otherwise(false), "true: join the shared bridge brv"),
    };
}

std::vector<Field> tcontFields() {
    using R = TContProvisioning;
    return {
        field("allocId", &R::allocId, Numbers{0, 65535, {{"none", 65535}}}, required(), "alloc-id to bind"),
        field("tContIndex", &R::tContIndex, kId, required(), "hardware T-CONT index"),
        field("policy", &R::policy, Numbers{0, 255}, otherwise(0), "scheduling policy, carried along"),
    };
}

std::vector<Field> gemPortFields() {
    using R = XGEMConfig;
    return {
        field("tContAllocId", &R::tContAllocId, Numbers{0, 65535, {{"none", 65535}}}, otherwise("none"),
              "alloc-id of the port's T-CONT; none: a downstream-only port"),
        field("xgemPortId", &R::xgemPortId, kId, required(), "GEM port id"),
        field("upstreamQueue", &R::upstreamQueue, kId, otherwise(0), "queue 0..7 on the T-CONT"),
        field("qosArg", &R::qosArg, kId, otherwise(0), "carried along"),
        field("schedPolicy", &R::schedPolicy, Numbers{0, 255, {{"strict", 1}, {"weighted", 2}}}, otherwise("strict"),
              "how the queue is served"),
        field("priority", &R::priority, Numbers{0, 255}, otherwise(0), "strict priority of the queue"),
        field("weight", &R::weight, Numbers{0, 255}, otherwise(0), "weight of the queue"),
    };
}

std::vector<Field> gemStatusFields() {
    using R = XgemStatusRecord;
    return {
        field("xgemPortId", &R::xgemPortId, kId, required(), "GEM port id"),
        field("enable", &R::enable, kFlag, required(), "true sets the port up, false down"),
    };
}

}  // namespace vorn_onu
