#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"

namespace {

constexpr const char* kConfig = "IPHost config";
constexpr const char* kDeconfig = "IPHost deconfig";
constexpr int kMtu = 1500;
constexpr int kRoutingTable = 12;

constexpr char kAddKeyMask[][64] = {
    "iq disable",
    "iq flush",
    "iq addkeymask --dstmac --maskprio 12",
    "iq enable",
};

// A command that was cut could mean something else.
bool isWhole(const CommandText& command) {
    if (!command.cut()) return true;
    ENGINE_LOG("IpHostCommands", kDataProvSource, kLogError, "Command is too long: %.40s...\n", command.get());
    return false;
}

// Whether the command succeeded.
bool runLogged(const char* label, const CommandText& command) {
    return isWhole(command) && runEngineCommand(label, command.get()) == 0;
}

// The name is in the line, but only as the beginning of another device's: "br3.1" in "dhcpc -i br3.10".
bool isAboutLongerName(const std::string& line, const std::string& name) {
    bool found = false;
    for (auto at = line.find(name); at != std::string::npos; at = line.find(name, at + 1)) {
        found = true;
        const std::size_t behind = at + name.size();
        if (behind >= line.size() || std::isdigit(static_cast<unsigned char>(line[behind])) == 0) return false;
    }
    return found;
}

// The first line of a process list that is not about a device with a longer name; "" when there is none. The part of an
// overlong line that does not fit is passed over.
std::string firstLineOfDevice(std::FILE* list, const std::string& device) {
    std::array<char, 1024> piece = {};
    bool begins = true;
    while (std::fgets(piece.data(), static_cast<int>(piece.size()), list) != nullptr) {
        const std::string line(piece.data());
        if (begins && !isAboutLongerName(line, device)) return line;
        begins = line.back() == '\n';
    }
    return {};
}

bool runUnlogged(const CommandText& command) {
    return isWhole(command) && runShell(command.get()) == 0;
}

}  // namespace

// ---- runner ----

bool IpHostCommands::setRoutedMac(const char* mac) {
    return runLogged(kConfig, CommandText("bs /b/c ip_class routed_mac[0]=%s", mac));
}

bool IpHostCommands::createHostFlowClass() {
    return runLogged(kConfig,
                     CommandText("bs /bdmf/new ingress_class/dir=ds,index=10,cfg={type=flow,fields=dst_mac,prty=10}"));
}

bool IpHostCommands::addHostFlow(const char* mac) {
    return runLogged(
        kConfig,
        CommandText("bs /bdmf/attr/add ingress_class/dir=ds,index=10 flow string key={dst_mac=%s},result={action=host}",
                    mac));
}

bool IpHostCommands::deleteHostFlowClass() {
    return runLogged(kDeconfig, CommandText("bs /b/d ingress_class/dir=ds,index=10"));
}

// ---- ingress queue ----

int IpHostCommands::addKeyMask() {
    int status = 0;
    for (const char* command : kAddKeyMask) status = std::system(command);
    return status;
}

bool IpHostCommands::addWholeKeyMask() {
    return std::all_of(std::begin(kAddKeyMask), std::end(kAddKeyMask),
                       [](const char* command) { return runShell(command) == 0; });
}

bool IpHostCommands::enableQueue() {
    return runShell(kAddKeyMask[3]) == 0;
}

bool IpHostCommands::removeKeyMask() {
    return runLogged("Ingress QoS remove key mask", CommandText("iq remkeymask --dstmac"));
}

bool IpHostCommands::addKey(const char* mac) {
    return runLogged("Ingress QoS addkey", CommandText("iq addkey --dstmac %s --prio 1", mac));
}

bool IpHostCommands::removeKey(const char* mac) {
    return runLogged("Ingress Queue remkey", CommandText("iq remkey --dstmac %s", mac));
}

// ---- devices and bridges ----

bool IpHostCommands::downForSharedBridge(const char* bridge) {
    return runLogged("IPHost bridge down", CommandText("ifconfig %s down 2>/dev/null", bridge));
}

bool IpHostCommands::deleteForSharedBridge(const char* bridge) {
    return runLogged("IPHost delete bridge", CommandText("brctl delbr %s", bridge));
}

bool IpHostCommands::addToSharedBridge(const char* device) {
    return runLogged("IPHost add to shared bridge brv", CommandText("brctl addif brv %s", device));
}

void IpHostCommands::downForRemoval(const char* bridge) {
    runLogged(kDeconfig, CommandText("ifconfig %s down 2>/dev/null", bridge));
}

void IpHostCommands::deleteForRemoval(const char* bridge) {
    runLogged(kDeconfig, CommandText("brctl delbr %s  2>/dev/null", bridge));
}

bool IpHostCommands::upWithMac(const char* device, const char* mac) {
    return runLogged(kConfig, CommandText("ifconfig %s hw ether %s up 2>/dev/null", device, mac));
}

bool IpHostCommands::upWithMtu(const char* device, const char* mac) {
    return runLogged(kConfig, CommandText("ifconfig %s mtu %d hw ether %s up 2>/dev/null", device, kMtu, mac));
}

// Kept: the host's own address is its broadcast address.
bool IpHostCommands::upWithAddress(const char* device, const char* address, const char* mask, const char* mac) {
    return runLogged(kConfig, CommandText("ifconfig %s %s netmask %s broadcast %s mtu %d hw ether %s up 2>/dev/null",
                                          device, address, mask, address, kMtu, mac));
}

// ---- routing ----

bool IpHostCommands::deleteRoutingRule(const char* address) {
    return runUnlogged(CommandText("ip rule del from %s table %d 2>/dev/null", address, kRoutingTable));
}

bool IpHostCommands::hasRoutingRule(const char* address) {
    std::FILE* list = popen("ip rule show", "r");
    if (list == nullptr) return true;
    const CommandText wanted("from %s ", address);
    std::array<char, 256> line = {};
    bool found = false;
    while (!found && std::fgets(line.data(), static_cast<int>(line.size()), list) != nullptr)
        found = std::strstr(line.data(), wanted.get()) != nullptr;
    pclose(list);
    return found;
}

bool IpHostCommands::addRoutingRule(const char* address) {
    return runUnlogged(CommandText("ip rule add from %s table %d 2>/dev/null", address, kRoutingTable));
}

bool IpHostCommands::replaceDefaultRoute(const char* gateway, const char* device) {
    return runUnlogged(
        CommandText("ip route replace default via %s dev %s table %d 2>/dev/null", gateway, device, kRoutingTable));
}

// ---- DHCP client ----

bool IpHostCommands::startDhcpClient(const char* device) {
    return runLogged("running script", CommandText("dhcpc -i %s -B -l 3600  &", device));
}

bool IpHostCommands::killDhcpClient(const char* device) {
    std::FILE* list = popen(CommandText("ps |grep %s", device).get(), "r");
    if (list == nullptr) return false;
    bool done = true;
    const std::string line = firstLineOfDevice(list, device);
    if (line.find("dhcpc") != std::string::npos) {
        const long pid = std::strtol(line.c_str(), nullptr, 10);
        // Process 0 and negative numbers would be whole process groups.
        if (pid > 0 && pid <= INT_MAX) {
            std::printf("killing process pid=%d", static_cast<int>(pid));
            done = runLogged(kDeconfig, CommandText("kill -9 %d", static_cast<int>(pid)));
        }
    }
    pclose(list);
    return done;
}
