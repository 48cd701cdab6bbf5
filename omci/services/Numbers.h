// Numbers that several plans and rules share: of the HAL's records, and of the standard's attributes.
#ifndef OMCI_SERVICES_NUMBERS_H
#define OMCI_SERVICES_NUMBERS_H

#include <cstdint>

namespace omci::services {

constexpr unsigned kPriorities = 8;
constexpr std::uint16_t kNoGemPort = 65535;   // in a record, and in a mapper's pointers
constexpr std::uint16_t kVeipBridge = 0;      // number in the HAL
constexpr std::uint8_t kOneFilterModel = 2;   // BridgeServiceProvisioning::trafficModel: tag rules are made
constexpr std::uint16_t kFilteredByVlan = 2;  // traffic type of a VEIP service
constexpr std::uint8_t kDownstreamOnly = 2;   // direction of a GEM port

}  // namespace omci::services

#endif
