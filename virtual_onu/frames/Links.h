// Where a frame can enter and leave: the links behind the ports, and what is down.
#ifndef VIRTUAL_ONU_LINKS_H
#define VIRTUAL_ONU_LINKS_H

#include <string>

#include "VirtualOnu.h"

namespace virtual_onu::datapath {

constexpr const char* kPonDevice = "gpondef";

// An Ethernet port: the device that frames meet, the one that the port's administrative state is set at, its PHY.
struct EthernetPort {
    const char* port;
    const char* administered;
    int phy;
};
const EthernetPort* ethernetPort(const std::string& port);  // null for other devices

// Why no frame passes the device, as "sid0.3 is down"; "" where frames do.
std::string blockedBy(const NetworkDevice& device);
// Why nothing comes in from outside, or goes out, through a port of the board; "" for a link that is up and for other
// devices. With the device lock held.
std::string noEntryAt(const std::string& port);
std::string noExitAt(const std::string& port);

}  // namespace virtual_onu::datapath

#endif
