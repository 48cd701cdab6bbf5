// Management IP hosts with forwarding by G.988: there with address, rules and routes, or not at all.
//
// Each answers whether it was done. If not, all is as it was, and one line of the log says what was refused.
#ifndef BRCM_BCM968580_DATA_FORWARDING_IP_HOST_H
#define BRCM_BCM968580_DATA_FORWARDING_IP_HOST_H

#include <cstdint>

#include "hal/BridgeRecords.h"

class EtherSwitchBcm380;

namespace forwarding {

// provisionIpHost. A host that is there already gets the record's addresses and counts once.
bool addIpHost(EtherSwitchBcm380& engine, const IpHostProvision& host);
// deprovisionIpHost, and with it what that leaves by the contract: the host's device, its routing rule and the rule
// that pops its S-tag. The bridge, which goes by the contract, stays: it goes with its PON side. Done when there is no
// such host.
bool removeIpHost(EtherSwitchBcm380& engine, const IpHostProvision& host);

// The default route, the routed MAC address and those of a bridge are of the host that was provisioned last. When it
// goes, the one before it has them again.
void restoreHost(const IpHostProvision& host);  // of the state file
// Of a host that goes without removeIpHost.
void handOverFrom(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort);
void forgetHosts();
// A host has put the bridge's PON side there.
bool isOnSharedBridge(std::uint16_t bridgeId);

}  // namespace forwarding

#endif
