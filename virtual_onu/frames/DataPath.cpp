#include "frames/DataPath.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "Core.h"
#include "Facilities.h"
#include "frames/TagTreatment.h"
#include "kernel/Network.h"
#include "kit/VlanTables.h"
#include "shell/Runner.h"

namespace virtual_onu::datapath {

namespace {

constexpr const char* kPonDevice = "gpondef";
// A frame and its copies pass at most this many look-ups; more means that devices are stacked in a ring.
constexpr std::size_t kMostHops = 1024;
// The engine's devices have tables for up to 2 tags; a device that somebody gave a table for 3 tags uses it too.
constexpr unsigned kOrdinaryTables = 2;
constexpr unsigned kVeipTable = 3;

// What the bridges know: bridge, MAC address, port.
std::map<std::string, std::map<std::string, std::string>>& learned() {
    static auto* table = new std::map<std::string, std::map<std::string, std::string>>;
    return *table;
}

std::string lowerCase(std::string mac) {
    for (char& c : mac) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return mac;
}

bool isGroupAddress(const std::string& mac) {
    std::uint8_t bytes[6] = {};
    return network::parseMac(mac, bytes) && (bytes[0] & 1) != 0;
}

// One copy of the frame on its way through the device.
struct Copy {
    Frame frame;
    Marks marks;
    int hop = -1;  // the last one
};

// A table with the place where it stands.
struct PlacedTable {
    std::string device;
    unsigned direction;
    unsigned tags;
    const vlan::Table& content;
};

// The table for a number of tags; nothing where the device has none for it.
std::optional<PlacedTable> tableFor(const std::string& device, unsigned direction, std::size_t tags) {
    const unsigned highest = vlan::tableOf(device, direction, kVeipTable) != nullptr ? kVeipTable : kOrdinaryTables;
    const unsigned chosen = std::min(static_cast<unsigned>(tags), highest);
    const vlan::Table* table = vlan::tableOf(device, direction, chosen);
    if (table == nullptr) return std::nullopt;
    return PlacedTable{device, direction, chosen, *table};
}

// Answers why the frame cannot leave through the PON, or "" and where it leaves.
std::string choosePonQueue(const Marks& marks, Exit& exit) {
    if (!marks.gemIndex) return "no rule marked the frame with a GEM port";
    const auto ports = VirtualOnu::instance().gemPorts();
    const auto port = std::find_if(ports.begin(), ports.end(),
                                   [&](const GemPort& candidate) { return candidate.index == *marks.gemIndex; });
    if (port == ports.end()) return "there is no GEM port with index " + std::to_string(*marks.gemIndex);
    const std::string name = "GEM port " + std::to_string(port->portId);
    if (!port->enabled) return name + " is set down";
    if (port->downstreamOnly) return name + " is for downstream only";
    const auto tconts = VirtualOnu::instance().tconts();
    const auto tcont = std::find_if(tconts.begin(), tconts.end(),
                                    [&](const Tcont& candidate) { return candidate.allocId == port->allocId; });
    if (tcont == tconts.end())
        return "alloc-id " + std::to_string(port->allocId) + " of " + name + " is bound to no T-CONT";
    const unsigned queue = marks.queue.value_or(0);
    if (std::none_of(tcont->queues.begin(), tcont->queues.end(), [&](const Queue& one) { return one.id == queue; }))
        return "T-CONT " + std::to_string(tcont->index) + " of " + name + " has no queue " + std::to_string(queue);
    exit.gemPort = port->portId;
    exit.gemIndex = port->index;
    exit.tcont = tcont->index;
    exit.queue = queue;
    return "";
}

class Walker {
public:
    Walker(const Frame& frame, Learning learning) : learning_(learning) { walk_.sent = frame; }
    Walk run() && { return std::move(walk_); }

    void enter(const std::string& name, const Frame& frame) {
        const auto device = network::device(name);
        // The gateway behind the VEIP, or the IP host: what it sends leaves through the real device.
        if (device && isEndpoint(*device)) {
            for (const auto& [entry, exit] : vlan::flowList())
                if (entry == name) followFlow(exit, {frame, {}, -1});
            return transmit(name, {frame, {}, -1});
        }
        if (!device || !device->up || !takeShortcut(name, frame)) receive(name, {frame, {}, -1});
    }

    void enterFromPon(unsigned gemPortId, const Frame& frame) {
        const std::string name = "GEM port " + std::to_string(gemPortId);
        const auto port = VirtualOnu::instance().gemPort(gemPortId);
        if (!port) return drop(-1, kPonDevice, "there is no " + name);
        if (!port->enabled) return drop(-1, kPonDevice, name + " is set down");
        receive(kPonDevice, {frame, Marks{port->index, std::nullopt}, -1});
    }

private:
    // A VLAN device behind which somebody stands, rather than a bridge: the gateway or the IP host.
    static bool isEndpoint(const NetworkDevice& device) {
        if (device.realDevice.empty()) return false;
        const auto under = network::device(device.realDevice);
        return device.routed || (under && under->isBridge);
    }

