#include "running/scenario/fields/FrameFields.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>

#include <nlohmann/json.hpp>

#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

using virtual_onu::Frame;
using virtual_onu::GroupMessage;
using virtual_onu::VlanTag;

const Numbers kType{0,
                    65535,
                    {{"ipv4", 0x0800},
                     {"ipv6", 0x86DD},
                     {"arp", 0x0806},
                     {"pppoeDiscovery", 0x8863},
                     {"pppoeSession", 0x8864},
                     {"eapol", 0x888E}},
                    false,
                    true};
const Numbers kIpProtocols{0, 255, {{"icmp", 1}, {"igmp", 2}, {"tcp", 6}, {"udp", 17}}};
const Numbers kTagTypes{0, 65535, {}, false, true};
const Numbers kGemPort{0, 65535};
constexpr std::size_t kMaxDeviceName = 15;
constexpr std::int64_t kNoProtocol = -1;
constexpr std::uint16_t kIpv6 = 0x86DD;
constexpr std::uint8_t kIgmp = 2, kIcmpv6 = 58;

// What a tag or a frame may have, as plain members.
struct TagRecord {
    std::uint16_t vid = 0, tpid = 0x8100;
    std::uint8_t pbits = 0, dei = 0;
};

struct FrameRecord {
    std::string from, source, destination;
    std::vector<VlanTag> tags;
    std::uint16_t etherType = 0;
    std::int64_t ipProtocol = kNoProtocol;
    std::uint8_t dscp = 0;
    std::uint16_t payload = 0;
    std::optional<GroupMessage> groupMessage;
};

// {"report": "239.1.2.3"}, {"leave": "ff15::1"}, {"query": ""} or of one group.
GroupMessage groupMessageOf(const Json& value) {
    static const std::map<std::string, GroupMessage::Kind> kKinds = {{"query", GroupMessage::Kind::Query},
                                                                     {"report", GroupMessage::Kind::Report},
                                                                     {"leave", GroupMessage::Kind::Leave}};
    if (!value.is_object() || value.size() != 1 || kKinds.count(value.begin().key()) == 0)
        throw Problem("must have one of the fields query, report and leave, with the group's address");
    GroupMessage message;
    message.kind = kKinds.at(value.begin().key());
    message.group = inField(value.begin().key(), [&] { return textOf(value.begin().value()); });
    std::array<std::uint8_t, 16> bytes{};
    const bool ipv4 = inet_pton(AF_INET, message.group.c_str(), bytes.data()) == 1 && bytes[0] >> 4 == 0xE;
    const bool ipv6 = inet_pton(AF_INET6, message.group.c_str(), bytes.data()) == 1 && bytes[0] == 0xFF;
    const bool general = message.kind == GroupMessage::Kind::Query && message.group.empty();
    if (!ipv4 && !ipv6 && !general)
        throw Problem(value.begin().key(),
                      "must be a group such as 239.1.2.3 or ff15::1, not " + shown(value.begin().value()));
    return message;
}

Json groupMessageSchema() {
    const Json text = {{"type", "string"}};
    Json schema = objectSchema({{"query", text}, {"report", text}, {"leave", text}});
    schema["minProperties"] = schema["maxProperties"] = 1;
    return schema;
}

std::vector<Field> tagFields() {
    using R = TagRecord;
    return {field("vid", &R::vid, Numbers{0, 4095}, required(), "VLAN id"),
            field("pbits", &R::pbits, Numbers{0, 7}, otherwise(0), "p-bits"),
            field("dei", &R::dei, Numbers{0, 1, {}, true}, otherwise(false), "drop eligible"),
            field("tpid", &R::tpid, kTagTypes, otherwise("0x8100"), "type word in front of the tag")};
}

std::vector<Field> frameFields() {
    using R = FrameRecord;
    const Frame usual;
    const auto storeTags = [](void* record, const Json& value) { static_cast<R*>(record)->tags = tagsOf(value); };
    return {
        field("from", &R::from, required(), "where it arrives: \"sid0\", \"veip0\", or \"gem 1001\""),
        Field{"tags", optional(), "its tags, outermost first; left out: untagged", tagsSchema(), storeTags},
        field("etherType", &R::etherType, kType, otherwise("ipv4"), "type of what it carries"),
        field("ipProtocol", &R::ipProtocol, kIpProtocols, optional(), "protocol of an IP packet"),
        field("dscp", &R::dscp, Numbers{0, 63}, otherwise(0), "DSCP of an IP packet"),
        field("payload", &R::payload, Numbers{0, 65535}, otherwise(0),
              "octets behind its last type word, which an MTU limits; 0: as few as it can have"),
        Field{"group", optional(), "the IGMP or MLD message that it is: a query, report or leave, and the group",
              groupMessageSchema(),
              [](void* record, const Json& value) { static_cast<R*>(record)->groupMessage = groupMessageOf(value); }},
        field("source", &R::source, otherwise(usual.source), "source MAC address"),
        field("destination", &R::destination, otherwise(usual.destination),
              "destination MAC address; left out: one that no bridge knows")};
}

bool isMac(const std::string& text) {
    constexpr std::size_t kMacLength = 17;
    if (text.size() != kMacLength) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (i % 3 == 2 ? c != ':' : std::isxdigit(c) == 0) return false;
    }
    return true;
}

void checkMac(const std::string& field, const std::string& text) {
    if (!isMac(text)) throw Problem(field, "must be a MAC address such as 02:00:5e:00:00:01, not '" + text + "'");
}

