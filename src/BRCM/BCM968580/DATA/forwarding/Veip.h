// The VEIP with forwarding by G.988: there with its rules, or not at all. Announcements to the gateway are the
// engine's.
//
// Each answers whether it was done. If not, devices, flows and rules are as they were, and one line of the log says
// what was refused.
#ifndef BRCM_BCM968580_DATA_FORWARDING_VEIP_H
#define BRCM_BCM968580_DATA_FORWARDING_VEIP_H

#include <cstdint>

class EtherSwitchBcm380;

namespace forwarding {

// As the operations on the VEIP have them.
struct VeipService {
    std::uint16_t gemPortId, bridgeId, filterType;
    std::uint8_t entries;
    const unsigned char* list;
    std::uint16_t trafficType;
};

// veip_createRules. The first service makes the VEIP, which takes the place of the bridge; multicast of the GEM port,
// if it is one's, is for the gateway too.
bool addVeip(EtherSwitchBcm380& engine, const VeipService& service);
// One that was restored and is asked for again. The first one has the bridge's place, which bridges that were asked for
// before it have brought back.
bool claimVeip(EtherSwitchBcm380& engine, const VeipService& service, bool isFirst);
// veip_deleteRules: the service, with the last one the VEIP, and on the PON side the GEM port's part of the bridge.
bool removeVeip(EtherSwitchBcm380& engine, const VeipService& service);

}  // namespace forwarding

#endif
