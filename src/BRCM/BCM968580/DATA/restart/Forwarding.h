// The part of a state file that only forwarding by G.988 has.
#ifndef BRCM_BCM968580_DATA_RESTART_FORWARDING_H
#define BRCM_BCM968580_DATA_RESTART_FORWARDING_H

#include <cstdint>
#include <functional>
#include <set>
#include <string>

#include "kit/Rules.h"
#include "state/Journal.h"

namespace restart {

// Why a file cannot be opened with the forwarding that holds: it was made with the other one. "" for a good one.
std::string problemOfMode(const state::Journal& journal);
void noteMode();

// A removal that was begun goes to its end.
void finishRuleRemoval(state::ByteReader& fields);
// The gateway's service has gone with the VEIP, and its part of the bridge goes with it.
void forgetGatewayService(std::uint16_t bridgeId, std::uint16_t gemPortId);
// Of the table, or of all.
std::set<std::uint32_t> plannedRuleIds(const kit::RuleTable& table);
std::set<std::uint32_t> plannedRuleIds();
// Once the device was compared: what is no longer there is forgotten, and rules that the tables ask for and the device
// does not have are made again. A table that has fewer rules than it should is emptied and filled again. From then on
// what is asked for is claimed.
void bringBackPlannedRules();
// Takes away the rules of what has not been claimed; their number. report gets a line when that is refused.
int settlePlannedRules(const std::function<void(const std::string& line)>& report);
// Whether something that is claimed needs the device or bridge.
bool isPlannedDevice(const std::string& device);
// Takes all rules off the device and forgets the tables; remove answers whether a rule is gone.
void removePlannedRules(const std::function<bool(const kit::RuleTable& table, std::uint32_t id)>& remove);

}  // namespace restart

#endif