// The GEM port of "gem 1001"; nothing for a device.
std::optional<unsigned> gemPortOf(const std::string& from) {
    const std::string prefix = "gem ";
    if (from.compare(0, prefix.size(), prefix) != 0) {
        if (from.empty() || from.size() > kMaxDeviceName || from.find(' ') != std::string::npos)
            throw Problem("from", "must be a device or \"gem\" and a number, not '" + from + "'");
        return std::nullopt;
    }
    const std::string number = from.substr(prefix.size());
    const bool digits = !number.empty() && number.size() <= 5 &&
                        std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!digits) throw Problem("from", "must have a GEM port id behind \"gem\", not '" + number + "'");
    return inField("from", [&] { return static_cast<unsigned>(kGemPort.read(std::stoll(number))); });
}

Json exitJson(const virtual_onu::Exit& exit) {
    Json json = {{"at", exit.device}};
    if (exit.gemPort) {
        json["gemPort"] = *exit.gemPort;
        json["gemIndex"] = *exit.gemIndex;
        json["tcont"] = *exit.tcont;
        json["queue"] = *exit.queue;
    }
    json["frame"] = frameJson(exit.frame);
    return json;
}

Json hopJson(const virtual_onu::Hop& hop) {
    using Kind = virtual_onu::Hop::Kind;
    static const std::map<Kind, const char*> kNames = {
        {Kind::Table, "table"}, {Kind::Bridge, "bridge"}, {Kind::Flow, "flow"}, {Kind::Runner, "runner"}};
    Json json = {{"kind", kNames.at(hop.kind)}, {"from", hop.from}, {"device", hop.device}};
    if (hop.kind == Kind::Table) {
        json["direction"] = hop.direction == virtual_onu::kReceive ? "receive" : "transmit";
        json["tags"] = hop.table;
        json["rule"] = hop.rule ? Json(*hop.rule) : Json(nullptr);
    }
    json["detail"] = hop.detail;
    if (hop.nearest)
        json["nearest"] = {{"rule", hop.nearest->rule}, {"text", hop.nearest->text}, {"against", hop.nearest->against}};
    json["to"] = hop.to;
    json["frame"] = frameJson(hop.frame);
    return json;
}

}  // namespace

std::string FrameInput::place() const {
    return gemPort ? "GEM port " + std::to_string(*gemPort) : from;
}

std::string FrameInput::text() const {
    return frame.text() + " from " + place();
}

virtual_onu::Walk FrameInput::send(virtual_onu::VirtualOnu& onu, virtual_onu::Learning learning) const {
    return gemPort ? onu.sendFromPon(*gemPort, frame, learning) : onu.sendFromPort(from, frame, learning);
}

FrameInput frameInputOf(const Json& value) {
    FrameRecord record;
    readFields(&record, frameFields(), value);
    checkMac("source", record.source);
    checkMac("destination", record.destination);
    FrameInput input;
    input.from = record.from;
    input.gemPort = gemPortOf(record.from);
    input.frame.source = record.source;
    input.frame.destination = record.destination;
    input.frame.tags = record.tags;
    input.frame.etherType = record.etherType;
    input.frame.dscp = record.dscp;
    input.frame.payloadSize = record.payload;
    input.frame.groupMessage = record.groupMessage;
    if (record.groupMessage) input.frame.ipProtocol = input.frame.etherType == kIpv6 ? kIcmpv6 : kIgmp;
    if (record.ipProtocol != kNoProtocol) input.frame.ipProtocol = static_cast<std::uint8_t>(record.ipProtocol);
    return input;
}

Json frameInputSchema() {
    return objectSchema(propertiesOf(frameFields()), requiredOf(frameFields()));
}

std::vector<VlanTag> tagsOf(const Json& value) {
    if (!value.is_array()) throw Problem("must be a list of tags, not " + shown(value));
    if (value.size() > virtual_onu::kMaxTags)
        throw Problem("must have at most " + std::to_string(virtual_onu::kMaxTags) + " tags");
    std::vector<VlanTag> tags;
    for (std::size_t i = 0; i < value.size(); ++i) {
        TagRecord record;
        inField("[" + std::to_string(i) + "]", [&] { readFields(&record, tagFields(), value[i]); });
        tags.push_back({record.tpid, record.pbits, record.dei != 0, record.vid});
    }
    return tags;
}

Json tagsSchema() {
    return {{"type", "array"},
            {"maxItems", virtual_onu::kMaxTags},
            {"items", objectSchema(propertiesOf(tagFields()), requiredOf(tagFields()))}};
}

std::uint16_t etherTypeOf(const Json& value) {
    return static_cast<std::uint16_t>(kType.read(value));
}

Json etherTypeSchema() {
    return kType.schema();
}

Json frameJson(const Frame& frame) {
    Json tags = Json::array();
    for (const VlanTag& tag : frame.tags)
        tags.push_back({{"vid", tag.vid}, {"pbits", tag.pbits}, {"dei", tag.dei}, {"tpid", tag.tpid}});
    Json json = {{"tags", tags}, {"etherType", frame.etherType}};
    if (frame.ipProtocol) json["ipProtocol"] = *frame.ipProtocol;
    json["dscp"] = frame.dscp;
    if (frame.payloadSize != 0) json["payload"] = frame.payloadSize;
    json["source"] = frame.source;
    json["destination"] = frame.destination;
    return json;
}

Json walkJson(const virtual_onu::Walk& walk) {
    Json leaves = Json::array(), dropped = Json::array(), hops = Json::array();
    for (const auto& exit : walk.exits) leaves.push_back(exitJson(exit));
    for (const auto& drop : walk.drops)
        dropped.push_back({{"at", drop.device}, {"reason", drop.reason}, {"hop", drop.hop}});
    for (const auto& hop : walk.hops) hops.push_back(hopJson(hop));
    return {{"leaves", leaves}, {"dropped", dropped}, {"hops", hops}};
}

}  // namespace vorn_onu
