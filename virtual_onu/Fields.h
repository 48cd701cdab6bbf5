// The fields of the board's records, each once. Equality, the state as JSON (StateJson.h), board files (Records.h), and
// the tool's comparison of states and expectations are made from these lists: a field that is added to one is in all.
//
//   constexpr auto fieldsOf(const Phy*) {
//       return std::make_tuple(field("linkUp", &Phy::linkUp), field("speed", &Phy::speed).within(0, 100000));
//   }
#ifndef VIRTUAL_ONU_FIELDS_H
#define VIRTUAL_ONU_FIELDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "VirtualOnu.h"

namespace virtual_onu {

// ---- what a field is and where it is found ----

enum FieldUse : unsigned {
    kInState = 1U,     // VirtualOnu::toJson(), and expectations on the device
    kInFile = 2U,      // a board in a file
    kInEquality = 4U,  // operator==
    kInDiff = 8U,      // what provisioning decides; no counters, and no numbers that the kernel gives out
    kMayMiss = 16U,    // states and files of older boards do not have it
    kEverywhere = kInState | kInFile | kInEquality | kInDiff,
    kCounted = kInState | kInFile | kInEquality,
};

enum class TextForm { Any, DeviceName, MacAddress, BootId };

struct NumberRange {
    std::int64_t lowest = 0, highest = 0;  // both are part of it
};

template <typename Record, typename Value>
struct Field {
    const char* name;
    Value Record::*member;
    unsigned uses = kEverywhere;             // FieldUse
    std::optional<NumberRange> range = {};   // what a file may say; left out, what the type holds
    TextForm form = TextForm::Any;           // likewise
    std::size_t count = 0;                   // of a list: entries at most, of numbers exactly; 0: any
    std::optional<std::int64_t> unset = {};  // a number that the state has as null

