// The facilities of the virtual ONU as its facade, and folders below their own, see them: each resets itself and
// describes itself as JSON, and as sections of a board file. Nothing on top knows a folder by any other header.
// Each makes itself factory-new on first use, whoever comes first: a program that never asks for the facade finds a
// whole board.
#ifndef VIRTUAL_ONU_FACILITIES_H
#define VIRTUAL_ONU_FACILITIES_H

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace virtual_onu {

namespace persistence {
class Section;  // Section.h
using Sections = std::vector<const Section*>;

// persistence/OpenBoard.cpp. Throws BadBoard, with the board as it was. Alone: refused while another process has the
// file. withRun: the file also tells what the run has seen, for processes that are forked from this one.
void openFile(const std::string& path, bool alone, bool withRun);
void closeFile();                                      // the file keeps the board as it is; nothing without an open one
void onTrouble(void (*say)(const std::string& text));  // who tells of a file that can no longer be written
}  // namespace persistence

persistence::Sections coreSections();  // Core.cpp: the clock, and what the run has seen

namespace network {  // kernel/Network.cpp: devices, bridges, addresses, policy routing
void reset();        // the factory-new set of devices, in memory
bool hostKernel();   // devices live in the caller's network namespace
nlohmann::json toJson();
persistence::Sections sections();
}  // namespace network

namespace vlan {  // kit/Vlan.cpp: tag rules, defaults, flows
void reset();
nlohmann::json toJson();
persistence::Sections sections();
// A network device is gone: its own tables go; other devices' defaults and rules that name it stay. Harmless to call
// twice.
void deviceRemoved(const std::string& name);
}  // namespace vlan

namespace pon {  // kit/Pon.cpp: T-CONTs, queues, GEM ports, link state
void reset();
nlohmann::json toJson();
persistence::Sections sections();
}  // namespace pon

namespace bus {  // kit/Bus.cpp: message bus, gateway, timers, persistent storage
void reset();
nlohmann::json toJson();
persistence::Sections sections();
// Around fork(): the bus is whole in the child; the gateway's thread has stayed with the parent.
void beforeFork();
void afterForkInParent();
void afterForkInChild();
}  // namespace bus

namespace board {  // kit/Board.cpp: NVRAM, images, MAC, PHYs
void reset();
nlohmann::json toJson();
persistence::Sections sections();
bool phyHasLink(int port);  // false for a port that is none
std::string bootId();       // the same until the board is factory-new again
}  // namespace board

namespace runner {  // shell/Runner.cpp: what "bs" and "iq" commands made
void reset();
nlohmann::json toJson();
persistence::Sections sections();
}  // namespace runner

namespace shell {  // shell/Shell.cpp: commands run through the shell, processes
void reset();
nlohmann::json toJson();
persistence::Sections sections();
}  // namespace shell

namespace files {  // libc/Files.cpp: the private tree behind device paths, character devices
void reset();
nlohmann::json toJson();
persistence::Sections sections();
// Whether the path belongs to the device. Cheap, and callable before any start-up code has run.
bool owns(const char* path);
// For the shell: a whole file written or added to, without a trace entry; 0 or errno.
int store(const std::string& path, const std::string& content, bool append);
std::optional<std::string> load(const std::string& path);
}  // namespace files

namespace optics {  // libc/CharDevices.cpp: raw readings of the optical module, 0 is darkness
unsigned receiveLevel();
unsigned transmitLevel();
}  // namespace optics

namespace datapath {  // frames/DataPath.cpp
// A port of a bridge does not forward any more: what was learned behind it is forgotten.
void portStopped(int deviceIndex);
void bridgeRemoved(int deviceIndex);
void reset();  // forget the addresses that the bridges have learned
persistence::Sections sections();
}  // namespace datapath

namespace taps {  // taps/Pump.cpp
void reset();     // the board's links are new: those of the TAPs are put there again
// The ports that are TAPs of the host; empty where there are none. With the device lock held.
nlohmann::json toJson();
}  // namespace taps

}  // namespace virtual_onu

#endif
