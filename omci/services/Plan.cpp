#include "omci/services/Plan.h"

#include "omci/message/Lookup.h"
#include "omci/services/Numbers.h"

namespace omci::services {

namespace {

constexpr InstanceId kFirstBridge = 0;
// 0xFFFF cannot be the number of an entity.
constexpr std::uint16_t kBridgeWithoutNumber = 0xFFFF;

}  // namespace

Planner::Part Planner::partFor(ClassId classId) {
    static constexpr std::pair<ClassId, Part> kParts[] = {
        {class_id::kTCont, &Planner::planTCont},
        {class_id::kGemPort, &Planner::planGemPort},
        {class_id::kBridge, &Planner::planBridge},
        {class_id::kBridgePort, &Planner::planBridgePort},
        {class_id::kEthernetUni, &Planner::planEthernetUni},
        {class_id::kVeip, &Planner::planVeip},
        {class_id::kIpHost, &Planner::planIpHost},
    };
    return lookUp(kParts, classId, Part{nullptr});
}

void Planner::plan(EntityKey key) {
    if (const Part part = partFor(key.classId)) (this->*part)(key.instance);
}

UserPorts Planner::usersOf(InstanceId bridge) {
    reader_.dependOnUsers({class_id::kBridge, bridge});
    return context_.usersOf(bridge);
}

std::uint16_t Planner::bridgeNumber(InstanceId bridge) {
    if (usersOf(bridge).veips != 0) return kVeipBridge;
    return bridge == kFirstBridge ? kBridgeWithoutNumber : bridge;
}

void Planner::want(Piece piece) {
    piece.cause.entities = reader_.found();
    wanted_.pieces.push_back(std::move(piece));
}

}  // namespace omci::services
