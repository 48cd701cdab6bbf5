// What the ONU is made of, as far as its MIB shows it, and the managed entities that follow from that.
#ifndef OMCI_MIB_BOARD_H
#define OMCI_MIB_BOARD_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "omci/mib/Entity.h"

namespace omci {

struct BoardImage {
    std::string version;  // at most 14 characters
    std::string productCode;
    bool committed = false;
    bool active = false;
    bool valid = false;
};

// A priority queue of an ONU that numbers its queues in its own way.
struct BoardQueue {
    InstanceId instance = 0;     // upstream from 0x8000 on
    InstanceId related = 0;      // the T-CONT upstream, the port downstream
    std::uint16_t priority = 0;  // within the related one; 0 is the most urgent
};

// Instance numbers, each list by rising numbers. What is empty follows from the board's slots and counts.
struct BoardNumbering {
    std::vector<InstanceId> ethernetPorts, veips, tConts;
    std::optional<InstanceId> ani;
    std::vector<BoardQueue> queues;
};

// Filled by the caller. Texts are cut to their attributes' sizes.
struct Board {
    // ---- Identity ----
    std::array<std::uint8_t, 8> serialNumber{'V', 'O', 'R', 'N', 0, 0, 0, 0};  // four letters, four bytes
    std::string version;                                                       // of the hardware
    std::string equipmentId;
    std::uint16_t productCode = 0;
    std::string logicalOnuId;
    std::string logicalPassword;
    std::uint8_t omccVersion = 0xB4;  // the editions that the ONU follows; from 0x96 on it knows the extended set
    std::array<BoardImage, 2> images{{{"", "", true, true, true}, {"", "", false, false, false}}};

    // ---- Subscriber side ----
    std::uint8_t ethernetPorts = 4;  // 0..254
    std::uint8_t ethernetSlot = 1;
    std::uint8_t ethernetType = 47;  // plug-in unit type: 10/100/1000BASE-T
    bool portAccessControl = false;  // IEEE 802.1X at the Ethernet ports
    std::uint8_t veips = 1;
    std::uint8_t veipSlot = 6;
    std::uint8_t ipHosts = 1;
    std::array<std::uint8_t, 6> ipHostMac{};
    std::array<std::uint8_t, 6> bridgeMac{};

    // ---- PON side ----
    std::uint8_t ponSlot = 0x80;
    std::uint8_t ponType = 248;  // plug-in unit type: GPON
    bool isGpon = true;          // G.984; later systems lack the GEM block length and know the key ring
    std::uint8_t tConts = 8;
    std::uint8_t queues = 8;  // of each T-CONT and each port, 1..16
    bool schedulers = false;  // one traffic scheduler for each T-CONT
    std::uint16_t gemPorts = 256;
    std::uint16_t maxQueueSize = 0xFFFF;    // in units of the scale factor
    std::uint8_t trafficManagement = 0;     // 0 priority, 1 rate, 2 priority and rate controlled
    std::uint16_t qosFlexibility = 0x0010;  // which of the QoS attributes the OLT may set; here the T-CONT's policy
    std::uint16_t connectivity = 0x007F;    // connectivity models, one bit each

    // ---- Numbers of their own; set by setNumbering(), which keeps slots and counts in step ----
    BoardNumbering numbering;

    // ---- What the MIB can hold ----
    std::uint16_t taggingRows = 64;  // of one extended VLAN tagging table
    bool describesMib = false;       // entities that describe classes and attributes (287, 288, 289)
};

// Gives the board the numbers of another ONU; slots and counts follow from them. What numbering leaves empty stays.
void setNumbering(Board& board, BoardNumbering numbering);

// The entities that the ONU makes by itself, with the values that they have when it starts.
std::vector<Entity> boardEntities(const Board& board);

// Whether the OMCC version promises the extended message set.
bool knowsExtendedSet(const Board& board);

// Instance numbers of an ONU without pluggable slots. Numbers count from 0, below the board's counts.
InstanceId ethernetPortInstance(const Board& board, unsigned port);
InstanceId veipInstance(const Board& board, unsigned veip);
InstanceId aniInstance(const Board& board);
InstanceId tContInstance(const Board& board, unsigned tCont);
InstanceId upstreamQueueInstance(const Board& board, unsigned tCont, unsigned queue);
// port: the Ethernet ports, then the VEIPs.
InstanceId downstreamQueueInstance(const Board& board, unsigned port, unsigned queue);

}  // namespace omci

#endif
