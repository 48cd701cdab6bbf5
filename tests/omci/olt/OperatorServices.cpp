#include "omci/olt/OperatorServices.h"

#include <fstream>
#include <iterator>

#include "omci/message/Contents.h"
#include "support/Pcap.h"

namespace olt {

namespace {

// Of attributes one behind the other.
std::vector<Value> valuesIn(omci::ClassId classId, omci::AttributeMask mask, omci::ByteView bytes) {
    std::vector<Value> values;
    for (const omci::AttributeInfo& attribute : omci::findClass(classId)->attributes()) {
        if ((mask & omci::maskOf(attribute.number)) == 0) continue;
        values.push_back({attribute.number, bytes.part(0, attribute.size).copy()});
        bytes = bytes.part(attribute.size);
    }
    return values;
}

}  // namespace

const std::vector<std::string>& serviceNames() {
    static const auto& names =
        *new std::vector<std::string>{kInternet, kPriorities, kTransparent, kTelevision, kGateway, kManagement};
    return names;
}

std::vector<omci::Message> capturedMessages(const std::string& name) {
    constexpr std::size_t kEthernetHeader = 14;
    std::ifstream file(VORN_SCENARIO_DIR "/omci/" + name + ".pcap", std::ios::binary);
    std::vector<omci::Message> messages;
    for (const Bytes& packet : packetsOf({std::istreambuf_iterator<char>(file), {}}))
        messages.push_back(omci::decodeFrame(omci::ByteView(packet).part(kEthernetHeader)).message);
    return messages;
}

Requests requestsOf(const std::string& name) {
    Requests requests;
    for (const omci::Message& message : capturedMessages(name)) {
        if (message.isAnswer) continue;
        const omci::EntityKey entity = message.entity;
        const omci::Content content = omci::decodeContent(message).content;
        if (const auto* made = std::get_if<omci::CreateValues>(&content))
            requests.push_back(
                {Request::kCreate, entity,
                 valuesIn(entity.classId, omci::findClass(entity.classId)->setByCreate(), made->values)});
        if (const auto* set = std::get_if<omci::AttributeValues>(&content))
            requests.push_back({Request::kSet, entity, valuesIn(entity.classId, set->mask, set->values)});
    }
    return requests;
}

Requests allServices() {
    Requests all;
    for (const std::string& name : serviceNames())
        for (Request& request : requestsOf(name)) all.push_back(std::move(request));
    return all;
}

}  // namespace olt
