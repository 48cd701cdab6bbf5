// Host kernel mode: network devices and bridges are made in the caller's own network namespace instead of in memory.
// Ports and VLAN devices are veth pairs whose far end is called "p-<name>". VLAN devices are no macvlan devices: a real
// device that carries those could not join a bridge, which the ONU's VLAN driver allows.
//
// Called with the device lock held; results are 0 or an errno value.
#ifndef VIRTUAL_ONU_HOST_KERNEL_H
#define VIRTUAL_ONU_HOST_KERNEL_H

#include <netinet/in.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "kernel/Addresses.h"

namespace virtual_onu::host {

bool active();                 // callable at any time, without the lock
bool enter(std::string* why);  // makes the factory-new set of devices, or nothing
void leave();                  // removes whatever has been made since

int addVlanDevice(const std::string& name, const std::string& realDevice, bool routed, bool multicast);
int addDevice(const std::string& name, const std::string& realDevice);
int addBridge(const std::string& name);
int removeDevice(const std::string& name);
int removeBridge(const std::string& name);
int addPort(const std::string& bridge, const std::string& device);
int removePort(const std::string& bridge, const std::string& device);

int setFlags(const std::string& name, unsigned flags);
int setMtu(const std::string& name, int mtu);
int setMac(const std::string& name, const std::uint8_t (&mac)[6]);
int setIpv4(const std::string& name, in_addr_t network::Ipv4::*part, in_addr_t value);
int changeBridge(const std::string& name, const std::function<int(Bridge&)>& change);
int changePort(const std::string& name, const std::function<int(BridgePort&)>& change);
int writeKernelFile(const std::string& path, const std::string& text);
// A command of the host's "ip" tool, such as "rule add from 10.0.0.5 table 12".
int runIp(const std::string& command);

std::vector<NetworkDevice> devices();
std::optional<NetworkDevice> device(const std::string& name);
std::vector<Bridge> bridges();

}  // namespace virtual_onu::host

#endif
