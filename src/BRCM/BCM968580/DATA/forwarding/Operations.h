// The HAL's operations with forwarding by G.988: devices and bridges are the engine's, rules are those of the planner.
//
// Each answers whether it was done. If not, devices, flows and rules are as they were, and one line of the log names
// the row or the device that was refused, and what could not be put back.
#ifndef BRCM_BCM968580_DATA_FORWARDING_OPERATIONS_H
#define BRCM_BCM968580_DATA_FORWARDING_OPERATIONS_H

#include <cstdint>

#include "BRCM/BCM968580/DATA/forwarding/Devices.h"
#include "BRCM/BCM968580/DATA/g988/Services.h"
#include "hal/BridgeRecords.h"

class EtherSwitchBcm380;

namespace forwarding {

// filter_flow_add, with addFlag and without.
bool setUni(EtherSwitchBcm380& engine, const UniDataProvisioning& record);
bool removeUni(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId);
// Ports that the bridge has lost with its devices join it again.
bool configureBridge(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort);
bool setPonPort(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record);
bool removePonPorts(const BridgeServiceProvisioning& record);
bool removePonSide(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record);
// All ports of the bridge, not the first one alone.
bool removeUniSide(EtherSwitchBcm380& engine, std::uint16_t bridgeId);
// Rules of what was restored and has not been asked for since go; devices are the caller's.
g988::Outcome settle();

}  // namespace forwarding

#endif
