#include "kernel/Sysfs.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "Core.h"
#include "kernel/Network.h"

namespace virtual_onu::sysfs {
namespace {

constexpr char kNetRoot[] = "/sys/class/net";
constexpr char kIpv6Root[] = "/proc/sys/net/ipv6/conf";
constexpr char kIpv6Leaf[] = "disable_ipv6";
constexpr unsigned kEthernetType = 1;

// Bounds of the bridge's timers while the spanning tree runs, and of its numbers (linux/net/bridge). Hundredths of a
// second.
constexpr long kMinHello = 100, kMaxHello = 1000;
constexpr long kMinForwardDelay = 200, kMaxForwardDelay = 3000;
constexpr long kMinMaxAge = 600, kMaxMaxAge = 4000;
constexpr long kMaxPathCost = 65535;
constexpr long kMaxPortPriority = 63;
constexpr long kMaxBridgePriority = 65535;

// ---- attributes of a device ----

using Subject = NetworkDevice;

std::string line(long long number) {
    return std::to_string(number) + "\n";
}
std::string line(const std::string& text) {
    return text + "\n";
}
std::string hexLine(unsigned number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x\n", number);
    return text;
}

std::string identifier(int priority, std::string mac) {
    mac.erase(std::remove(mac.begin(), mac.end(), ':'), mac.end());
    char text[8];
    std::snprintf(text, sizeof text, "%04x.", static_cast<unsigned>(priority) & 0xffffu);
    return text + mac;
}

using DeviceReader = std::string (*)(const NetworkDevice&);
const std::map<std::string, DeviceReader>& deviceAttributes() {
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table = *new const std::map<std::string, DeviceReader>{
        {"operstate", [](const NetworkDevice& d) { return line(d.operState); }},
        {"ifindex", [](const NetworkDevice& d) { return line(d.index); }},
        {"mtu", [](const NetworkDevice& d) { return line(d.mtu); }},
        {"address", [](const NetworkDevice& d) { return line(d.mac); }},
        {"flags", [](const NetworkDevice& d) { return hexLine(network::kernelFlags(d)); }},
        {"carrier", [](const NetworkDevice& d) { return line(d.operState == "up" ? 1 : 0); }},
        {"type", [](const NetworkDevice&) { return line(kEthernetType); }},
    };
    return table;
}

// ---- attributes of a bridge ----

using BridgeReader = std::string (*)(const Bridge&, const NetworkDevice&);
using BridgeWriter = int (*)(Bridge&, long);
struct BridgeAttribute {
    BridgeReader read;
    BridgeWriter write;  // null: read only
};

// The kernel checks a timer's range only while the spanning tree runs, hello time and max age always.
int setTimer(int& timer, long value, bool checked, long lowest, long highest) {
    if (checked && (value < lowest || value > highest)) return ERANGE;
    timer = static_cast<int>(value);
    return 0;
}

const std::map<std::string, BridgeAttribute>& bridgeAttributes() {
    static const auto zero = [](const Bridge&, const NetworkDevice&) { return line(0); };
    static const auto ownId = [](const Bridge& b, const NetworkDevice& d) {
        return line(identifier(b.priority, d.mac));
    };
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table = *new const std::map<std::string, BridgeAttribute>{
        {"stp_state",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.stp ? 1 : 0); },
          [](Bridge& b, long value) {
              b.stp = value != 0;
              return 0;
          }}},
        {"forward_delay",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.forwardDelay); },
          [](Bridge& b, long value) {
              return setTimer(b.forwardDelay, value, b.stp, kMinForwardDelay, kMaxForwardDelay);
          }}},
        {"hello_time",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.helloTime); },
          [](Bridge& b, long value) { return setTimer(b.helloTime, value, true, kMinHello, kMaxHello); }}},
        {"max_age",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.maxAge); },
          [](Bridge& b, long value) { return setTimer(b.maxAge, value, true, kMinMaxAge, kMaxMaxAge); }}},
        {"ageing_time",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.ageingTime); },
          [](Bridge& b, long value) { return setTimer(b.ageingTime, value, false, 0, 0); }}},
        {"priority",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.priority); },
          [](Bridge& b, long value) {
              b.priority = static_cast<int>(value & kMaxBridgePriority);
              return 0;
          }}},
        {"multicast_snooping",
         {[](const Bridge& b, const NetworkDevice&) { return line(b.multicastSnooping ? 1 : 0); },
          [](Bridge& b, long value) {
              b.multicastSnooping = value != 0;
              return 0;
          }}},
        {"bridge_id", {ownId, nullptr}},
        {"root_id", {ownId, nullptr}},
        {"root_port", {zero, nullptr}},
        {"root_path_cost", {zero, nullptr}},
        {"topology_change", {zero, nullptr}},
        {"topology_change_detected", {zero, nullptr}},
        {"hello_timer", {zero, nullptr}},
        {"tcn_timer", {zero, nullptr}},
        {"topology_change_timer", {zero, nullptr}},
        {"gc_timer", {zero, nullptr}},
    };
    return table;
}