    // The device, when a frame can pass it; else the frame ends.
    std::optional<NetworkDevice> passable(const std::string& name, int hop) {
        if (walk_.hops.size() >= kMostHops) {
            drop(hop, name, "the devices are stacked in a ring");
            return std::nullopt;
        }
        auto device = network::device(name);
        if (device && device->up) return device;
        drop(hop, name, device ? name + " is down" : "there is no device " + name);
        return std::nullopt;
    }

    // A class of the runner that forwards the port's frames by itself. Which GEM port they get is in tables of the
    // runner that the HAL does not fill.
    bool takeShortcut(const std::string& port, const Frame& frame) {
        if (port.compare(0, 3, "sid") != 0) return false;
        const auto shortcut = runner::shortcutFor("lan" + port.substr(3), frame);
        if (!shortcut) return false;
        Copy copy{frame, {}, -1};
        if (shortcut->pushed) copy.frame.tags.insert(copy.frame.tags.begin(), *shortcut->pushed);
        copy.hop =
            add({Hop::Kind::Runner, -1, shortcut->name, 0, 0, {}, "forwards it itself", shortcut->egress, copy.frame});
        leave(shortcut->egress, copy);
        return true;
    }

    void followFlow(const std::string& name, const Copy& copy) {
        if (const auto target = network::device(name)) flow(*target, copy);
    }

    // A frame comes in at a device: from outside, or taken off the device under it.
    void receive(const std::string& name, Copy copy) {
        const auto device = passable(name, copy.hop);
        if (!device) return;
        const auto table = tableFor(name, kReceive, copy.frame.tags.size());
        std::string next;
        if (table && !lookUp(*table, "", copy, next)) return;
        if (next.empty() || next == name) return deliver(*device, copy);
        receive(next, std::move(copy));
    }

    // The frame belongs to this device itself: what stands behind it, its bridge, or its flows.
    void deliver(const NetworkDevice& device, const Copy& copy) {
        if (isEndpoint(device) || device.isBridge) return leave(device.name, copy);
        const bool bridged = !device.master.empty();
        bool flowed = false;
        for (const auto& [entry, exit] : vlan::flowList()) {
            if (entry != device.name) continue;
            const auto target = network::device(exit);
            // Inside a bridge a flow is only the accelerator's short cut; out of it, it is the way to the gateway.
            if (!target || (bridged && !target->routed)) continue;
            flowed = true;
            flow(*target, copy);
        }
        if (bridged) return bridge(device.master, device.name, copy, flowed);
        if (!flowed) drop(copy.hop, device.name, deadEnd(device.name));
    }

    static std::string deadEnd(const std::string& device) {
        return device == kPonDevice ? "no rule takes the frame off " + device : device + " is in no bridge";
    }

    void flow(const NetworkDevice& target, Copy copy) {
        copy.marks = {};
        copy.hop = add({Hop::Kind::Flow, copy.hop, target.name, 0, 0, {}, "flow", target.name, copy.frame});
        if (!target.routed) return transmit(target.name, copy);
        std::string next;
        const auto table = tableFor(target.realDevice, kTransmit, copy.frame.tags.size());
        if (!table || lookUp(*table, target.name, copy, next)) leave(target.name, copy);
    }

    // A frame in a bridge: from one of its ports, or from the bridge's own devices (port ""). flowed: a copy goes
    // elsewhere already.
    void bridge(const std::string& name, const std::string& port, const Copy& copy, bool flowed) {
        const auto device = passable(name, copy.hop);
        if (!device) return;
        auto& table = learned()[name];
        if (learning_ == Learning::On && !port.empty() && !isGroupAddress(copy.frame.source))
            table[lowerCase(copy.frame.source)] = port;
        const bool group = isGroupAddress(copy.frame.destination);
        const std::string destination = lowerCase(copy.frame.destination);
        const bool ownAddress = !port.empty() && isOwnAddress(*device, destination);
        const bool own = ownAddress || (group && !port.empty() && carriesDevice(name));
        if (own) {
            Copy one{copy.frame, {}, copy.hop};  // the marks were for the way in
            one.hop =
                add({Hop::Kind::Bridge, copy.hop, name, 0, 0, {}, "to the bridge's own devices", name, one.frame});
            receive(name, one);
        }
        if (ownAddress) return;

        const auto known = group ? table.end() : table.find(destination);
        const auto members = network::bridge(name).value_or(Bridge{}).members();
        const bool flood =
            known == table.end() || std::find(members.begin(), members.end(), known->second) == members.end();
        if (!flood && known->second == port)
            return drop(copy.hop, name, copy.frame.destination + " is behind the port that it came from");
        bool sent = flowed || own;
        for (const std::string& member : members) {
            if (member == port || (!flood && member != known->second)) continue;
            sent = true;
            Copy one{copy.frame, {}, copy.hop};
            one.hop =
                add({Hop::Kind::Bridge, copy.hop, name, 0, 0, {}, flood ? "flooded" : "learned", member, one.frame});
            transmit(member, one);
        }
        if (!sent) drop(copy.hop, name, name + " has no other port");
    }

