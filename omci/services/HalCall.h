// Operations of the HAL as values: what is to be asked, before anybody asks.
#ifndef OMCI_SERVICES_HAL_CALL_H
#define OMCI_SERVICES_HAL_CALL_H

#include <cstdint>
#include <string>
#include <variant>

#include "hal/ProvisioningRecords.h"

namespace omci::services {

enum class Operation : std::uint8_t {
    kSetOmciAction,
    kTContSet,
    kTContReset,
    kGemFlowAdd,
    kGemFlowDel,
    kConfigureBridge,
    kConfigureAniTagRules,
    kUnsetPbitData,
    kDeprovisionAniSideBridge,
    kVeipCreateRules,
    kVeipDeleteRules,
    kFilterFlowAdd,
    kProvisionIpHost,
    kDeprovisionIpHost,
    kSetPortStatus,
    kSetPortMode,
    kIsolatePort,
    kSetAgeingTime,
};

struct OmciAction {
    int action = 0;
};
struct BridgeSide {
    std::uint16_t bridgeId = 0;
    std::uint16_t uniPort = 0;
};
struct VeipRules {
    std::uint16_t gemPort = 0;
    std::uint16_t bridgeId = 0;
    std::uint16_t filterType = 0;
    std::uint8_t numberOfEntries = 0;
    std::string filterList;  // hex text, four digits a TCI
    std::uint16_t trafficType = 0;
};
struct PortStatus {
    std::uint16_t port = 0;  // from 1
    bool up = true;
};
struct PortMode {
    std::uint16_t port = 0;
    std::uint16_t speed = 0;  // Mbit/s, 0: negotiated
    std::uint8_t duplex = 0;  // 0: negotiated, 1: half, 2: full
};
// On a bridge, from the other isolated ports of it.
struct PortIsolation {
    std::uint16_t bridgeId = 0;
    std::uint16_t port = 0;  // from 1
    bool isolated = true;
};
// How long a bridge knows an address that it does not hear any more.
struct BridgeAgeing {
    std::uint16_t bridgeId = 0;
    std::uint32_t seconds = 0;  // 0: it knows none
};

using HalRecord =
    std::variant<OmciAction, TContProvisioning, XGEMConfig, BridgeSide, BridgeServiceProvisioning, VeipRules,
                 UniDataProvisioning, IpHostProvision, PortStatus, PortMode, PortIsolation, BridgeAgeing>;

struct HalCall {
    Operation operation;
    HalRecord record;
};
bool operator==(const HalCall& one, const HalCall& other);
inline bool operator!=(const HalCall& one, const HalCall& other) {
    return !(one == other);
}

// The operation's name in hal/VornHal.h, or that of the device or bridge function.
const char* nameOf(Operation operation);

}  // namespace omci::services

#endif
