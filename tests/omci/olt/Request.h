// What an OLT asks of an ONU to provision a service, as values: to be put into any order, sent and remembered.
#ifndef TESTS_OMCI_OLT_REQUEST_H
#define TESTS_OMCI_OLT_REQUEST_H

#include <cstdint>
#include <utility>
#include <vector>

#include "omci/message/Bytes.h"
#include "omci/message/ManagedEntities.h"
#include "support/HexBytes.h"

namespace olt {

using omci::AttributeNumber;
using omci::Bytes;
using omci::EntityKey;

struct Value {
    AttributeNumber attribute;
    Bytes bytes;  // of a table: one row
};
// A number in the size that the attribute has.
Value value(omci::ClassId classId, AttributeNumber attribute, std::uint64_t number);

struct Request {
    enum Kind : std::uint8_t { kCreate, kSet, kDelete };
    Kind kind;
    EntityKey entity;
    std::vector<Value> values;  // create: what is not given is 0
};
using Requests = std::vector<Request>;

using Numbers = std::vector<std::pair<AttributeNumber, std::uint64_t>>;
Request create(omci::ClassId classId, omci::InstanceId instance, const Numbers& values);
Request set(omci::ClassId classId, omci::InstanceId instance, const Numbers& values);
Request setBytes(EntityKey entity, AttributeNumber attribute, Bytes bytes);
Request erase(EntityKey entity);
using ::hex;

// In an order that the standard allows, chosen by the seed: an entity is made before it is set, nothing else counts.
Requests shuffled(Requests requests, unsigned seed);
// From the last to the first, but that an entity is made before it is set.
Requests reversed(Requests requests);

}  // namespace olt

#endif
