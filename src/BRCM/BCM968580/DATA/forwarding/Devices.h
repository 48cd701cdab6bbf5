// Devices of services that forward by G.988: made, taken away and given back. The engine's own functions do not say
// whether kernel and kit have done what they were asked for; these do.
#ifndef BRCM_BCM968580_DATA_FORWARDING_DEVICES_H
#define BRCM_BCM968580_DATA_FORWARDING_DEVICES_H

#include <cstdint>
#include <optional>
#include <string>

#include "BRCM/BCM968580/DATA/g988/Services.h"
#include "hal/BridgeRecords.h"
#include "kit/DeviceNames.h"

class EtherSwitchBcm380;

namespace forwarding {

// Of this process.
g988::Services& services();
// Whether a multicast service of the bridge comes in the GEM port.
bool hasMulticast(std::uint16_t bridgeId, std::uint16_t gemPortId);

// Nothing where the kernel does not say.
std::optional<bool> doesExist(const DeviceName& device);
bool isGone(const DeviceName& device);  // the kernel says that there is none

// What the engine asks for when it makes a VLAN device, once more: both are up, and frames that no rule takes are
// dropped. False: one of that is refused.
bool isInForce(const DeviceName& realDevice, const DeviceName& device);

DeviceName uniVlanDevice(std::uint16_t uniPort, std::uint16_t bridgeId);  // uniPort from 1

// The device joins the bridge, or is on it already. False: the kernel has not taken it.
bool isMember(std::uint16_t bridgeId, const DeviceName& device);
bool createFlows(std::uint16_t uniPort, std::uint16_t bridgeId);  // both directions; false: refused
bool createVeipFlows(EtherSwitchBcm380& engine,
                     std::uint16_t bridgeId);  // multicast reaches the gateway past the bridge

// The port is no longer the one that the bridge is known by.
void dissociateUni(std::uint16_t uniPort, std::uint16_t bridgeId);
// A UNI's VLAN device. False: it is still there; what is not there needs no removal.
bool removeUniDevice(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId);
// What is left of it becomes what it was, with its place on the bridge and the flows that it has by its rows or record.
// False: it does not.
bool restoreUniDevice(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId,
                      const g988::Tables& before);

// The PON side's devices with their bridge. Names what is still there; "": nothing is.
std::string removePonDevices(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record);
// Likewise for giving back, with the flows of the bridge's ports and, where its multicast is for the gateway too, of
// the VEIP. The bridge itself only if it was there. Names what cannot be made again.
std::string restorePonDevices(EtherSwitchBcm380& engine, std::uint16_t bridgeId, bool hadBridge, bool leadsToGateway);

// A bridge with its PON side, and the VLAN device of a UNI port unless it is 0.
class BridgeToMake {
public:
    BridgeToMake(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort);
    // With the ports that it had before it went. False: not all of it can be made.
    bool make();
    // What was not there before it was made.
    void undo();

private:
    bool isPairInForce();
    bool isPortInForce();
    bool addPorts();

    EtherSwitchBcm380& engine_;
    const std::uint16_t bridgeId_, uniPort_;
    const bool isNew_, isNewPair_, isNewPort_;
};

}  // namespace forwarding

#endif