    constexpr bool isIn(FieldUse use) const { return (uses & use) != 0; }
    constexpr Field within(std::int64_t lowest, std::int64_t highest) const {
        Field made = *this;
        made.range = NumberRange{lowest, highest};
        return made;
    }
    constexpr Field like(TextForm wanted) const {
        Field made = *this;
        made.form = wanted;
        return made;
    }
    constexpr Field counting(std::size_t entries) const {
        Field made = *this;
        made.count = entries;
        return made;
    }
    constexpr Field nullFor(std::int64_t number) const {
        Field made = *this;
        made.unset = number;
        return made;
    }
};

template <typename Record, typename Value>
constexpr Field<Record, Value> field(const char* name, Value Record::*member, unsigned uses = kEverywhere) {
    return {name, member, uses};
}

// visit(field) for the fields of this use, in the order of the list. The first one names the record among its like.
template <typename Record, typename Visit>
void forEachField(FieldUse use, Visit visit) {
    const auto one = [&](const auto& field) {
        if (field.isIn(use)) visit(field);
    };
    std::apply([&](const auto&... fields) { (one(fields), ...); }, fieldsOf(static_cast<const Record*>(nullptr)));
}

template <typename Record>
bool sameFields(const Record& first, const Record& second) {
    bool same = true;
    forEachField<Record>(kInEquality,
                         [&](const auto& field) { same = same && first.*field.member == second.*field.member; });
    return same;
}

// ---- network ----

namespace network {
constexpr int kMinMtu = 68;
constexpr int kMaxMtu = 65535;
}  // namespace network

constexpr auto fieldsOf(const NetworkDevice*) {
    using Device = NetworkDevice;
    return std::make_tuple(
        field("name", &Device::name).like(TextForm::DeviceName), field("index", &Device::index, kInState | kInEquality),
        field("up", &Device::up), field("mtu", &Device::mtu).within(network::kMinMtu, network::kMaxMtu),
        field("mac", &Device::mac).like(TextForm::MacAddress), field("addresses", &Device::addresses),
        field("master", &Device::master), field("realDevice", &Device::realDevice),
        field("isBridge", &Device::isBridge), field("routed", &Device::routed), field("multicast", &Device::multicast),
        field("ipv6Disabled", &Device::ipv6Disabled), field("flags", &Device::flags).within(0, 0xffff),
        field("operState", &Device::operState), field("takenDown", &Device::takenDown, kInFile),
        field("statistics", &Device::statistics, kInState | kInEquality));
}

// The state has the port's state in words in place of its times.
constexpr auto fieldsOf(const BridgePort*) {
    return std::make_tuple(field("name", &BridgePort::name).like(TextForm::DeviceName),
                           field("priority", &BridgePort::priority).within(0, 65535),
                           field("pathCost", &BridgePort::pathCost).within(0, 65535),
                           field("isolated", &BridgePort::isolated, kEverywhere | kMayMiss),
                           field("running", &BridgePort::running, kInFile),
                           field("learningFromMs", &BridgePort::learningFromMs, kInFile),
                           field("forwardingFromMs", &BridgePort::forwardingFromMs, kInFile));
}

constexpr auto fieldsOf(const Bridge*) {
    return std::make_tuple(field("name", &Bridge::name).like(TextForm::DeviceName), field("ports", &Bridge::ports),
                           field("stp", &Bridge::stp), field("forwardDelay", &Bridge::forwardDelay),
                           field("helloTime", &Bridge::helloTime), field("maxAge", &Bridge::maxAge),
                           field("ageingTime", &Bridge::ageingTime),
                           field("priority", &Bridge::priority).within(0, 65535),
                           field("multicastSnooping", &Bridge::multicastSnooping, kInState | kInFile | kInDiff));
}

constexpr auto fieldsOf(const LearnedAddress*) {
    return std::make_tuple(field("mac", &LearnedAddress::mac, kInState), field("port", &LearnedAddress::port, kInState),
                           field("ageMs", &LearnedAddress::ageMs, kInState));
}

// ---- PON ----

namespace pon {
constexpr unsigned kTconts = 32;
constexpr unsigned kQueuesPerTcont = 8;
constexpr unsigned kNoAllocId = 65535;
constexpr std::size_t kCounters = 10;  // of a GEM port
}  // namespace pon

constexpr auto fieldsOf(const Queue*) {
    return std::make_tuple(
        field("id", &Queue::id).within(0, pon::kQueuesPerTcont - 1), field("priority", &Queue::priority),
        field("size", &Queue::size), field("weight", &Queue::weight), field("schedMode", &Queue::schedMode),
        field("shapingRate", &Queue::shapingRate), field("shapingBurst", &Queue::shapingBurst),
        field("frames", &Queue::frames, kInState | kInFile), field("octets", &Queue::octets, kInState | kInFile));
}

constexpr auto fieldsOf(const Tcont*) {
    return std::make_tuple(field("index", &Tcont::index).within(0, pon::kTconts - 1),
                           field("allocId", &Tcont::allocId).within(0, pon::kNoAllocId).nullFor(pon::kNoAllocId),
                           field("trafficManaged", &Tcont::trafficManaged),
                           field("queues", &Tcont::queues).counting(pon::kQueuesPerTcont));
}

constexpr auto fieldsOf(const GemPort*) {
    return std::make_tuple(field("portId", &GemPort::portId).within(0, 65535),
                           field("index", &GemPort::index).within(0, 65535),
                           field("allocId", &GemPort::allocId).within(0, pon::kNoAllocId),
                           field("downstreamOnly", &GemPort::downstreamOnly), field("enabled", &GemPort::enabled),
                           field("counters", &GemPort::counters, kCounted).counting(pon::kCounters));
}

// ---- board ----

namespace board {

struct Identity {
    std::string serialNumber, partNumber;
    std::string baseMac;
    int bootedPartition = 0;
    std::string bootId;
};

struct Image {
    int image = 0;  // 1 or 2
    std::string version;
};

struct Phy {
    int port = 0;
    bool linkUp = true;
    int speed = 1000;  // Mbit/s
    int duplex = 1;
};

constexpr auto fieldsOf(const Identity*) {
    return std::make_tuple(field("serialNumber", &Identity::serialNumber), field("partNumber", &Identity::partNumber),
                           field("baseMac", &Identity::baseMac).like(TextForm::MacAddress),
                           field("bootedPartition", &Identity::bootedPartition),
                           field("bootId", &Identity::bootId, kInFile).like(TextForm::BootId));
}

// The numbers are the keys of a board file's records.
constexpr auto fieldsOf(const Image*) {
    return std::make_tuple(field("image", &Image::image, kInState | kInDiff), field("version", &Image::version));
}

constexpr auto fieldsOf(const Phy*) {
    return std::make_tuple(field("port", &Phy::port, kInState | kInDiff), field("linkUp", &Phy::linkUp),
                           field("speed", &Phy::speed), field("duplex", &Phy::duplex));
}

}  // namespace board

}  // namespace virtual_onu

#endif
