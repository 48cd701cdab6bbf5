// Network devices, bridges, addresses, policy routing: the part of the kernel that the HAL drives. Every function takes
// the device lock itself. Results are 0 or an errno value, as the kernel gives it.
#ifndef VIRTUAL_ONU_NETWORK_H
#define VIRTUAL_ONU_NETWORK_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "DeviceTexts.h"
#include "VirtualOnu.h"
#include "kernel/DeviceCounters.h"

namespace virtual_onu::network {

bool exists(const std::string& name);
int addVlanDevice(const std::string& name, const std::string& realDevice, bool routed, bool multicast);
int addBridge(const std::string& name);
// A bridge loses its ports, a real device its VLAN devices stay (the kernel's vlanctl driver keeps them). The code of
// VirtualOnu::refuseDeletion while that lasts.
int removeDevice(const std::string& name);
int removeBridge(const std::string& name);  // EBUSY while it is up, ENXIO when there is none, EPERM for another device
int addPort(const std::string& bridge, const std::string& device);     // EBUSY when it is a member of a bridge
int removePort(const std::string& bridge, const std::string& device);  // EINVAL when it is no member

std::vector<NetworkDevice> devices();
std::optional<NetworkDevice> device(const std::string& name);
std::optional<NetworkDevice> deviceOfIndex(int index);
std::vector<Bridge> bridges();
std::optional<Bridge> bridge(const std::string& name);

enum class PortState : unsigned { Disabled = 0, Listening = 1, Learning = 2, Forwarding = 3 };  // the kernel's numbers
PortState stateOf(const BridgePort& port);

// Up, and its link as well, as the kernel tells a port that forwards.
bool isRunning(const NetworkDevice& device);
// The devices in place, without their statistics, and their counters (null in host kernel mode). The counters stay
// where they are until a device is added or removed.
void forEachDevice(const std::function<void(const NetworkDevice&, DeviceCounters*)>& look);
// Frames have passed: a board that is kept holds what they have counted. With the device lock held.
void framesCounted();
// "/proc/net/dev_extstats": a line a device; nothing as long as no frame has passed.
std::optional<std::string> splitStatistics();

// ---- what ioctl, sysfs and the shell change; ENODEV when there is no such device ----

int setFlags(const std::string& name, unsigned flags);  // written outright
int setMtu(const std::string& name, int mtu);           // EINVAL outside 68..65535
int setMac(const std::string& name, const std::string& mac);
int setAddress(const std::string& name, const std::string& addressText);
int setIpv6Disabled(const std::string& name, bool disabled);
unsigned kernelFlags(const NetworkDevice& device);  // as SIOCGIFFLAGS answers them
// The change answers 0, or an errno value and then has changed nothing.
int changeBridge(const std::string& name, const std::function<int(Bridge&)>& change);
int changePort(const std::string& name, const std::function<int(BridgePort&)>& change);

// ---- policy routing: "from 10.0.0.5 table 12", "default via 10.0.0.1 dev br3.2 table 12" ----

int addIpRule(const std::string& rule);     // EEXIST
int removeIpRule(const std::string& rule);  // ENOENT
int addIpRoute(const std::string& destination, const std::string& device, int table, const std::string& route,
               bool replace);                                  // EEXIST, ENODEV, ENETDOWN
int removeIpRoute(const std::string& destination, int table);  // ESRCH

}  // namespace virtual_onu::network

#endif
