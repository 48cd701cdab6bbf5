// Every change of the engine's state that a restarted daemon gets back (EngineState.h), beside the rule map and the
// service map, which have files of their own. Each notes for the state file what it changes.
#ifndef BRCM_BCM968580_DATA_ENGINE_MAPS_H
#define BRCM_BCM968580_DATA_ENGINE_MAPS_H

#include <cstdint>

namespace engine_maps {

// A bridge keeps its first UNI port.
void associateUni(std::uint16_t bridgeId, std::uint16_t uniPort);
void dissociateUni(std::uint32_t bridgeId);

void setGemIndex(std::uint16_t gemPortId, std::uint16_t gemIndex);
void setPbitGem(std::uint8_t pbit, std::uint16_t gemPortId, std::uint16_t queue);
void addPbitToQueue(std::uint16_t gemPortId, std::uint16_t queue, std::uint8_t pbit);
void clearPbitQueues();

void setLastProtocol(std::uint8_t protocol);
void setLastMulticastRule(std::int16_t ruleId);
void countMulticastServices(std::int32_t change);
void setMulticastGem(std::int32_t gemPortId, std::int32_t gemIndex);

void markDscpModel(std::uint32_t uniPort);
void markCustomerTagModel(std::uint32_t uniPort);
void clearModelMarks(std::uint32_t uniPort);

void countIpHosts(int change);

// Once everything is off the device.
void clear();

}  // namespace engine_maps

#endif
