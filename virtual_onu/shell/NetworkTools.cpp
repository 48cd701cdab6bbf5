// The shell's network tools: ifconfig, brctl, ip.
#include <net/if.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>

#include "kernel/Addresses.h"
#include "kernel/Network.h"
#include "shell/Shell.h"

namespace virtual_onu::shell {
namespace {

constexpr int kIpRefused = 2;  // exit status of "ip" when the kernel refuses
constexpr int kMainTable = 254;

using Words = std::vector<std::string>;

int statusOf(int error) {
    return error == 0 ? 0 : 1;
}
int ipStatus(int error) {
    return error == 0 ? 0 : kIpRefused;
}

std::optional<int> number(const std::string& text) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 0 || value > 0x7fffffff) return std::nullopt;
    return static_cast<int>(value);
}

int setUp(const std::string& name, bool up) {
    const auto device = network::device(name);
    if (!device) return ENODEV;
    const unsigned flags = network::kernelFlags(*device) & ~static_cast<unsigned>(IFF_UP | IFF_RUNNING);
    return network::setFlags(name, up ? flags | IFF_UP | IFF_RUNNING : flags);
}

// ---- ifconfig ----

std::string describe(const NetworkDevice& device) {
    std::string text = device.name + "\tLink encap:Ethernet  HWaddr " + device.mac + "\n";
    for (const auto& address : device.addresses) text += "\tinet addr:" + address + "\n";
    return text + "\t" + (device.up ? "UP " : "") + "BROADCAST MULTICAST  MTU:" + std::to_string(device.mtu) + "\n\n";
}

bool listDevices(Call& call) {
    for (const auto& device : network::devices()) {
        const bool wanted = call.words.size() < 2 ? device.up : call.words[1] == "-a" || call.words[1] == device.name;
        if (wanted) call.output += describe(device);
    }
    call.status = call.words.size() == 2 && call.output.empty() && call.words[1] != "-a" ? 1 : 0;
    return true;
}

int setIpv4Part(const std::string& name, in_addr_t network::Ipv4::*part, const std::string& text) {
    const auto value = network::parseIpv4(text);
    if (!value) return EINVAL;
    const int error = network::setIpv4(name, part, *value);
    // An address brings the device up, as the tool has it.
    return error == 0 && part == &network::Ipv4::address ? setUp(name, true) : error;
}

// Words of one setting; 0 for one that ifconfig on the device does not have.
std::size_t settingLength(const Words& words, std::size_t at) {
    const std::string& word = words[at];
    if (word == "up" || word == "down") return 1;
    if (word == "hw") return 3;
    if (word == "mtu" || word == "netmask" || word == "broadcast") return 2;
    const bool addressLike = word.find_first_not_of("0123456789.") == std::string::npos;
    return addressLike ? 1 : 0;
}

int applySetting(const std::string& name, const Words& words, std::size_t at) {
    const std::string& word = words[at];
    if (word == "up" || word == "down") return setUp(name, word == "up");
    if (word == "hw") return words[at + 1] == "ether" ? network::setMac(name, words[at + 2]) : EINVAL;
    if (word == "netmask") return setIpv4Part(name, &network::Ipv4::mask, words[at + 1]);
    if (word == "broadcast") return setIpv4Part(name, &network::Ipv4::broadcast, words[at + 1]);
    if (word != "mtu") return setIpv4Part(name, &network::Ipv4::address, word);
    const auto mtu = number(words[at + 1]);
    return mtu ? network::setMtu(name, *mtu) : EINVAL;
}

// Settings act one after the other; the first that fails ends the command.
bool ifconfig(Call& call) {
    const Words& words = call.words;
    if (words.size() < 3) return listDevices(call);
    for (std::size_t at = 2; at < words.size();) {
        const std::size_t length = settingLength(words, at);
        if (length == 0) return false;
        if (at + length > words.size()) break;  // found out, with a failure, when its turn comes
        at += length;
    }
    if (!network::exists(words[1])) call.status = 1;
    for (std::size_t at = 2; at < words.size() && call.status == 0;) {
        const std::size_t length = settingLength(words, at);
        call.status = at + length > words.size() ? 1 : statusOf(applySetting(words[1], words, at));
        at += length;
    }
    return true;
}

// ---- brctl ----

