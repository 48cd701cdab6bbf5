// What the state file holds: entries, each a key and a value, and steps, which are noted before the device is asked for
// them.
//
// A key is the number of the entry's kind and then the parts that are named here; numbers and texts as in
// state/Bytes.h. Entries of the library's maps are written from the maps when an operation ends; those of the device
// are what the maps do not hold, and live in the file alone. A new kind or step gets a new number. The file needs no
// other version for it: a library that does not know it refuses the file.
#ifndef KIT_STATE_ENTRIES_H
#define KIT_STATE_ENTRIES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "state/Bytes.h"
#include "state/Journal.h"

namespace kit {

enum class Entry : std::uint8_t {
    // ---- the library's maps ----
    Rules = 1,         // device, PHY id (16): the rules that vlanctl holds (rule map)
    BridgeUni = 2,     // bridge id (32): UNI port (32)
    ServiceGem = 3,    // GEM port id (16): GEM index (16) of the service engine
    PbitGem = 4,       // p-bit (8): GEM port id (16), queue (16)
    PbitQueues = 5,    // GEM port id (16): queues with their p-bits
    LastService = 6,   // protocol number (8), rule id of the multicast service last taken down (16)
    Multicast = 7,     // GEM port id (32), GEM index (32), services (32)
    ModelMarks = 8,    // UNI port (32): VLAN model marks
    Services = 9,      // device, VLAN id (16), p-bits (16): the service as it was announced to the gateway
    IpHostCount = 10,  // hosts (32), S-tag (16)
    AllocIds = 11,     // alloc-id (16): T-CONT index (16)
    TcontGem = 12,     // T-CONT index (16): GEM index (16)
    PonGem = 13,       // GEM port id (16): GEM index (16) of the PON adapter
    GemCount = 14,     // GEM ports that hold the PON device up (32)
    OmciAction = 15,   // action code (32)
    // ---- the device ----
    Devices = 32,        // device: whether the library created it (8), or found it
    Members = 33,        // device: its bridge
    Tables = 34,         // device, direction (8), tags (8): rules in the table (32)
    LooseRules = 35,     // device, direction (8), tags (8), rule id (32): nothing; a rule that is in no map
    GemUp = 36,          // GEM port id (16): whether it is enabled (8)
    IpHosts = 37,        // bridge id (16), UNI port (16): MAC address, IP address, whether it has a DHCP client (8)
    DscpShortcuts = 38,  // UNI port (16): nothing; classes and actions in the runner
    DhcpClients = 39,  // bridge id (16), UNI port (16): nothing; a client that an unfinished operation may have started
    TcontQueues = 40,  // T-CONT index (16): nothing; its queues exist
    // ---- what was asked for: kit/Asked.h ----
    Ahead = 41,     // no entry: among what an operation needs it says that it has done more than after a boot
    Asked = 42,     // operation (8) and its arguments: what it needs, each the key of an entry
    Finished = 43,  // likewise: nothing; a removal that was finished when the file was opened
    ToFinish = 44,  // likewise: nothing; an operation that is to be finished, while the file is being opened
    // ---- forwarding by G.988 alone ----
    Forwarding = 45,    // the mode (8): 1; a file without it is one of the contract's
    TaggedPorts = 46,   // number of the UNI's device (16): bridges and tagging table
    PonSides = 47,      // bridge id (16): its PON ports
    PlannedRules = 48,  // device, 0 received or 1 sent (8), tags (8), rule id (32): its place in the table and the rule
    GatewayGems = 49,   // GEM port id (16): nothing; its multicast is for the gateway too
};

enum class Step : std::uint8_t {
    // device, direction (8), tags of the first table (8), for it and each that follows the rules in it before (32); the
    // rules' ids come of it
    InsertRules = 1,
    FreeRules = 2,       // device, PHY id (16): all rules of the pair
    WholeOperation = 3,  // operation (8) and its arguments: kit/Asked.h
    CreateBridge = 4,    // bridge
    CreateDevice = 5,    // VLAN device
    DeleteAniPair = 6,   // bridge id (16)
    DeleteBridge = 7,    // bridge id (16)
    BindTcont = 8,       // alloc-id (16), T-CONT index (16)
    ResetTcont = 9,      // alloc-id (16)
    CreateGemPort = 10,  // GEM port id (16)
    RemoveGemPort = 11,  // GEM port id (16)
    RemoveUni = 12,      // UNI port (16), bridge id (16)
    RemoveVeip = 13,     // bridge id (16), GEM port id (16): with the last service
    StartDhcp = 14,      // bridge id (16), UNI port (16)
    RaisePonDevice = 15,
    // ---- forwarding by G.988 alone ----
    RemoveRule = 16,     // device, direction (8), tags (8), rule id (32)
    ReplaceBridge = 17,  // bridge id (16): the VEIP takes its place
    // ---- vorn_hal_clean_device() and vorn_hal_state_settle() ----
    RemoveHost = 18,  // bridge id (16), UNI port (16)
};

template <typename Part>
void addPart(state::ByteWriter& bytes, const Part& part) {
    bytes.add(part);
}

// Records that are parts of keys have an addPart of their own, beside their type.
template <typename... Parts>
std::string keyOf(Entry kind, const Parts&... parts) {
    state::ByteWriter bytes;
    bytes.add(static_cast<std::uint8_t>(kind));
    (addPart(bytes, parts), ...);
    return bytes.take();
}

template <typename... Parts>
std::string stepOf(Step step, const Parts&... parts) {
    state::ByteWriter bytes;
    bytes.add(static_cast<std::uint8_t>(step));
    (addPart(bytes, parts), ...);
    return bytes.take();
}

// The library's map has changed at the key that the parts make. Costs one atomic load without a state file.
template <typename... Parts>
void noteChange(Entry kind, const Parts&... parts) {
    if (state::Journal* const journal = state::journal()) journal->touch(keyOf(kind, parts...));
}

// An entry that says all with its key is there or not.
template <typename... Parts>
void noteMark(bool present, Entry kind, const Parts&... parts) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    if (present) {
        journal->put(keyOf(kind, parts...), {});
    } else {
        journal->erase(keyOf(kind, parts...));
    }
}

// Erases such an entry; whether it was there.
template <typename... Parts>
bool eraseMark(Entry kind, const Parts&... parts) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return false;
    const std::string key = keyOf(kind, parts...);
    if (journal->find(key) == nullptr) return false;
    journal->erase(key);
    return true;
}

// One step of an operation, or an operation of its own: noted before the device is asked.
class BegunStep : state::Operation {
public:
    template <typename... Parts>
    explicit BegunStep(Step step, const Parts&... parts) {
        if (journal_ != nullptr) journal_->intend(stepOf(step, parts...));
    }
};

}  // namespace kit

#endif
