// The tables that the list of managed entities is made of, and what their rows are written with.
#ifndef OMCI_MESSAGE_ENTITY_TABLES_H
#define OMCI_MESSAGE_ENTITY_TABLES_H

#include "omci/message/ManagedEntities.h"

namespace omci::tables {

constexpr MessageTypes kGetSet = bit(MessageType::kGet) | bit(MessageType::kSet);
constexpr MessageTypes kGetGetNext = bit(MessageType::kGet) | bit(MessageType::kGetNext);
constexpr MessageTypes kOltActions = kGetSet | bit(MessageType::kCreate) | bit(MessageType::kDelete);
constexpr MessageTypes kOltTableActions = kOltActions | bit(MessageType::kGetNext) | bit(MessageType::kSetTable);
constexpr MessageTypes kPmActions = kOltActions | bit(MessageType::kGetCurrentData);

// ---- Words that several classes use ----

constexpr CodeWord kBooleans[] = {{0, "no"}, {1, "yes"}};
constexpr CodeWord kUnitTypes[] = {{0, "none"},
                                   {22, "10BASE-T"},
                                   {23, "100BASE-T"},
                                   {24, "10/100BASE-T"},
                                   {32, "POTS"},
                                   {34, "GbE optical"},
                                   {47, "10/100/1000BASE-T"},
                                   {48, "VEIP"},
                                   {248, "GPON 2488/1244"},
                                   {255, "unknown or plug and play"}};
constexpr CodeWord kAdministrativeStates[] = {{0, "unlocked"}, {1, "locked"}};
constexpr CodeWord kOperationalStates[] = {{0, "enabled"}, {1, "disabled"}, {2, "unknown"}};
constexpr CodeWord kOffOn[] = {{0, "off"}, {1, "on"}};

Rows<EntityRow> equipmentEntities();
Rows<EntityRow> trafficEntities();
Rows<EntityRow> subscriberEntities();
Rows<EntityRow> bridgeEntities();
Rows<EntityRow> vlanEntities();
Rows<EntityRow> multicastEntities();
Rows<EntityRow> managementEntities();
Rows<EntityRow> descriptionEntities();
Rows<EntityRow> performanceEntities();

}  // namespace omci::tables

#endif
