// What stands in the state file: the books, whose entries are a key and a value, and the steps that are noted before
// the kit is asked for them.
//
// A key is the book's number and then the parts that are named here; numbers and texts as in Bytes.h. Books of the
// library's maps are written from the maps when an operation ends; facts are what the maps do not hold, and stand in
// the file alone. A new book or step gets a new number, and with it the file another version.
#ifndef STATE_BOOKS_H
#define STATE_BOOKS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "state/Bytes.h"

namespace state {

enum class Book : std::uint8_t {
    // ---- the library's maps ----
    Rules = 1,         // device, PHY id (16): the rules that vlanctl holds (rule map)
    BridgeUni = 2,     // bridge id (32): UNI port (32)
    ServiceGem = 3,    // GEM port id (16): GEM index (16) of the service engine
    PbitGem = 4,       // p-bit (8): GEM port id (16), queue (16)
    PbitQueues = 5,    // GEM port id (16): queues with their p-bits
    LastService = 6,   // protocol number (8), rule id of the multicast service last taken down (16)
    Multicast = 7,     // GEM port id (32), GEM index (32), services (32)
    ModelMarks = 8,    // UNI port (32): VLAN model marks
    Services = 9,      // device, VLAN id (16), p-bits (16): the service as the gateway was told
    IpHostCount = 10,  // hosts (32), S-tag (16)
    AllocIds = 11,     // alloc-id (16): T-CONT index (16)
    TcontGem = 12,     // T-CONT index (16): GEM index (16)
    PonGem = 13,       // GEM port id (16): GEM index (16) of the PON adapter
    GemCount = 14,     // GEM ports that hold the PON device up (32)
    OmciAction = 15,   // action code (32)
    // ---- facts ----
    Devices = 32,        // device: whether the library made it (8), or took it as made
    Members = 33,        // device: its bridge
    Tables = 34,         // device, direction (8), tags (8): rules in the table (32)
    LooseRules = 35,     // device, direction (8), tags (8), rule id (32): nothing; a rule that is in no map
    GemUp = 36,          // GEM port id (16): whether it is enabled (8)
    IpHosts = 37,        // bridge id (16), UNI port (16): MAC address, IP address, whether it has a DHCP client (8)
    DscpShortcuts = 38,  // UNI port (16): nothing; classes and actions in the runner
    // device, PHY id (16), outer and inner filter of a row: nothing; a removal that was not finished, and was when the
    // file was opened. Called again it must not take another rule with the same filters.
    SettledRows = 41,
    TcontQueues = 40,  // T-CONT index (16): nothing; its queues were made
    DhcpClients = 39,  // bridge id (16), UNI port (16): nothing; a client that an unfinished operation may have started
};
constexpr Book kFirstFact = Book::Devices;

enum class Step : std::uint8_t {
    // device, direction (8), tags of the first table (8), for it and each that follows the rules in it before (32); the
    // rules' ids come of it
    InsertRules = 1,
    FreeRules = 2,       // device, PHY id (16): all rules of the pair
    RemoveRow = 3,       // device, PHY id (16), outer and inner filter: a row's rules in both directions
    MakeBridge = 4,      // bridge
    MakeDevice = 5,      // VLAN device
    DeleteAniPair = 6,   // bridge id (16)
    DeleteBridge = 7,    // bridge id (16)
    BindTcont = 8,       // alloc-id (16), T-CONT index (16)
    ResetTcont = 9,      // alloc-id (16)
    MakeGemPort = 10,    // GEM port id (16)
    RemoveGemPort = 11,  // GEM port id (16)
    RemoveUni = 12,      // UNI port (16), bridge id (16)
    RemoveVeip = 13,     // bridge id (16), GEM port id (16): with the last service
    RaisePonDevice = 15,
    StartDhcp = 14,  // bridge id (16), UNI port (16)
};

inline void addParts(ByteWriter& /*bytes*/) {}
template <typename Part, typename... Parts>
void addParts(ByteWriter& bytes, const Part& part, const Parts&... parts) {
    bytes.add(part);
    addParts(bytes, parts...);
}

template <typename... Parts>
std::string keyOf(Book book, const Parts&... parts) {
    ByteWriter bytes;
    bytes.add(static_cast<std::uint8_t>(book));
    addParts(bytes, parts...);
    return bytes.take();
}

template <typename... Parts>
std::string stepOf(Step step, const Parts&... parts) {
    ByteWriter bytes;
    bytes.add(static_cast<std::uint8_t>(step));
    addParts(bytes, parts...);
    return bytes.take();
}

// The entries of a book in a sorted map of keys lie from its first key up to the next book's.
inline std::string bookBegin(Book book) {
    return std::string(1, static_cast<char>(book));
}

}  // namespace state

#endif
