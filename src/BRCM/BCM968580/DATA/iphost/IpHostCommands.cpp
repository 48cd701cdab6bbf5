#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"

#include <array>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
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

void IpHostCommands::setRoutedMac(const char* mac) {
    runLogged(kConfig, CommandText("bs /b/c ip_class routed_mac[0]=%s", mac));
}

void IpHostCommands::createHostFlowClass() {
    runLogged(kConfig,
              CommandText("bs /bdmf/new ingress_class/dir=ds,index=10,cfg={type=flow,fields=dst_mac,prty=10}"));
}

void IpHostCommands::addHostFlow(const char* mac) {
    runLogged(
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

bool IpHostCommands::removeKeyMask() {
    return runLogged("Ingress QoS remove key mask", CommandText("iq remkeymask --dstmac"));
}

void IpHostCommands::addKey(const char* mac) {
    runLogged("Ingress QoS addkey", CommandText("iq addkey --dstmac %s --prio 1", mac));
}

bool IpHostCommands::removeKey(const char* mac) {
    return runLogged("Ingress Queue remkey", CommandText("iq remkey --dstmac %s", mac));
}

// ---- devices and bridges ----

void IpHostCommands::downForSharedBridge(const char* bridge) {
    runLogged("IPHost bridge down", CommandText("ifconfig %s down 2>/dev/null", bridge));
}

void IpHostCommands::deleteForSharedBridge(const char* bridge) {
    runLogged("IPHost delete bridge", CommandText("brctl delbr %s", bridge));
}

void IpHostCommands::addToSharedBridge(const char* device) {
    runLogged("IPHost add to shared bridge brv", CommandText("brctl addif brv %s", device));
}

void IpHostCommands::downForRemoval(const char* bridge) {
    runLogged(kDeconfig, CommandText("ifconfig %s down 2>/dev/null", bridge));
}

void IpHostCommands::deleteForRemoval(const char* bridge) {
    runLogged(kDeconfig, CommandText("brctl delbr %s  2>/dev/null", bridge));
}

void IpHostCommands::upWithMac(const char* device, const char* mac) {
    runLogged(kConfig, CommandText("ifconfig %s hw ether %s up 2>/dev/null", device, mac));
}

void IpHostCommands::upWithMtu(const char* device, const char* mac) {
    runLogged(kConfig, CommandText("ifconfig %s mtu %d hw ether %s up 2>/dev/null", device, kMtu, mac));
}

// Kept: the host's own address is its broadcast address.
void IpHostCommands::upWithAddress(const char* device, const char* address, const char* mask, const char* mac) {
    runLogged(kConfig, CommandText("ifconfig %s %s netmask %s broadcast %s mtu %d hw ether %s up 2>/dev/null", device,
                                   address, mask, address, kMtu, mac));
}

// ---- routing ----

bool IpHostCommands::deleteRoutingRule(const char* address) {
    return runUnlogged(CommandText("ip rule del from %s table %d 2>/dev/null", address, kRoutingTable));
}

void IpHostCommands::addRoutingRule(const char* address) {
    runUnlogged(CommandText("ip rule add from %s table %d 2>/dev/null", address, kRoutingTable));
}

void IpHostCommands::replaceDefaultRoute(const char* gateway, const char* device) {
    runUnlogged(
        CommandText("ip route replace default via %s dev %s table %d 2>/dev/null", gateway, device, kRoutingTable));
}

// ---- DHCP client ----

void IpHostCommands::startDhcpClient(const char* device) {
    runLogged("running script", CommandText("dhcpc -i %s -B -l 3600  &", device));
}

void IpHostCommands::killDhcpClient(const char* device) {
    std::FILE* list = popen(CommandText("ps |grep %s", device).get(), "r");
    if (list == nullptr) return;
    const std::string line = firstLineOfDevice(list, device);
    if (line.find("dhcpc") != std::string::npos) {
        const long pid = std::strtol(line.c_str(), nullptr, 10);
        // Process 0 and negative numbers would be whole process groups.
        if (pid > 0 && pid <= INT_MAX) {
            std::printf("killing process pid=%d", static_cast<int>(pid));
            runLogged(kDeconfig, CommandText("kill -9 %d", static_cast<int>(pid)));
        }
    }
    pclose(list);
}
