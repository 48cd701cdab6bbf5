// What the runner does on its own for a UNI port.
#ifndef KIT_RUNNER_H
#define KIT_RUNNER_H

#include <cstdint>

namespace kit {

// The DSCP shortcut: the runner itself classifies the untagged IPv4 and IPv6 frames of the UNI, pushes the tag and
// takes the GEM port from the p-bits. Upstream there is no vlanctl rule then.
void installDscpShortcut(std::uint16_t uniPort, std::uint16_t bridgeId, std::uint16_t vlanId);
void removeDscpShortcut(std::uint16_t uniPort);
// Its parts, and that it is known no more. Whether the runner has deleted it: it refuses to delete what does not exist.
bool deleteDscpClass(std::uint16_t uniPort);
bool deleteDscpPush(std::uint16_t uniPort);
void forgetDscpShortcut(std::uint16_t uniPort);
// What the shortcuts of all UNI ports share; the removal of one leaves it. Whether the runner has deleted it.
bool removeDscpAction();

}  // namespace kit

#endif