// ---- attributes of a bridge port ----

struct PortView {
    BridgePort port;
    unsigned number = 0;  // from 1
    Bridge bridge;
    std::string bridgeMac;
};
unsigned portId(const PortView& view) {
    return static_cast<unsigned>(view.port.priority) << 10 | view.number;
}

using PortReader = std::string (*)(const PortView&);
using PortWriter = int (*)(BridgePort&, long);
struct PortAttribute {
    PortReader read;
    PortWriter write;
};

const std::map<std::string, PortAttribute>& portAttributes() {
    static const auto zero = [](const PortView&) { return line(0); };
    static const auto bridgeId = [](const PortView& v) { return line(identifier(v.bridge.priority, v.bridgeMac)); };
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table = *new const std::map<std::string, PortAttribute>{
        {"priority",
         {[](const PortView& v) { return line(v.port.priority); },
          [](BridgePort& port, long value) {
              if (value > kMaxPortPriority) return ERANGE;
              port.priority = static_cast<int>(value);
              return 0;
          }}},
        {"path_cost",
         {[](const PortView& v) { return line(v.port.pathCost); },
          [](BridgePort& port, long value) {
              if (value < 1 || value > kMaxPathCost) return ERANGE;
              port.pathCost = static_cast<int>(value);
              return 0;
          }}},
        {"state", {[](const PortView& v) { return line(static_cast<unsigned>(network::stateOf(v.port))); }, nullptr}},
        {"port_no", {[](const PortView& v) { return hexLine(v.number); }, nullptr}},
        {"port_id", {[](const PortView& v) { return hexLine(portId(v)); }, nullptr}},
        {"designated_root", {bridgeId, nullptr}},
        {"designated_bridge", {bridgeId, nullptr}},
        {"designated_port", {[](const PortView& v) { return line(portId(v)); }, nullptr}},
        {"designated_cost", {zero, nullptr}},
        {"change_ack", {zero, nullptr}},
        {"config_pending", {zero, nullptr}},
        {"message_age_timer", {zero, nullptr}},
        {"forward_delay_timer", {zero, nullptr}},
        {"hold_timer", {zero, nullptr}},
        {"hairpin_mode", {zero, nullptr}},
        {"isolated",
         {[](const PortView& v) { return line(v.port.isolated ? 1 : 0); },
          [](BridgePort& port, long value) {
              port.isolated = value != 0;
              return 0;
          }}},
    };
    return table;
}

std::optional<PortView> portView(const NetworkDevice& device) {
    const auto bridge = network::bridge(device.master);
    const auto master = network::device(device.master);
    if (!bridge || !master) return std::nullopt;
    for (std::size_t i = 0; i < bridge->ports.size(); ++i) {
        if (bridge->ports[i].name != device.name) continue;
        return PortView{bridge->ports[i], static_cast<unsigned>(i + 1), *bridge, master->mac};
    }
    return std::nullopt;
}

// A record of 16 bytes of the forwarding database; the age in hundredths of a second.
std::string databaseRecord(const std::string& macText, std::size_t port, bool local, std::uint64_t ageMs) {
    std::uint8_t mac[6] = {};
    if (!network::parseMac(macText, mac)) return "";
    char record[16] = {};
    std::memcpy(record, mac, sizeof mac);
    record[6] = static_cast<char>(port & 0xff);
    record[7] = local ? 1 : 0;
    const auto age = static_cast<std::uint32_t>(ageMs / 10);
    std::memcpy(record + 8, &age, sizeof age);
    record[12] = static_cast<char>(port >> 8);
    return {record, sizeof record};
}

