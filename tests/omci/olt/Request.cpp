#include "omci/olt/Request.h"

#include <algorithm>
#include <random>

namespace olt {

namespace {

// Every create is put to the front of the requests for its entity.
Requests makeFirst(Requests requests) {
    for (std::size_t at = 0; at < requests.size(); ++at) {
        if (requests[at].kind != Request::kCreate) continue;
        for (std::size_t before = 0; before < at; ++before) {
            if (requests[before].entity != requests[at].entity) continue;
            const auto first = requests.begin();
            std::rotate(first + static_cast<std::ptrdiff_t>(before), first + static_cast<std::ptrdiff_t>(at),
                        first + static_cast<std::ptrdiff_t>(at) + 1);
            break;
        }
    }
    return requests;
}

Request request(Request::Kind kind, EntityKey entity, const Numbers& numbers) {
    Request made{kind, entity, {}};
    for (const auto& [attribute, number] : numbers) made.values.push_back(value(entity.classId, attribute, number));
    return made;
}

}  // namespace

Value value(omci::ClassId classId, AttributeNumber attribute, std::uint64_t number) {
    Bytes bytes;
    omci::appendNumber(bytes, number, omci::findClass(classId)->attribute(attribute)->size);
    return {attribute, bytes};
}

Request create(omci::ClassId classId, omci::InstanceId instance, const Numbers& values) {
    return request(Request::kCreate, {classId, instance}, values);
}

Request set(omci::ClassId classId, omci::InstanceId instance, const Numbers& values) {
    return request(Request::kSet, {classId, instance}, values);
}

Request setBytes(EntityKey entity, AttributeNumber attribute, Bytes bytes) {
    return {Request::kSet, entity, {{attribute, std::move(bytes)}}};
}

Request erase(EntityKey entity) {
    return {Request::kDelete, entity, {}};
}

Requests shuffled(Requests requests, unsigned seed) {
    std::mt19937 random(seed);
    std::shuffle(requests.begin(), requests.end(), random);
    return makeFirst(std::move(requests));
}

Requests reversed(Requests requests) {
    std::reverse(requests.begin(), requests.end());
    return makeFirst(std::move(requests));
}

}  // namespace olt
