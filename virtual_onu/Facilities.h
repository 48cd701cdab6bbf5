// The facilities of the virtual ONU as its facade sees them: each resets itself and describes itself as JSON. Each
// makes itself factory-new on first use, whoever comes first: a program that never asks for the facade finds a whole
// board.
#ifndef VIRTUAL_ONU_FACILITIES_H
#define VIRTUAL_ONU_FACILITIES_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace virtual_onu {

namespace vlan {  // Vlan.cpp: tag rules, defaults, flows
void reset();
nlohmann::json toJson();
// A network device is gone: its own tables go; other devices' defaults and rules that name it stay. Harmless to call
// twice.
void deviceRemoved(const std::string& name);
}  // namespace vlan

namespace pon {  // Pon.cpp: T-CONTs, queues, GEM ports, link state
void reset();
nlohmann::json toJson();
}  // namespace pon

namespace bus {  // Bus.cpp: message bus, gateway, timers, persistent storage
void reset();
nlohmann::json toJson();
// Around fork(): the bus is whole in the child; the gateway's thread has stayed with the parent.
void beforeFork();
void afterForkInParent();
void afterForkInChild();
}  // namespace bus

namespace board {  // Board.cpp: NVRAM, images, MAC, PHYs
void reset();
nlohmann::json toJson();
}  // namespace board

namespace runner {  // Runner.cpp: what "bs" and "iq" commands made
void reset();
nlohmann::json toJson();
}  // namespace runner

namespace shell {  // Shell.cpp: commands run through the shell, processes
void reset();
nlohmann::json toJson();
}  // namespace shell

namespace files {  // Files.cpp: the private tree behind device paths, character devices
void reset();
nlohmann::json toJson();
}  // namespace files

}  // namespace virtual_onu

#endif