// The forwarding database: the addresses of the bridge's ports, and those that it has learned.
std::string forwardingDatabase(const Bridge& bridge) {
    const auto members = bridge.members();
    std::string records;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const auto device = network::device(members[i]);
        if (device) records += databaseRecord(device->mac, i + 1, true, 0);
    }
    for (const auto& one : VirtualOnu::instance().learnedAddresses()) {
        const auto port = std::find(members.begin(), members.end(), one.port);
        if (one.bridge != bridge.name || port == members.end()) continue;
        records += databaseRecord(one.mac, static_cast<std::size_t>(port - members.begin()) + 1, false, one.ageMs);
    }
    return records;
}

// ---- paths ----

bool isUnder(const std::string& path, const std::string& root) {
    return path.compare(0, root.size(), root) == 0 && (path.size() == root.size() || path[root.size()] == '/');
}

std::vector<std::string> partsBelow(const std::string& path, const std::string& root) {
    std::vector<std::string> parts;
    std::string part;
    for (std::size_t i = root.size(); i <= path.size(); ++i) {
        if (i < path.size() && path[i] != '/') {
            part += path[i];
        } else if (!part.empty()) {
            parts.push_back(part);
            part.clear();
        }
    }
    return parts;
}

struct SysfsPath {
    bool ipv6 = false;
    std::vector<std::string> parts;
    std::optional<NetworkDevice> device;  // of the first part
};

SysfsPath locate(const std::string& path) {
    SysfsPath place;
    place.ipv6 = isUnder(path, kIpv6Root);
    place.parts = partsBelow(path, place.ipv6 ? kIpv6Root : kNetRoot);
    if (!place.parts.empty()) place.device = network::device(place.parts[0]);
    return place;
}

template <typename Table>
void appendNames(std::vector<Entry>& entries, const Table& table) {
    for (const auto& item : table) entries.push_back({item.first, false});
}

std::optional<std::string> readIn(const SysfsPath& place, const std::string& folder, const std::string& leaf) {
    const NetworkDevice& device = *place.device;
    if (folder == "statistics") {
        const auto found = device.statistics.find(leaf);
        if (found == device.statistics.end()) return std::nullopt;
        return std::to_string(found->second) + "\n";
    }
    if (folder == "bridge") {
        const auto bridge = network::bridge(device.name);
        const auto found = bridgeAttributes().find(leaf);
        if (!bridge || found == bridgeAttributes().end()) return std::nullopt;
        return found->second.read(*bridge, device);
    }
    if (folder == "brport") {
        const auto view = portView(device);
        const auto found = portAttributes().find(leaf);
        if (!view || found == portAttributes().end()) return std::nullopt;
        return found->second.read(*view);
    }
    return std::nullopt;
}

std::vector<Entry> deviceFolder(const NetworkDevice& device) {
    std::vector<Entry> entries;
    appendNames(entries, deviceAttributes());
    entries.push_back({"statistics", true});
    if (device.isBridge) {
        entries.push_back({"bridge", true});
        entries.push_back({"brif", true});
        entries.push_back({"brforward", false});
    }
    if (!device.master.empty()) entries.push_back({"brport", true});
    return entries;
}

std::optional<std::vector<Entry>> subFolder(const NetworkDevice& device, const std::string& folder) {
    std::vector<Entry> entries;
    if (folder == "statistics") {
        appendNames(entries, device.statistics);
    } else if (folder == "bridge" && device.isBridge) {
        appendNames(entries, bridgeAttributes());
    } else if (folder == "brport" && !device.master.empty()) {
        appendNames(entries, portAttributes());
    } else if (folder == "brif" && device.isBridge) {
        const auto bridge = network::bridge(device.name);
        for (const auto& port : bridge ? bridge->members() : std::vector<std::string>{})
            entries.push_back({port, true});
    } else {
        return std::nullopt;
    }
    return entries;
}

// The number as the kernel's kstrtoul takes it: a line end may follow, nothing else.
int parseNumber(const std::string& text, long& number) {
    const bool digits = !text.empty() && (std::isdigit(static_cast<unsigned char>(text[0])) != 0 || text[0] == '+');
    if (!digits) return EINVAL;
    char* end = nullptr;
    errno = 0;
    const unsigned long value = std::strtoul(text.c_str(), &end, 0);
    if (*end == '\n') ++end;
    if (*end != '\0') return EINVAL;
    if (errno == ERANGE || value > static_cast<unsigned long>(INT32_MAX)) return ERANGE;
    number = static_cast<long>(value);
    return 0;
}

