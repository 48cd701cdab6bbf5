// Bridges with their ports, and VLAN devices: created, removed. Names are not null.
#ifndef KIT_DEVICES_H
#define KIT_DEVICES_H

#include <cstdint>

#include "device/NetworkInterface.h"

namespace kit {

bool deviceExists(const char* device);  // in the kernel

// ---- VLAN devices ----

// Writes the flags up, running and multicast and the MTU 1500; prints what fails. False when the flags are refused or
// no socket is to be had; a device that is up but refuses the MTU counts as up.
bool bringUp(const char* device);

// An ANI device on "gpondef". False when vlanctl refuses.
bool createAniDevice(const char* device);
// VLAN device `device` (VLAN id vlanId) on realDevice, whose frames are dropped where no rule matches. False when
// vlanctl refuses.
bool createVlanDevice(const char* realDevice, std::uint16_t vlanId, bool routed, const char* device);
// Its tables of realDevice drop what no rule takes. createVlanDevice() asks for that too, and does not look at the
// answer.
bool dropsUnmatched(const char* realDevice, const char* device);
// Likewise "veip0" on "gpon0.0". Whether the kernel has it then; in *isComplete, unless it is null, whether vlanctl has
// done all that it was asked for.
bool createVeipDevice(bool* isComplete = nullptr);
// The device exists before it is asked for: it is noted as found, unless it is known already.
void noteFoundDevice(const char* device);
// 0 or vlanctl's error. The caller holds a VlanCtlSession.
int removeDevice(const char* device);
// The device may have gone without the library: forgotten if it has.
void noteIfGone(const char* device);
// The device has gone: forgotten with its tables, and the membership of whoever was on it.
void forgetDevice(const char* device);
bool createVlanFlows(const char* fromVlanDevice, const char* toVlanDevice);  // false: refused by the kit

// "gpondef", which is up while there are GEM ports. False when the command fails.
bool setPonDeviceUp(bool up);
// Up for the first GEM port: noted before.
bool raisePonDevice();

enum class MissingAddress { Zeros, Fails };
// Brings "veip0" up with the board's first MAC address. False when the kit does not report the address and that Fails,
// or when the command fails.
bool bringVeipUp(MissingAddress missing);

// ---- bridges ----

// Without STP and forward delay, and up. NoSocket: nothing was done.
InterfaceResult createBridge(const char* bridge);
// Takes the bridge down and deletes it.
InterfaceResult deleteBridge(const char* bridge);
// Likewise that of a service, and notes before that it goes.
InterfaceResult deleteServiceBridge(std::uint16_t bridgeId);
int addBridgePort(const char* bridge, const char* device);     // 0 or an errno value
int removeBridgePort(const char* bridge, const char* device);  // the control socket's result
void forgetMembership(const char* device);

}  // namespace kit

#endif
