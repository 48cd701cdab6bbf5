// Every shell command of the management IP host, one function a command.
//
// Texts handed in have been checked by the caller: hexadecimal digits, '.' and ':' from a record or the board, or
// device names that the engine has formed. A command that does not fit its buffer is not run. "Logged" commands go
// through runEngineCommand with their label, the others straight to the system shell. Those that answer say whether the
// command succeeded; removing what is not there may not.
#ifndef BRCM_BCM968580_DATA_IP_HOST_COMMANDS_H
#define BRCM_BCM968580_DATA_IP_HOST_COMMANDS_H

class IpHostCommands {
public:
    // The runner delivers frames for this MAC address to the CPU. Logged.
    void setRoutedMac(const char* mac);
    void createHostFlowClass();
    void addHostFlow(const char* mac);
    bool deleteHostFlowClass();

    // Ingress queue: frames for this MAC address are kept when the CPU is busy. Logged, but for addKeyMask.
    int addKeyMask();  // the status of the last command
    bool removeKeyMask();
    void addKey(const char* mac);
    bool removeKey(const char* mac);

    // Devices and bridges. Logged.
    void downForSharedBridge(const char* bridge);
    void deleteForSharedBridge(const char* bridge);
    void addToSharedBridge(const char* device);
    void downForRemoval(const char* bridge);
    void deleteForRemoval(const char* bridge);
    void upWithMac(const char* device, const char* mac);
    void upWithMtu(const char* device, const char* mac);
    void upWithAddress(const char* device, const char* address, const char* mask, const char* mac);

    // Routing of the host's own traffic in a table of its own. Not logged.
    bool deleteRoutingRule(const char* address);
    void addRoutingRule(const char* address);
    void replaceDefaultRoute(const char* gateway, const char* device);

    // DHCP client. Logged.
    void startDhcpClient(const char* device);
    // Ends the DHCP client when the first line of the process list that names the device is one.
    void killDhcpClient(const char* device);
};

#endif
