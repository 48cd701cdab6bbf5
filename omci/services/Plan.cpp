#include "omci/services/Plan.h"

#include "omci/services/Numbers.h"

namespace omci::services {

namespace {

constexpr InstanceId kFirstBridge = 0;
// 0xFFFF cannot be the number of an entity.
constexpr std::uint16_t kBridgeWithoutNumber = 0xFFFF;

}  // namespace

bool Planner::plans(ClassId classId) {
    switch (classId) {
        case class_id::kTCont:
        case class_id::kGemPort:
        case class_id::kBridge:
        case class_id::kBridgePort:
        case class_id::kEthernetUni:
        case class_id::kVeip:
        case class_id::kIpHost:
            return true;
        default:
            return false;
    }
}

void Planner::plan(EntityKey key) {
    switch (key.classId) {
        case class_id::kTCont:
            return planTCont(key.instance);
        case class_id::kGemPort:
            return planGemPort(key.instance);
        case class_id::kBridge:
            return planBridge(key.instance);
        case class_id::kBridgePort:
            return planBridgePort(key.instance);
        case class_id::kEthernetUni:
            return planEthernetUni(key.instance);
        case class_id::kVeip:
            return planVeip(key.instance);
        case class_id::kIpHost:
            return planIpHost(key.instance);
        default:
            return;
    }
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
