#include "omci/olt/OperatorServices.h"

#include "omci/message/TaggingRow.h"

namespace olt {

namespace {

using omci::InstanceId;
using omci::TagFilter;
using omci::TaggingRow;
using omci::TagTreatment;
namespace attr = omci::attr;
namespace class_id = omci::class_id;

constexpr std::uint64_t kNull = 0xFFFF;
constexpr std::uint8_t kUpAndDown = 3, kDown = 2;       // direction of a GEM port
constexpr std::uint8_t kVidListUntaggedDropped = 0x10;  // forward operation
constexpr std::uint8_t kToBridge = 1, kToMapper = 5;    // interworking option
constexpr InstanceId kGal = 1;
constexpr std::uint16_t kMulticastGemPort = 0xFFFE;
// TP types of a bridge port.
constexpr std::uint8_t kUni = 1, kMapperTp = 3, kIpHostTp = 4, kInterworking = 5, kMulticastTp = 6, kVeipTp = 11;
// Association types of extended tagging.
constexpr std::uint8_t kAtUni = 2, kAtIpHost = 3;

InstanceId port(unsigned number) {
    return static_cast<InstanceId>(0x0100U + number);
}
InstanceId tcont(unsigned number) {
    return static_cast<InstanceId>(0x8000U + number);
}
// Upstream queue 0..7 of a T-CONT.
InstanceId upstreamQueue(unsigned number, unsigned queue) {
    return static_cast<InstanceId>(0x8000U + 8 * number + queue);
}

Request allocId(unsigned number, std::uint16_t id) {
    return set(class_id::kTCont, tcont(number), {{attr::t_cont::kAllocId, id}});
}

Request bridge(InstanceId instance) {
    return create(class_id::kBridge, instance,
                  {{attr::bridge::kLearningInd, 1},
                   {attr::bridge::kPriority, 0x8000},
                   {attr::bridge::kMaxAge, 0x1400},
                   {attr::bridge::kHelloTime, 0x0200},
                   {attr::bridge::kForwardDelay, 0x0F00}});
}

// unmarked: 1 the default p-bit, 0 by DSCP.
Request mapper(InstanceId instance, std::uint8_t unmarked) {
    Numbers values{{attr::mapper::kTpPointer, kNull}, {attr::mapper::kUnmarkedFrameOption, unmarked}};
    for (unsigned priority = 0; priority < 8; ++priority)
        values.emplace_back(static_cast<AttributeNumber>(attr::mapper::kInterworkingPointer0 + priority), kNull);
    return create(class_id::kMapper, instance, values);
}
// All eight p-bits to one GEM port, or two to each of four that follow.
Request mapped(InstanceId instance, InstanceId first, unsigned gemPorts) {
    Numbers values;
    for (unsigned priority = 0; priority < 8; ++priority)
        values.emplace_back(static_cast<AttributeNumber>(attr::mapper::kInterworkingPointer0 + priority),
                            first + priority * gemPorts / 8);
    return set(class_id::kMapper, instance, values);
}

Request gemPort(InstanceId instance, std::uint16_t portId, unsigned tcontNumber, unsigned queue) {
    return create(class_id::kGemPort, instance,
                  {{attr::gem_port::kPortId, portId},
                   {attr::gem_port::kTContPointer, tcont(tcontNumber)},
                   {attr::gem_port::kDirection, kUpAndDown},
                   {attr::gem_port::kUpstreamQueuePointer, upstreamQueue(tcontNumber, queue)},
                   {attr::gem_port::kUpstreamDescriptorPointer, kNull},
                   {attr::gem_port::kDownstreamDescriptorPointer, kNull}});
}
Request interworking(InstanceId instance, std::uint8_t option, InstanceId profile) {
    return create(class_id::kGemInterworking, instance,
                  {{attr::gem_interworking::kGemPortPointer, instance},
                   {attr::gem_interworking::kInterworkingOption, option},
                   {attr::gem_interworking::kServiceProfilePointer, profile},
                   {attr::gem_interworking::kTerminationPointPointer, kNull},
                   {attr::gem_interworking::kGalProfilePointer, kGal}});
}

Request bridgePort(InstanceId instance, InstanceId bridge, std::uint8_t number, std::uint8_t type, InstanceId tp) {
    return create(class_id::kBridgePort, instance,
                  {{attr::bridge_port::kBridgeIdPointer, bridge},
                   {attr::bridge_port::kPortNum, number},
                   {attr::bridge_port::kTpType, type},
                   {attr::bridge_port::kTpPointer, tp},
                   {attr::bridge_port::kPortPathCost, 1}});
}

Request vlanFilter(InstanceId instance, const std::vector<std::uint16_t>& vids, std::uint8_t operation) {
    Request made =
        create(class_id::kVlanFilter, instance,
               {{attr::vlan_filter::kForwardOperation, operation}, {attr::vlan_filter::kNumberOfEntries, vids.size()}});
    Bytes list;
    for (const std::uint16_t vid : vids) omci::appendNumber(list, vid, 2);
    list.resize(24);
    made.values.push_back({attr::vlan_filter::kFilterList, list});
    return made;
}

Request tagging(InstanceId instance, std::uint8_t association, InstanceId tagged) {
    return create(class_id::kExtendedTagging, instance,
                  {{attr::extended_tagging::kAssociationType, association},
                   {attr::extended_tagging::kAssociatedMePointer, tagged}});
}
Request tpids(InstanceId instance, std::uint16_t output) {
    return set(class_id::kExtendedTagging, instance,
               {{attr::extended_tagging::kInputTpid, 0x8100},
                {attr::extended_tagging::kOutputTpid, output},
                {attr::extended_tagging::kDownstreamMode, 0}});
}
Request row(InstanceId instance, const TaggingRow& row) {
    return setBytes({class_id::kExtendedTagging, instance}, attr::extended_tagging::kTaggingTable,
                    omci::encodeTaggingRow(row));
}
Request row(InstanceId instance, const char* digits) {
    return setBytes({class_id::kExtendedTagging, instance}, attr::extended_tagging::kTaggingTable, hex(digits));
}

// Rows that are sent again and again.
TaggingRow untagged(TagTreatment tag) {
    TaggingRow row;
    row.outer.vid = row.inner.vid = TagFilter::kAnyVid;
    row.innerTag = tag;
    return row;
}
TaggingRow translated(std::uint16_t from, TagTreatment tag) {
    TaggingRow row;
    row.inner = {TagFilter::kAnyPriority, from, TagFilter::kAnyTpid};
    row.tagsToRemove = 1;
    row.innerTag = tag;
    return row;
}
constexpr TagTreatment tag(std::uint16_t vid, std::uint8_t priority) {
    return {priority, vid, TagTreatment::k8100};
}
// Drop what no other row takes: one tag, two tags.
constexpr const char* kDropOneTag = "F8000000 E8000000 C00F0000 000F0000";
constexpr const char* kDropTwoTags = "E8000000 E8000000 C00F0000 000F0000";

Request unlocked(unsigned number) {
    return set(class_id::kEthernetUni, port(number), {{attr::ethernet_uni::kAdministrativeState, 0}});
}

// T-CONT, bridge, mapper and GEM port of a service with all p-bits in one GEM port, and its bridge port on the PON
// side.
Requests oneGemPort(unsigned tcontNumber, InstanceId bridgeId, InstanceId base, std::uint16_t portId,
                    const std::vector<std::uint16_t>& vids) {
    return {allocId(tcontNumber, static_cast<std::uint16_t>(1024 + tcontNumber)),
            bridge(bridgeId),
            mapper(base, 1),
            gemPort(base, portId, tcontNumber, 0),
            interworking(base, kToMapper, base),
            mapped(base, base, 1),
            bridgePort(base, bridgeId, 1, kMapperTp, base),
            vlanFilter(base, vids, kVidListUntaggedDropped)};
}

void append(Requests& requests, Requests more) {
    for (auto& request : more) requests.push_back(std::move(request));
}

}  // namespace

OperatorService internet() {
    Requests all = oneGemPort(0, 1, 0x1001, 1001, {100, 110});
    append(all, {bridgePort(0x1101, 1, 2, kUni, port(1)), tagging(0x1101, kAtUni, port(1)), tpids(0x1101, 0x8100),
                 row(0x1101, untagged(tag(100, 0))), row(0x1101, translated(10, tag(110, 5))), row(0x1101, kDropOneTag),
                 row(0x1101, kDropTwoTags), unlocked(1)});
    return {"internet", all};
}

OperatorService priorities() {
    Requests all{allocId(1, 1025), bridge(2), mapper(0x1010, 0)};
    Bytes dscpMap = hex("000000 249249 492492 6DB6DB 924924 B6DB6D DB6DB6 FFFFFF");
    all.push_back(setBytes({class_id::kMapper, 0x1010}, attr::mapper::kDscpMap, dscpMap));
    for (unsigned number = 0; number < 4; ++number) {
        const auto instance = static_cast<InstanceId>(0x1010 + number);
        all.push_back(gemPort(instance, static_cast<std::uint16_t>(1011 + number), 1, number));
        all.push_back(interworking(instance, kToMapper, 0x1010));
        all.push_back(set(class_id::kPriorityQueue, upstreamQueue(1, number),
                          {{attr::priority_queue::kWeight, 20 + 20 * number}}));
    }
    all.push_back(set(class_id::kTCont, tcont(1), {{attr::t_cont::kPolicy, 2}}));
    TaggingRow byDscp = untagged({TagTreatment::kFromDscp, 200, TagTreatment::k8100});
    append(all, {mapped(0x1010, 0x1010, 4), bridgePort(0x1010, 2, 1, kMapperTp, 0x1010),
                 vlanFilter(0x1010, {200, 220}, kVidListUntaggedDropped), bridgePort(0x1110, 2, 2, kUni, port(2)),
                 tagging(0x1110, kAtUni, port(2)), tpids(0x1110, 0x8100),
                 setBytes({class_id::kExtendedTagging, 0x1110}, attr::extended_tagging::kDscpMap, dscpMap),
                 row(0x1110, byDscp), row(0x1110, translated(20, {TagTreatment::kCopyInner, 220, TagTreatment::k8100})),
                 row(0x1110, kDropOneTag), row(0x1110, kDropTwoTags), unlocked(2)});
    return {"priorities", all};
}

OperatorService transparent() {
    Requests all{allocId(2, 1026),
                 bridge(3),
                 gemPort(0x1020, 1021, 2, 0),
                 interworking(0x1020, kToBridge, 3),
                 bridgePort(0x1020, 3, 1, kInterworking, 0x1020),
                 vlanFilter(0x1020, {900}, kVidListUntaggedDropped),
                 bridgePort(0x1120, 3, 2, kUni, port(3)),
                 tagging(0x1120, kAtUni, port(3)),
                 tpids(0x1120, 0x88A8),
                 row(0x1120, untagged({0, 900, TagTreatment::kOutputDei0})),
                 row(0x1120, "F8000000 88000000 000F0000 00081C22"),
                 row(0x1120, kDropTwoTags),
                 unlocked(3)};
    return {"transparent", all};
}

OperatorService television() {
    Requests all = oneGemPort(3, 4, 0x1030, 1031, {310});
    append(all, {bridgePort(0x1130, 4, 2, kUni, port(4)), tagging(0x1130, kAtUni, port(4)), tpids(0x1130, 0x8100),
                 row(0x1130, untagged(tag(310, 4))), row(0x1130, kDropOneTag), row(0x1130, kDropTwoTags)});
    all.push_back(create(class_id::kGemPort, 0x1031,
                         {{attr::gem_port::kPortId, kMulticastGemPort},
                          {attr::gem_port::kTContPointer, kNull},
                          {attr::gem_port::kDirection, kDown},
                          {attr::gem_port::kUpstreamDescriptorPointer, kNull},
                          {attr::gem_port::kDownstreamDescriptorPointer, kNull}}));
    all.push_back(
        create(class_id::kMulticastInterworking, 0x1031, {{attr::multicast_interworking::kGemPortPointer, 0x1031}}));
    all.push_back(setBytes({class_id::kMulticastInterworking, 0x1031}, attr::multicast_interworking::kIpv4Table,
                           hex("FFFE 0000 E0000000 EFFFFFFF")));
    all.push_back(bridgePort(0x1031, 4, 3, kMulticastTp, 0x1031));
    all.push_back(create(class_id::kMulticastProfile, 0x1032,
                         {{attr::multicast_profile::kIgmpVersion, 3}, {attr::multicast_profile::kImmediateLeave, 1}}));
    all.push_back(setBytes({class_id::kMulticastProfile, 0x1032}, attr::multicast_profile::kDynamicAccessTable,
                           hex("4001 FFFE 0136 00000000 E0000000 EFFFFFFF 00000000 0000")));
    all.push_back(
        create(class_id::kMulticastSubscriber, 0x1130, {{attr::multicast_subscriber::kProfilePointer, 0x1032}}));
    all.push_back(create(class_id::kMulticastMonitor, 0x1130, {}));
    all.push_back(unlocked(4));
    return {"television", all};
}

OperatorService gateway() {
    Requests all = oneGemPort(4, 5, 0x1040, 1041, {400});
    append(all, {mapper(0x1041, 1), gemPort(0x1041, 1042, 4, 5), interworking(0x1041, kToMapper, 0x1041),
                 mapped(0x1041, 0x1041, 1), bridgePort(0x1041, 5, 2, kMapperTp, 0x1041),
                 vlanFilter(0x1041, {410}, kVidListUntaggedDropped), bridgePort(0x1140, 5, 3, kVeipTp, 0x0601),
                 set(class_id::kVeip, 0x0601, {{attr::veip::kAdministrativeState, 0}})});
    return {"gateway", all};
}

OperatorService management() {
    Requests all = oneGemPort(5, 6, 0x1050, 1051, {500});
    // The host's own frames have no tag: the HAL puts none on.
    all.back() = vlanFilter(0x1050, {500}, 0x0F);
    append(all, {bridgePort(0x1150, 6, 2, kIpHostTp, 0), tagging(0x1150, kAtIpHost, 0), tpids(0x1150, 0x8100),
                 row(0x1150, untagged(tag(500, 6)))});
    all.push_back(set(class_id::kIpHost, 0,
                      {{attr::ip_host::kIpOptions, 0x0A},
                       {attr::ip_host::kIpAddress, 0x0A000005},
                       {attr::ip_host::kMask, 0xFFFFFF00},
                       {attr::ip_host::kGateway, 0x0A000001}}));
    all.push_back(
        create(class_id::kTcpUdp, 0x1F90,
               {{attr::tcp_udp::kPortId, 8080}, {attr::tcp_udp::kProtocol, 6}, {attr::tcp_udp::kIpHostPointer, 0}}));
    return {"management", all};
}

std::vector<OperatorService> operatorServices() {
    std::vector<OperatorService> services{internet(),   priorities(), transparent(),
                                          television(), gateway(),    management()};
    // The one profile of all GEM ports comes with the first service.
    auto& first = services.front().requests;
    first.insert(first.begin(), create(class_id::kGalProfile, kGal, {{1, 48}}));
    return services;
}

std::vector<std::string> serviceNames() {
    std::vector<std::string> names;
    for (const auto& service : operatorServices()) names.emplace_back(service.name);
    return names;
}

Requests allServices() {
    Requests all;
    for (const auto& service : operatorServices()) append(all, service.requests);
    return all;
}

}  // namespace olt
