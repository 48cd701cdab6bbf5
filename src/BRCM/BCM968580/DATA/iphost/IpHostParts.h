// Parts of the management host's operations: which records may reach a shell, and what a host is beside its devices.
#ifndef BRCM_BCM968580_DATA_IPHOST_IP_HOST_PARTS_H
#define BRCM_BCM968580_DATA_IPHOST_IP_HOST_PARTS_H

#include <string>

#include "hal/BridgeRecords.h"

class EtherSwitchBcm380;

// False, with one log line that names the operation and the field, for a text that is no address.
bool isSafeIpHost(const char* operation, const IpHostProvision& host);

// The MAC address that the runner delivers to the CPU: the board's first one, else the record's. False when the board's
// must not reach a shell.
bool getRoutedMac(const char* operation, const IpHostProvision& rec, std::string* mac);

// For the state file.
void noteHost(const IpHostProvision& rec, bool dhcp);
void forgetHost(const IpHostProvision& rec);
// Starts the DHCP client of the host's device.
bool startDhcp(const IpHostProvision& rec, const char* device);

// An ARP request from the host's address.
void announceHost(EtherSwitchBcm380& engine, const char* ifName, const IpHostProvision& rec, const char* routedMac);
// No DHCP client writes into it any more.
void emptyDhcpInterfaceFile();

#endif