    static bool carriesDevice(const std::string& bridgeName) {
        const auto devices = network::devices();
        return std::any_of(devices.begin(), devices.end(),
                           [&](const NetworkDevice& one) { return one.realDevice == bridgeName; });
    }

    static bool isOwnAddress(const NetworkDevice& bridgeDevice, const std::string& mac) {
        if (bridgeDevice.mac == mac) return true;
        const auto devices = network::devices();
        return std::any_of(devices.begin(), devices.end(), [&](const NetworkDevice& one) {
            return one.realDevice == bridgeDevice.name && one.mac == mac;
        });
    }

    // The frame leaves through a device: a VLAN device's real device looks it up, a bridge floods what its own devices
    // send, anything else is a port.
    void transmit(const std::string& name, Copy copy) {
        const auto device = passable(name, copy.hop);
        if (!device) return;
        if (device->isBridge) return bridge(name, "", copy, false);
        if (device->realDevice.empty()) return leave(name, copy);
        std::string next;
        const auto table = tableFor(device->realDevice, kTransmit, copy.frame.tags.size());
        if (table && !lookUp(*table, name, copy, next)) return;
        transmit(device->realDevice, std::move(copy));
    }

    void leave(const std::string& device, const Copy& copy) {
        Exit exit;
        exit.hop = copy.hop;
        exit.device = device;
        exit.frame = copy.frame;
        const std::string refused = device == kPonDevice ? choosePonQueue(copy.marks, exit) : "";
        if (!refused.empty()) return drop(copy.hop, device, refused);
        walk_.exits.push_back(std::move(exit));
    }

    // First match wins. False when the frame ends here; next is the VLAN device that a receive table names.
    bool lookUp(const PlacedTable& table, const std::string& txDevice, Copy& copy, std::string& next) {
        const auto& rules = table.content.rules;
        const auto& defaultAction = table.content.defaultAction;
        const auto rule = std::find_if(rules.begin(), rules.end(), [&](const TagRule& candidate) {
            return matches(candidate, copy.frame, copy.marks, txDevice);
        });
        Hop hop{Hop::Kind::Table, copy.hop, table.device, table.direction, table.tags, {}, "", "", copy.frame};
        std::string refused;
        if (rule != rules.end()) {
            hop.rule = rule->id;
            hop.detail = rule->text();
            refused = apply(*rule, copy.frame, copy.marks);
            for (const RuleTerm& term : rule->terms)
                if (term.kind == RuleTerm::Kind::RxDevice) next = term.device;
        } else if (defaultAction && defaultAction->action != 0) {
            hop.detail = "default: drop";
            refused = "no rule matches, the default drops";
        } else {
            hop.detail = defaultAction ? "default: pass" : "no rule and no default: pass";
            if (defaultAction) next = defaultAction->device;
        }
        if (refused.empty()) hop.to = table.direction == kTransmit ? table.device : next.empty() ? table.device : next;
        hop.frame = copy.frame;
        copy.hop = add(std::move(hop));
        if (!refused.empty()) drop(copy.hop, table.device, refused);
        return refused.empty();
    }

    int add(Hop hop) {
        walk_.hops.push_back(std::move(hop));
        return static_cast<int>(walk_.hops.size()) - 1;
    }

    void drop(int hop, const std::string& device, const std::string& reason) {
        walk_.drops.push_back({hop, device, reason});
    }

    Learning learning_;
    Walk walk_;
};

bool hasTooManyTags(const Frame& frame) {
    return frame.tags.size() > kMostTags;
}

Walk refusal(const std::string& device, const Frame& frame) {
    Walk walk;
    walk.sent = frame;
    walk.drops.push_back({-1, device, "a frame has at most " + std::to_string(kMostTags) + " tags"});
    return walk;
}

}  // namespace

void reset() {
    const DeviceLock lock(deviceMutex());
    learned().clear();
}

Walk fromPort(const std::string& device, const Frame& frame, Learning learning) {
    const DeviceLock lock(deviceMutex());
    if (hasTooManyTags(frame)) return refusal(device, frame);
    Walker walker(frame, learning);
    walker.enter(device, frame);
    return std::move(walker).run();
}

Walk fromPon(unsigned gemPortId, const Frame& frame, Learning learning) {
    const DeviceLock lock(deviceMutex());
    if (hasTooManyTags(frame)) return refusal(kPonDevice, frame);
    Walker walker(frame, learning);
    walker.enterFromPon(gemPortId, frame);
    return std::move(walker).run();
}

}  // namespace virtual_onu::datapath

namespace virtual_onu {

Walk VirtualOnu::sendFromPort(const std::string& device, const Frame& frame, Learning learning) {
    return datapath::fromPort(device, frame, learning);
}

Walk VirtualOnu::sendFromPon(unsigned gemPortId, const Frame& frame, Learning learning) {
    return datapath::fromPon(gemPortId, frame, learning);
}

void VirtualOnu::forgetLearned() {
    datapath::reset();
}

}  // namespace virtual_onu