// Seconds with a fraction, as brctl takes them, in hundredths.
std::optional<int> hundredths(const std::string& text) {
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(seconds >= 0) || seconds > 1e6) return std::nullopt;
    return static_cast<int>(std::lround(seconds * 100));
}

int setBridgeTime(const Words& words, int Bridge::*time) {
    const auto value = hundredths(words[3]);
    if (!value) return EINVAL;
    return network::changeBridge(words[2], [&](Bridge& bridge) {
        bridge.*time = *value;
        return 0;
    });
}

int setStp(const Words& words) {
    const std::string& state = words[3];
    const bool on = state == "on" || state == "yes" || state == "1";
    if (!on && state != "off" && state != "no" && state != "0") return EINVAL;
    return network::changeBridge(words[2], [&](Bridge& bridge) {
        bridge.stp = on;
        return 0;
    });
}

int setBridgePriority(const Words& words) {
    const auto value = number(words[3]);
    if (!value || *value > 0xffff) return EINVAL;
    return network::changeBridge(words[2], [&](Bridge& bridge) {
        bridge.priority = *value;
        return 0;
    });
}

int setPortNumber(const Words& words, int BridgePort::*member, int lowest, int highest) {
    const auto value = number(words[4]);
    const auto port = network::device(words[3]);
    if (!port || port->master != words[2]) return EINVAL;
    if (!value || *value < lowest || *value > highest) return ERANGE;
    return network::changePort(words[3], [&](BridgePort& changed) {
        changed.*member = *value;
        return 0;
    });
}

struct BridgeCommand {
    std::size_t words;  // with "brctl"
    int (*run)(const Words&);
};
const std::map<std::string, BridgeCommand>& bridgeCommands() {
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table = *new const std::map<std::string, BridgeCommand>{
        {"addbr", {3, [](const Words& w) { return network::addBridge(w[2]); }}},
        {"delbr", {3, [](const Words& w) { return network::removeBridge(w[2]); }}},
        {"addif", {4, [](const Words& w) { return network::addPort(w[2], w[3]); }}},
        {"delif", {4, [](const Words& w) { return network::removePort(w[2], w[3]); }}},
        {"stp", {4, setStp}},
        {"setfd", {4, [](const Words& w) { return setBridgeTime(w, &Bridge::forwardDelay); }}},
        {"sethello", {4, [](const Words& w) { return setBridgeTime(w, &Bridge::helloTime); }}},
        {"setmaxage", {4, [](const Words& w) { return setBridgeTime(w, &Bridge::maxAge); }}},
        {"setageing", {4, [](const Words& w) { return setBridgeTime(w, &Bridge::ageingTime); }}},
        {"setbridgeprio", {4, setBridgePriority}},
        {"setportprio", {5, [](const Words& w) { return setPortNumber(w, &BridgePort::priority, 0, 63); }}},
        {"setpathcost", {5, [](const Words& w) { return setPortNumber(w, &BridgePort::pathCost, 1, 65535); }}},
    };
    return table;
}

bool showBridges(Call& call) {
    call.output = "bridge name\tSTP enabled\tinterfaces\n";
    for (const auto& bridge : network::bridges()) {
        const Words members = bridge.members();
        call.output += bridge.name + "\t\t" + (bridge.stp ? "yes" : "no") + "\t\t" +
                       (members.empty() ? "" : members.front()) + "\n";
        for (std::size_t i = 1; i < members.size(); ++i) call.output += "\t\t\t\t" + members[i] + "\n";
    }
    return true;
}

bool brctl(Call& call) {
    const Words& words = call.words;
    if (words.size() == 2 && words[1] == "show") return showBridges(call);
    const auto command = words.size() < 2 ? bridgeCommands().end() : bridgeCommands().find(words[1]);
    if (command == bridgeCommands().end()) return false;
    // Too few words, as an empty device name in a formatted command gives them, are the tool's usage error.
    call.status = words.size() != command->second.words ? 1 : statusOf(command->second.run(words));
    return true;
}

// ---- ip ----

