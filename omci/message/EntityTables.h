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
