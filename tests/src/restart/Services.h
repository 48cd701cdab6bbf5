// Services of several kinds, and the board of a daemon that provisions them.
#ifndef TESTS_RESTART_SERVICES_H
#define TESTS_RESTART_SERVICES_H

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "src/restart/Killing.h"

namespace restart_tests {

using Calls = std::vector<Work>;

constexpr const char* kPorts[] = {"sid1", "sid0", "sid2", "sid3"};  // of UNI ports 1 to 4

enum class Kind {
    Lan,        // untagged or tagged frames of a UNI
    Dscp,       // untagged frames of a UNI by their DSCP, which the runner does
    Veip,       // of the gateway, on bridge 0
    Multicast,  // downstream of a UNI
};

// A multicast service.
inline BridgeServiceProvisioning group(std::uint16_t bridge, std::uint16_t gemPort, std::uint16_t vid) {
    BridgeServiceProvisioning record{};
    record.gemPortId = gemPort;
    record.bridgeId = bridge;
    record.isMulticast = record.multicastService = 1;
    record.trafficModel = 2;
    record.pbitMap[0] = {gemPort, 2};
    record.inputTpid = record.outputTpid = 0x8100;
    record.filterTagCount = 1;
    record.outerVlanIdFilter = record.outerVlanIdAction = record.innerVlanIdAction = 4096;
    record.outerVlanPrioFilter = record.outerVlanPrioAction = record.innerVlanPrioAction = 15;
    record.innerVlanIdFilter = vid;
    record.innerVlanPrioFilter = 4;
    return record;
}

// A service of its own T-CONT, GEM port, bridge, VID and UNI.
struct Service {
    std::uint16_t number;  // from 0
    std::uint16_t vid;
    Kind kind = Kind::Lan;

    std::uint16_t gemPort() const { return static_cast<std::uint16_t>(kGemPort + number); }
    std::uint16_t bridge() const { return static_cast<std::uint16_t>(kind == Kind::Veip ? 0 : 3 + number); }
    std::uint16_t uniPort() const { return static_cast<std::uint16_t>(1 + number % 4); }
    Calls calls() const {
        Calls all = ponCalls();
        for (Work& call : ownCalls()) all.push_back(std::move(call));
        return all;
    }
    // What configureAniTagRules is called with.
    BridgeServiceProvisioning record() const {
        return kind == Kind::Multicast ? group(bridge(), gemPort(), vid) : listed();
    }

private:
    Calls ponCalls() const {
        XGEMConfig port = gem();
        port.tContAllocId = static_cast<std::uint16_t>(256 + number);
        port.xgemPortId = gemPort();
        const TContProvisioning tcont{port.tContAllocId, static_cast<std::uint16_t>(1 + number), 0};
        return {asks(&VornHal::vorn_omci_hal_tcont_set, tcont), asks(&VornHal::vorn_omci_hal_gemflow_add, port),
                asksForBridge(bridge())};
    }
    Calls ownCalls() const {
        const Work rules = asks(&VornHal::vorn_omci_hal_configureAniTagRules, record());
        switch (kind) {
            case Kind::Veip:
                return {rules, [own = *this](VornHal& hal) {
                            const std::string list = own.filterList();
                            const auto* const text = reinterpret_cast<const unsigned char*>(list.c_str());
                            hal.vorn_omci_hal_veip_createRules(own.gemPort(), own.bridge(), 0, 1, text, 2);
                        }};
            case Kind::Multicast:
                return {asksForBridge(bridge(), uniPort()), rules};
            default:
                return {rules, asks(&VornHal::vorn_omci_hal_filter_flow_add, uniRow())};
        }
    }

    std::string filterList() const {
        char text[8] = {};
        std::snprintf(text, sizeof text, "%04x", unsigned{vid});
        return text;
    }
    BridgeServiceProvisioning listed() const {
        BridgeServiceProvisioning record = service();
        record.gemPortId = gemPort();
        record.bridgeId = bridge();
        record.pbitMap[0].first = gemPort();
        std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%s", filterList().c_str());
        return record;
    }
    UniDataProvisioning uniRow() const {
        UniDataProvisioning record = row(true);
        record.bridgeId = bridge();
        record.uniPort = uniPort();
        // The first on a port takes its untagged frames, the second one those of its own VID.
        if (number >= 4) {
            record.filterType = 1;
            record.innerFilterPrio = 8;
            record.innerFilterVlanId = vid;
        }
        record.innerTreatmentVlanId = vid;
        record.innerTreatmentPrio = kind == Kind::Dscp && number < 4 ? 10 : 0;
        return record;
    }
};

inline Calls callsOf(const std::vector<Service>& services) {
    Calls all;
    for (const Service& one : services)
        for (Work& call : one.calls()) all.push_back(std::move(call));
    return all;
}

inline std::vector<Service> services(std::uint16_t count) {
    std::vector<Service> some;
    for (std::uint16_t i = 0; i < count; ++i) some.push_back({i, static_cast<std::uint16_t>(100 + i)});
    return some;
}

class ServicesFixture : public RestartFixture {
protected:
    static void make(Daemon& daemon, const Calls& calls) {
        for (const Work& call : calls) call(daemon.hal());
    }
    // GEM indexes and the order of rules and keys in a table go by what was there before: rules name the GEM port, in
    // the order of their texts. What is left of services that were taken away is settings that serve nobody.
    static nlohmann::json serving();
    // The board after a boot, of a daemon that never died.
    nlohmann::json neverDied(const Calls& calls);
    void liveFirst(const Calls& calls) {
        live([&](VornHal& hal) {
            for (const Work& call : calls) call(hal);
        });
    }
};

std::string difference(const nlohmann::json& one, const nlohmann::json& other);

}  // namespace restart_tests

#endif