// "from 10.0.0.5 table 12"
bool ipRule(Call& call) {
    const Words& words = call.words;
    if (words.size() < 3 || words[2] == "show" || words[2] == "list") {
        for (const auto& rule : VirtualOnu::instance().ipRules()) call.output += "32765:\t" + rule + "\n";
        return true;
    }
    const bool add = words[2] == "add";
    if (!add && words[2] != "del" && words[2] != "delete") return false;
    if (words.size() != 7 || words[3] != "from" || words[5] != "table") {
        call.status = 1;
        return true;
    }
    const bool valid = network::parseIpv4(words[4].substr(0, words[4].find('/'))) && number(words[6]);
    const std::string rule = "from " + words[4] + " table " + words[6];
    call.status = !valid ? 1 : ipStatus(add ? network::addIpRule(rule) : network::removeIpRule(rule));
    return true;
}

// "default via 10.0.0.1 dev br3.2 table 12"
bool ipRoute(Call& call) {
    const Words& words = call.words;
    if (words.size() < 3 || words[2] == "show" || words[2] == "list") {
        for (const auto& route : VirtualOnu::instance().ipRoutes()) call.output += route + "\n";
        return true;
    }
    const std::string& verb = words[2];
    const bool remove = verb == "del" || verb == "delete";
    if (!remove && verb != "add" && verb != "replace") return false;
    std::map<std::string, std::string> options;
    call.status = 1;
    if (words.size() < 4) return true;
    for (std::size_t at = 4; at < words.size(); at += 2) {
        if (words[at] != "via" && words[at] != "dev" && words[at] != "table") return true;
        if (at + 1 == words.size()) return true;
        options[words[at]] = words[at + 1];
    }
    const auto table = options.count("table") != 0 ? number(options["table"]) : std::optional<int>(kMainTable);
    const bool viaValid = options.count("via") == 0 || network::parseIpv4(options["via"]);
    if (!table || !viaValid) return true;
    if (remove) {
        call.status = ipStatus(network::removeIpRoute(words[3], *table));
        return true;
    }
    if (!network::exists(options["dev"])) return true;  // "Cannot find device"
    std::string text = words[3];
    for (const char* name : {"via", "dev", "table"}) {
        if (options.count(name) != 0) text += std::string(" ") + name + " " + options[name];
    }
    call.status = ipStatus(network::addIpRoute(words[3], options["dev"], *table, text, verb == "replace"));
    return true;
}

// "ip link set [dev] NAME up|down|mtu N|address MAC|master BRIDGE|nomaster"
bool ipLinkSet(Call& call, Words words) {
    if (!words.empty() && words[0] == "dev") words.erase(words.begin());
    if (words.size() < 2) return false;
    const std::string& name = words[0];
    if (!network::exists(name)) {
        call.status = 1;
        return true;
    }
    const std::string value = words.size() > 2 ? words[2] : std::string();
    if (words[1] == "up" || words[1] == "down") {
        call.status = ipStatus(setUp(name, words[1] == "up"));
    } else if (words[1] == "mtu") {
        call.status = ipStatus(network::setMtu(name, number(value).value_or(0)));
    } else if (words[1] == "address") {
        call.status = ipStatus(network::setMac(name, value));
    } else if (words[1] == "master") {
        call.status = ipStatus(network::addPort(value, name));
    } else if (words[1] == "nomaster") {
        const auto device = network::device(name);
        call.status = ipStatus(device && !device->master.empty() ? network::removePort(device->master, name) : 0);
    } else {
        return false;
    }
    return true;
}

bool ip(Call& call) {
    const Words& words = call.words;
    if (words.size() < 2) return false;
    if (words[1] == "rule") return ipRule(call);
    if (words[1] == "route") return ipRoute(call);
    if (words[1] != "link" || words.size() < 4) return false;
    if (words[2] == "set") return ipLinkSet(call, Words(words.begin() + 3, words.end()));
    if (words[2] == "add" && words.size() >= 6 && words[words.size() - 2] == "type" && words.back() == "bridge") {
        call.status = ipStatus(network::addBridge(words[words.size() - 3]));
        return true;
    }
    if (words[2] != "del" && words[2] != "delete") return false;
    call.status = ipStatus(network::removeDevice(words.back()));
    return true;
}

}  // namespace

Tool findNetworkTool(const std::string& name) {
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table =
        *new const std::map<std::string, Tool>{{"ifconfig", ifconfig}, {"brctl", brctl}, {"ip", ip}};
    const auto found = table.find(name);
    return found == table.end() ? nullptr : found->second;
}

}  // namespace virtual_onu::shell
