// Every shell command of the management IP host, one function a command.
//
// Texts handed in have been checked by the caller: hexadecimal digits, '.' and ':' from a record or the board, or
// device names that the engine has formed. A command that does not fit its buffer is not run. "Logged" commands go
// through runEngineCommand with their label, the others straight to the system shell. They answer whether the command
// succeeded; removing what is not there may not.
#ifndef BRCM_BCM968580_DATA_IP_HOST_COMMANDS_H
#define BRCM_BCM968580_DATA_IP_HOST_COMMANDS_H

class IpHostCommands {
public:
    // The runner delivers frames for this MAC address to the CPU. Logged.
    bool setRoutedMac(const char* mac);
    bool createHostFlowClass();
    bool addHostFlow(const char* mac);
    bool deleteHostFlowClass();

    // Ingress queue: frames for this MAC address are kept when the CPU is busy. Logged, but for addKeyMask.
    int addKeyMask();        // the status of the last command
    bool addWholeKeyMask();  // until a command is refused
    bool enableQueue();
    bool removeKeyMask();
    bool addKey(const char* mac);
    bool removeKey(const char* mac);

    // Devices and bridges. Logged.
    bool downForSharedBridge(const char* bridge);
    bool deleteForSharedBridge(const char* bridge);
    bool addToSharedBridge(const char* device);
    void downForRemoval(const char* bridge);
    void deleteForRemoval(const char* bridge);
    bool upWithMac(const char* device, const char* mac);
    bool upWithMtu(const char* device, const char* mac);
    bool upWithAddress(const char* device, const char* address, const char* mask, const char* mac);

    // Routing of the host's own traffic in a table of its own. Not logged.
    bool deleteRoutingRule(const char* address);
    bool hasRoutingRule(const char* address);  // true also when the list of rules is not to be had
    bool addRoutingRule(const char* address);
    bool replaceDefaultRoute(const char* gateway, const char* device);

    // DHCP client. Logged.
    bool startDhcpClient(const char* device);
    // Ends the DHCP client when the first line of the process list that names the device is one. False when the list
    // is not to be had or the client is not ended.
    bool killDhcpClient(const char* device);
};

#endif
