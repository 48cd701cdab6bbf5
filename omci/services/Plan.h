// What single managed entities mean for the HAL. Each function plans for one entity, reads what it hangs on, and adds
// what is wanted; an entity that is not complete (yet) wants nothing.
#ifndef OMCI_SERVICES_PLAN_H
#define OMCI_SERVICES_PLAN_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "omci/services/AniRules.h"
#include "omci/services/Piece.h"
#include "omci/services/Reader.h"
#include "omci/services/TaggingTable.h"

namespace omci::services {

// The board, as the HAL numbers it.
struct Settings {
    std::uint16_t firstTCont = 1;       // hardware index of the T-CONT with the lowest instance; 0 carries OMCI
    std::uint16_t ethernetPorts = 4;    // that tag rules are made for, from 1
    std::uint16_t switchedPorts = 2;    // that the HAL switches up and down, from 1
    std::uint16_t firstIpHostPort = 6;  // port number of the IP host with instance 0
    bool standardForwarding = false;    // it forwards as G.988 says, not by its contract (hal/HalForwarding.h)
    bool isolatesPorts = false;         // the performer keeps ports of a bridge apart
    bool setsAgeing = false;            // the performer sets how long bridges know an address
};

// Numbers of a bridge's ports to the user's side.
struct UserPorts {
    int all = 0;
    int veips = 0;
    int ethernetPorts = 0;
};

// What planning needs beside the MIB.
struct PlanContext {
    Settings settings;
    std::string hostMac;                               // of the management host
    std::map<InstanceId, UserPorts> userPorts;         // by bridge
    std::map<InstanceId, TaggingTable> taggingTables;  // by instance of the extended tagging entity

    UserPorts usersOf(InstanceId bridge) const {
        const auto found = userPorts.find(bridge);
        return found != userPorts.end() ? found->second : UserPorts{};
    }
};

// A bridge port whose bridge exists.
struct BridgePort {
    const Entity* port;
    InstanceId bridge;
    std::uint16_t number;  // of the HAL's bridge
};

class Planner {
public:
    Planner(Reader& reader, PlanContext& context, Wanted& wanted)
        : reader_(reader), context_(context), wanted_(wanted) {}

    // True when entities of this class are planned.
    static bool plans(ClassId classId) { return partFor(classId) != nullptr; }
    void plan(EntityKey key);

private:
    using Part = void (Planner::*)(InstanceId instance);
    static Part partFor(ClassId classId);  // null where nothing is planned

    // PlanPon.cpp
    void planTCont(InstanceId instance);
    void planGemPort(InstanceId instance);
    std::uint16_t upstreamQueue(const Entity& gemPort);
    void planRateLimit(const Entity& entity, AttributeNumber pointer);

    // PlanAni.cpp
    void planBridge(InstanceId instance);
    void planAgeing(const Entity& bridge);
    void planBridgePort(InstanceId instance);
    void planMapper(const BridgePort& port, InstanceId instance);
    void planGemInterworking(const BridgePort& port, InstanceId instance);
    const Entity* gemPortOf(InstanceId interworking);
    void planUntagged(const Entity& mapper, std::array<std::uint16_t, 8>& gemPorts, std::vector<GemService>& services);
    // multicast: downstream, on these VLANs where there is no filter.
    void planAniService(const BridgePort& port, const GemService& service,
                        const std::optional<std::set<std::uint16_t>>& multicast = {});
    void refuseTagging(EntityKey tagged, const char* reason);
    void planUserPort(const Entity& port);
    void refuseAddressFilters(InstanceId bridgePort);

    // PlanMulticast.cpp
    void planMulticast(const BridgePort& port, InstanceId instance);
    std::set<std::uint16_t> multicastVlans(const BridgePort& port);
    void addVlans(InstanceId profile, std::set<std::uint16_t>& vlans);

    // PlanUni.cpp
    void planEthernetUni(InstanceId instance);
    std::optional<BridgePort> bridgePortOf(EntityKey termination);
    void planMember(EntityKey uni, UniPort member, InstanceId bridgePort);
    void planIsolation(InstanceId bridge, UniPort member);
    bool addRows(EntityKey uni, InstanceId bridgePort, UniPort member, UniRules& rules);
    void addTaggingOperation(const Entity& operation, UniPort member, UniRules& rules);
    void checkRules(UniRules& rules);
    void planVeip(InstanceId instance);

    // PlanPorts.cpp
    void planPort(const Entity& uni, std::uint16_t port);
    void planIpHost(InstanceId instance);

    UserPorts usersOf(InstanceId bridge);
    // Number of the HAL's bridge: 0 is the one with the VEIP.
    std::uint16_t bridgeNumber(InstanceId bridge);
    // A piece, wanted because of what has been found so far.
    void want(Piece piece);
    void problem(EntityKey entity, const char* reason) { wanted_.problem(entity, reason); }

    Reader& reader_;
    PlanContext& context_;
    Wanted& wanted_;
};

}  // namespace omci::services

#endif
