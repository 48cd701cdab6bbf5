// Network interface requests (ioctl on a datagram socket), shared by the engine and the PON adapter. Nothing is
// printed.
#ifndef DEVICE_NETWORK_INTERFACE_H
#define DEVICE_NETWORK_INTERFACE_H

enum class InterfaceResult {
    Done,
    NoSocket,  // no socket was to be had
    Refused,   // the kernel refused the request
};

constexpr unsigned short kFlagsUp = 0x1041;    // IFF_UP, IFF_RUNNING and IFF_MULTICAST, written outright
constexpr unsigned short kFlagsDown = 0xFFFE;  // every flag but IFF_UP, written outright: the driver expects just this
constexpr int kInterfaceMtu = 1500;

// name is not null; at most 15 characters of it are used. Each opens a socket of its own and closes it.
InterfaceResult setInterfaceFlags(const char* name, unsigned short flags);
InterfaceResult setInterfaceMtu(const char* name, int mtu);
// Takes the flags "up" and "running" away and leaves the others.
InterfaceResult takeInterfaceDown(const char* name);
bool isInterfaceUp(const char* name);                          // false also for one that does not exist
bool interfaceMac(const char* name, unsigned char (&mac)[6]);  // false when the kernel does not tell
int interfaceIndex(const char* name);                          // -1 for null, without a socket, and for an unknown name

#endif
