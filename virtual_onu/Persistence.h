// What of the device outlives the program: the board's state, record by record, in a file (VirtualOnu::openBoard). A
// facility tells which record it has changed; when the device lock is given back, the file holds all changes that were
// made under it, or none. As long as no board is open, nothing here costs more than a look at a flag.
#ifndef VIRTUAL_ONU_PERSISTENCE_H
#define VIRTUAL_ONU_PERSISTENCE_H

#include <atomic>
#include <string>

namespace virtual_onu::persistence {

// ---- what a board consists of: the sections of the file ----

constexpr char kDevices[] = "network.devices";           // by kernel index
constexpr char kCounters[] = "network.counters";         // by kernel index
constexpr char kBridges[] = "network.bridges";           // by kernel index
constexpr char kRouting[] = "network.routing";           // one record
constexpr char kRefusals[] = "network.refusals";         // by device
constexpr char kLearned[] = "frames.learned";            // by bridge and address
constexpr char kSnooping[] = "frames.snooping";          // by bridge
constexpr char kRules[] = "vlan.rules";                  // by id
constexpr char kDefaults[] = "vlan.defaults";            // by table
constexpr char kFlows[] = "vlan.flows";                  // one record
constexpr char kDeviceModes[] = "vlan.modes";            // by device
constexpr char kVlanKit[] = "vlan.kit";                  // one record
constexpr char kTconts[] = "pon.tconts";                 // by index
constexpr char kGemPorts[] = "pon.gemPorts";             // by port id
constexpr char kPonLink[] = "pon.link";                  // one record
constexpr char kGateway[] = "bus.gateway";               // one record
constexpr char kPersistent[] = "bus.persistent";         // by key
constexpr char kIdentity[] = "board.identity";           // one record
constexpr char kImages[] = "board.images";               // by number
constexpr char kPhys[] = "board.phys";                   // by port
constexpr char kRunnerObjects[] = "runner.objects";      // by name
constexpr char kBuiltIn[] = "runner.builtIn";            // by name
constexpr char kIngressQueue[] = "runner.ingressQueue";  // one record
constexpr char kProcesses[] = "shell.processes";         // by process number
constexpr char kNextProcess[] = "shell.next";            // one record
constexpr char kFiles[] = "files.contents";              // by path
constexpr char kReplaced[] = "files.replaced";           // by path
constexpr char kPaths[] = "files.paths";                 // one record
constexpr char kOptics[] = "optics";                     // one record
constexpr char kStackAnswers[] = "stack.answers";        // by request
constexpr char kStackRequests[] = "stack.requests";      // by request
constexpr char kClock[] = "clock";                       // one record

// What the run has seen: no part of the board, but known to all processes of one run when it is asked for.
constexpr char kRunTrace[] = "run.trace";              // by number
constexpr char kRunCalls[] = "run.calls";              // one record
constexpr char kRunFaults[] = "run.faults";            // one record
constexpr char kRunMessages[] = "run.messages";        // by number
constexpr char kRunCommands[] = "run.commands";        // by number
constexpr char kRunKilled[] = "run.killed";            // one record
constexpr char kRunRemarks[] = "run.remarks";          // one record
constexpr char kRunDescriptors[] = "run.descriptors";  // one record

// ---- changes; with the device lock held ----

extern std::atomic<bool> open;  // written with the device lock
inline bool isOpen() {
    return open.load(std::memory_order_relaxed);
}

void markChanged(const char* section, std::string key);

inline std::string keyText(const std::string& key) {
    return key;
}
template <typename Number>
std::string keyText(Number key) {
    return std::to_string(key);
}

// This record has changed, has been made, or is gone.
template <typename Key>
void changed(const char* section, const Key& key) {
    if (isOpen()) markChanged(section, keyText(key));
}
inline void changed(const char* section) {
    if (isOpen()) markChanged(section, "");
}

// ---- the device lock ----

// It has been taken, and no other is held by this thread: no other process of the board works on it until it is given
// back, and what they have changed before is here.
void entered() noexcept;
// It is about to be given back.
void leaving() noexcept;

}  // namespace virtual_onu::persistence

#endif
