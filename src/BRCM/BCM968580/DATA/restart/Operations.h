// The daemon's operations by their arguments: what a restart makes of one that is asked for again, or that was not
// finished.
#ifndef BRCM_BCM968580_DATA_RESTART_OPERATIONS_H
#define BRCM_BCM968580_DATA_RESTART_OPERATIONS_H

#include <string_view>

#include "BRCM/BCM968580/DATA/restart/Arguments.h"
#include "kit/Asked.h"

namespace restart {

// UNI ports as the board numbers them.
kit::AskKind kindOf(const UniDataProvisioning& row);

VeipArguments veipArguments(std::uint16_t gemPort, std::uint16_t bridgeId, std::uint16_t filterType,
                            std::uint8_t entries, const unsigned char* filterList, std::uint16_t trafficType);
PonRulesAsked ponRulesArguments(const BridgeServiceProvisioning& service);

// What multicast services have left in the queue map was restored. It is for a daemon that goes on from there: one that
// asks for all again gets there by itself.
void expectLeftQueues();
void dropLeftQueues();  // the restored ones, as far as they are still there
// The rules that are to be made now have restored ones in them: settling makes them again without.
void noteRestoredQueues(const BridgeServiceProvisioning& service);

// ---- what a claimed operation does all the same ----

// Adding a GEM port switches it on, whatever became of it since.
void enableIfDown(std::uint16_t gemPortId);
// p-bits that later records do not name keep these, and those of a multicast service wait for the next one.
void rememberPbits(const BridgeServiceProvisioning& service);
// A VEIP that is there now, and was not when a multicast service was made: its rules are to come.
void lookForVeip(const BridgeServiceProvisioning& service, const kit::AskedOperation& operation);
// The other way round: a VEIP that was restored, and is not asked for yet, when a multicast service is made. After a
// boot there would be none: when claims end, the rules on its device go.
void noteVeipAhead(const BridgeServiceProvisioning& service);
void forgetRulesAhead();
// The VEIP, or the shared bridge of management hosts, has the place of the bridge, which an operation that was asked
// for before has brought back.
void veipTakesPlaceOfBridge(std::uint16_t bridgeId);
void takePlaceOfBridge(std::uint16_t bridgeId);

// ---- operations as they are noted: their number and arguments ----

void restoreHosts();           // for forwarding by G.988, which looks at all of them
int multicastServicesAsked();  // by the daemon's latest life, or restored and not yet given up
bool isOperation(state::ByteReader& bytes);
bool isRemoval(std::string_view askAndArguments);
// Of a removal: done twice it does what it must not. By G.988 only that of a host does, and only hosts are noted as
// asked for when they come back.
bool isForOnce(std::string_view askAndArguments);
// As an operation of its own. False, with forwarding by G.988 alone: an IP host or its removal is refused.
bool runOperation(std::string_view askAndArguments);

}  // namespace restart

#endif
