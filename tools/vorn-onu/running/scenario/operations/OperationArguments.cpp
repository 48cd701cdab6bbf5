#include "running/scenario/operations/OperationArguments.h"

#include <nlohmann/json.hpp>

namespace vorn_onu {

ValueArguments<BridgeArguments> bridgeArguments() {
    using R = BridgeArguments;
    return {{field("bridgeId", &R::bridgeId, Numbers{}, required(), "number of the bridge: 3 is br3"),
             field("uniPort", &R::uniPort, Numbers{}, required(),
                   "0: the bridge with its PON side; from 1: that UNI port joins it")}};
}

ValueArguments<ActionArgument> actionArgument() {
    return {{field("action", &ActionArgument::action, Numbers{0, kMaxAction}, required(), "action code")}};
}

ValueArguments<FrameSizeArgument> frameSizeArgument() {
    return {{field("size", &FrameSizeArgument::size, Numbers{0, 0xFFFFFFFF}, otherwise(0), "largest frame in bytes")}};
}

VeipArguments::VeipArguments(std::uint16_t gem, std::uint16_t bridge, std::uint16_t filter, std::uint8_t entries,
                             const unsigned char* list, std::uint16_t traffic)
    : gemPort(gem), bridgeId(bridge), filterType(filter), numberOfEntries(entries), trafficType(traffic) {
    filterList.reset();
    if (list != nullptr) filterList = reinterpret_cast<const char*>(list);
}

std::tuple<std::uint16_t, std::uint16_t, std::uint16_t, std::uint8_t, const unsigned char*, std::uint16_t>
VeipArguments::values() const {
    const char* list = filterList ? filterList->c_str() : nullptr;
    return {gemPort, bridgeId, filterType, numberOfEntries, reinterpret_cast<const unsigned char*>(list), trafficType};
}

ValueArguments<VeipArguments> veipArguments() {
    using R = VeipArguments;
    const auto storeList = [](void* record, const Json& value) {
        auto& veip = *static_cast<R*>(record);
        std::size_t entries = 0;
        veip.filterList.reset();
        if (!value.is_null()) veip.filterList = tciListText(value, &entries);
        veip.numberOfEntries = static_cast<std::uint8_t>(entries);
    };
    const auto loadList = [](const void* record) {
        const auto& list = static_cast<const R*>(record)->filterList;
        return list ? tciListJson(*list) : Json(nullptr);
    };
    Field trafficType =
        field("trafficType", &R::trafficType,
              Numbers{0, 65535, {{"1-filter", 2}, {"1-map-filter", 3}, {"n-filter", 5}, {"n-map-filter", 6}}},
              required(), "mapping and filter model; 2, 3, 5 and 6 make the VEIP");
    // Recordings have it as a number.
    trafficType.load = [](const void* record) { return Json(static_cast<const R*>(record)->trafficType); };
    return {{
        field("gemPort", &R::gemPort, Numbers{}, required(), "GEM port of the service"),
        field("bridgeId", &R::bridgeId, Numbers{}, required(), "number of the bridge"),
        field("filterType", &R::filterType, Numbers{}, otherwise(0), "forward operation, carried along"),
        Field{"filterList", optional(),
              "VLAN tagging filter list: [{\"pbits\", \"dei\", \"vid\"}] or hex text; null: a null pointer",
              Json{{"anyOf", Json::array({tciListSchema(), Json{{"type", "null"}}})}}, storeList, loadList},
        field("numberOfEntries", &R::numberOfEntries, Numbers{0, 255}, optional(),
              "entries of filterList; left out: as many as it has"),
        trafficType,
    }};
}

Json countersJson(const EthernetPmDirection& counters) {
    return {{"octets", counters.octets},
            {"frames", counters.frames},
            {"multicastFrames", counters.multicastFrames},
            {"broadcastFrames", counters.broadcastFrames},
            {"errors", counters.errors},
            {"discards", counters.discards}};
}

Json countersJson(const IntfStats& counters) {
    return {{"rxOctets", counters.rxOctets},     {"rxFrames", counters.rxFrames},    {"rxErrors", counters.rxErrors},
            {"rxDiscards", counters.rxDiscards}, {"txOctets", counters.txOctets},    {"txFrames", counters.txFrames},
            {"txErrors", counters.txErrors},     {"txDiscards", counters.txDiscards}};
}

}  // namespace vorn_onu