bool isPortAttribute(const SysfsPath& place) {
    return place.device && place.parts.size() == 3 && place.parts[1] == "brport";
}

}  // namespace

bool owns(const std::string& path) {
    return isUnder(path, kNetRoot) || isUnder(path, kIpv6Root);
}

std::optional<std::string> read(const std::string& path) {
    const DeviceAccess lock(deviceMutex());
    const SysfsPath place = locate(path);
    if (!place.device || place.parts.size() < 2) return std::nullopt;
    if (place.ipv6) {
        if (place.parts.size() != 2 || place.parts[1] != kIpv6Leaf) return std::nullopt;
        return line(place.device->ipv6Disabled ? 1 : 0);
    }
    if (place.parts.size() == 3) return readIn(place, place.parts[1], place.parts[2]);
    // A port's attributes are also reached through its bridge: br3/brif/sid0.3/state.
    if (place.parts.size() == 4 && place.parts[1] == "brif") {
        SysfsPath port;
        port.device = network::device(place.parts[2]);
        if (!port.device || port.device->master != place.device->name) return std::nullopt;
        return readIn(port, "brport", place.parts[3]);
    }
    if (place.parts.size() != 2) return std::nullopt;
    if (place.parts[1] == "brforward" && place.device->isBridge) {
        const auto bridge = network::bridge(place.device->name);
        return bridge ? forwardingDatabase(*bridge) : std::optional<std::string>();
    }
    const auto found = deviceAttributes().find(place.parts[1]);
    if (found == deviceAttributes().end()) return std::nullopt;
    return found->second(*place.device);
}

std::optional<std::vector<Entry>> list(const std::string& path) {
    const DeviceAccess lock(deviceMutex());
    const SysfsPath place = locate(path);
    if (place.parts.empty()) {
        std::vector<Entry> entries;
        for (const auto& device : network::devices()) entries.push_back({device.name, true});
        return entries;
    }
    if (!place.device) return std::nullopt;
    if (place.ipv6) {
        if (place.parts.size() > 1) return std::nullopt;
        return std::vector<Entry>{{kIpv6Leaf, false}};
    }
    if (place.parts.size() == 1) return deviceFolder(*place.device);
    if (place.parts.size() == 2) return subFolder(*place.device, place.parts[1]);
    if (place.parts.size() == 3 && place.parts[1] == "brif") {
        const auto port = network::device(place.parts[2]);
        if (port && port->master == place.device->name) return subFolder(*port, "brport");
    }
    return std::nullopt;
}

bool writable(const std::string& path) {
    const DeviceAccess lock(deviceMutex());
    const SysfsPath place = locate(path);
    if (place.ipv6) return true;
    if (place.parts.size() == 2) return place.parts[1] == "mtu";
    if (place.parts.size() == 4 && place.parts[1] == "brif") {
        const auto port = portAttributes().find(place.parts[3]);
        return port != portAttributes().end() && port->second.write != nullptr;
    }
    if (place.parts.size() != 3) return false;
    const auto bridge = bridgeAttributes().find(place.parts[2]);
    if (place.parts[1] == "bridge") return bridge != bridgeAttributes().end() && bridge->second.write != nullptr;
    const auto port = portAttributes().find(place.parts[2]);
    return isPortAttribute(place) && port != portAttributes().end() && port->second.write != nullptr;
}

int write(const std::string& path, const std::string& text) {
    const DeviceAccess lock(deviceMutex());
    const SysfsPath place = locate(path);
    if (!place.device) return ENODEV;
    if (!writable(path)) return EACCES;
    long number = 0;
    if (const int error = parseNumber(text, number)) return error;
    if (place.ipv6) return network::setIpv6Disabled(place.device->name, number != 0);
    if (place.parts.size() == 2) return network::setMtu(place.device->name, static_cast<int>(number));
    const std::string& leaf = place.parts.back();
    if (place.parts[1] == "bridge") {
        const auto set = bridgeAttributes().at(leaf).write;
        return network::changeBridge(place.device->name, [&](Bridge& bridge) { return set(bridge, number); });
    }
    const auto set = portAttributes().at(leaf).write;
    const std::string port = place.parts.size() == 4 ? place.parts[2] : place.device->name;
    return network::changePort(port, [&](BridgePort& changed) { return set(changed, number); });
}

}  // namespace virtual_onu::sysfs
