// Performance monitoring history data.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr AttributeInfo kEthernetPmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "FCS errors", 4, kR, kUnsigned, 0, {}, 0},
    {4, "Excessive collision counter", 4, kR, kUnsigned, 0, {}, 1},
    {5, "Late collision counter", 4, kR, kUnsigned, 0, {}, 2},
    {6, "Frames too long", 4, kR, kUnsigned, 0, {}, 3},
    {7, "Buffer overflows on receive", 4, kR, kUnsigned, 0, {}, 4},
    {8, "Buffer overflows on transmit", 4, kR, kUnsigned, 0, {}, 5},
    {9, "Single collision frame counter", 4, kR, kUnsigned, 0, {}, 6},
    {10, "Multiple collisions frame counter", 4, kR, kUnsigned, 0, {}, 7},
    {11, "SQE counter", 4, kR, kUnsigned, 0, {}, 8},
    {12, "Deferred transmission counter", 4, kR, kUnsigned, 0, {}, 9},
    {13, "Internal MAC transmit error counter", 4, kR, kUnsigned, 0, {}, 10},
    {14, "Carrier sense error counter", 4, kR, kUnsigned, 0, {}, 11},
    {15, "Alignment error counter", 4, kR, kUnsigned, 0, {}, 12},
    {16, "Internal MAC receive error counter", 4, kR, kUnsigned, 0, {}, 13},
};

constexpr AttributeInfo kBridgePmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Bridge learning entry discard count", 4, kR, kUnsigned, 0, {}, 0},
};

constexpr AttributeInfo kBridgePortPmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Forwarded frame counter", 4, kR, kUnsigned},
    {4, "Delay exceeded discard counter", 4, kR, kUnsigned, 0, {}, 1},
    {5, "MTU exceeded discard counter", 4, kR, kUnsigned, 0, {}, 2},
    {6, "Received frame counter", 4, kR, kUnsigned},
    {7, "Received and discarded counter", 4, kR, kUnsigned, 0, {}, 4},
};

constexpr AttributeInfo kEthernetPm2Attributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "PPPoE filtered frame counter", 4, kR, kUnsigned, 0, {}, 0},
};

constexpr AttributeInfo kGalPmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Discarded frames", 4, kR, kUnsigned, 0, {}, 0},
};

constexpr AttributeInfo kEthernetPm3Attributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Drop events", 4, kR, kUnsigned, 0, {}, 0},
    {4, "Octets", 4, kR, kUnsigned},
    {5, "Packets", 4, kR, kUnsigned},
    {6, "Broadcast packets", 4, kR, kUnsigned},
    {7, "Multicast packets", 4, kR, kUnsigned},
    {8, "Undersize packets", 4, kR, kUnsigned, 0, {}, 1},
    {9, "Fragments", 4, kR, kUnsigned, 0, {}, 2},
    {10, "Jabbers", 4, kR, kUnsigned, 0, {}, 3},
    {11, "Packets 64 octets", 4, kR, kUnsigned},
    {12, "Packets 65 to 127 octets", 4, kR, kUnsigned},
    {13, "Packets 128 to 255 octets", 4, kR, kUnsigned},
    {14, "Packets 256 to 511 octets", 4, kR, kUnsigned},
    {15, "Packets 512 to 1023 octets", 4, kR, kUnsigned},
    {16, "Packets 1024 to 1518 octets", 4, kR, kUnsigned},
};

constexpr AttributeInfo kFecPmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Corrected bytes", 4, kR, kUnsigned, 0, {}, 0},
    {4, "Corrected code words", 4, kR, kUnsigned, 0, {}, 1},
    {5, "Uncorrectable code words", 4, kR, kUnsigned, 0, {}, 2},
    {6, "Total code words", 4, kR, kUnsigned},
    {7, "FEC seconds", 2, kR, kUnsigned, 0, {}, 4},
};

constexpr AttributeInfo kFramePmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Drop events", 4, kR, kUnsigned, 0, {}, 0},
    {4, "Octets", 4, kR, kUnsigned},
    {5, "Packets", 4, kR, kUnsigned},
    {6, "Broadcast packets", 4, kR, kUnsigned},
    {7, "Multicast packets", 4, kR, kUnsigned},
    {8, "CRC errored packets", 4, kR, kUnsigned, 0, {}, 1},
    {9, "Undersize packets", 4, kR, kUnsigned, 0, {}, 2},
    {10, "Oversize packets", 4, kR, kUnsigned, 0, {}, 3},
    {11, "Packets 64 octets", 4, kR, kUnsigned},
    {12, "Packets 65 to 127 octets", 4, kR, kUnsigned},
    {13, "Packets 128 to 255 octets", 4, kR, kUnsigned},
    {14, "Packets 256 to 511 octets", 4, kR, kUnsigned},
    {15, "Packets 512 to 1023 octets", 4, kR, kUnsigned},
    {16, "Packets 1024 to 1518 octets", 4, kR, kUnsigned},
};

// Its counters have 32 or 64 bits.
template <unsigned bytes>
constexpr AttributeInfo kExtendedPmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Control block", 16, kRWC, kOctets},
    {3, "Drop events", bytes, kR, kUnsigned, 0, {}, 1},
    {4, "Octets", bytes, kR, kUnsigned},
    {5, "Frames", bytes, kR, kUnsigned},
    {6, "Broadcast frames", bytes, kR, kUnsigned},
    {7, "Multicast frames", bytes, kR, kUnsigned},
    {8, "CRC errored frames", bytes, kR, kUnsigned, 0, {}, 2},
    {9, "Undersize frames", bytes, kR, kUnsigned, 0, {}, 3},
    {10, "Oversize frames", bytes, kR, kUnsigned, 0, {}, 4},
    {11, "Frames 64 octets", bytes, kR, kUnsigned},
    {12, "Frames 65 to 127 octets", bytes, kR, kUnsigned},
    {13, "Frames 128 to 255 octets", bytes, kR, kUnsigned},
    {14, "Frames 256 to 511 octets", bytes, kR, kUnsigned},
    {15, "Frames 512 to 1023 octets", bytes, kR, kUnsigned},
    {16, "Frames 1024 to 1518 octets", bytes, kR, kUnsigned},
};

constexpr AttributeInfo kGemPortPmAttributes[] = {
    {1, "Interval end time", 1, kR, kUnsigned},
    {2, "Threshold data 1/2 id", 2, kRWC, kPointer, 0xFFFF},
    {3, "Transmitted GEM frames", 4, kR, kUnsigned},
    {4, "Received GEM frames", 4, kR, kUnsigned},
    {5, "Received payload bytes", 8, kR, kUnsigned},
    {6, "Transmitted payload bytes", 8, kR, kUnsigned},
    {7, "Encryption key errors", 4, kR | kOptional, kUnsigned, 0, {}, 1},
};

constexpr EntityRow kPerformanceEntities[] = {
    {24, "Ethernet PM history data", Maker::kOlt, kPmActions, kEthernetPmAttributes, {}},
    {51, "MAC bridge PM history data", Maker::kOlt, kPmActions, kBridgePmAttributes, {}},
    {52, "MAC bridge port PM history data", Maker::kOlt, kPmActions, kBridgePortPmAttributes, {}},
    {89, "Ethernet PM history data 2", Maker::kOlt, kPmActions, kEthernetPm2Attributes, {}},
    {276, "GAL Ethernet PM history data", Maker::kOlt, kPmActions, kGalPmAttributes, {}},
    {296, "Ethernet PM history data 3", Maker::kOlt, kPmActions, kEthernetPm3Attributes, {}},
    {312, "FEC PM history data", Maker::kOlt, kPmActions, kFecPmAttributes, {}},
    {321, "Ethernet frame PM history data downstream", Maker::kOlt, kPmActions, kFramePmAttributes, {}},
    {322, "Ethernet frame PM history data upstream", Maker::kOlt, kPmActions, kFramePmAttributes, {}},
    {334, "Ethernet frame extended PM", Maker::kOlt, kPmActions, kExtendedPmAttributes<4>, {}},
    {341, "GEM port network CTP PM history data", Maker::kOlt, kPmActions, kGemPortPmAttributes, {}},
    {425, "Ethernet frame extended PM 64-bit", Maker::kOlt, kPmActions, kExtendedPmAttributes<8>, {}},
};

}  // namespace

Rows<EntityRow> performanceEntities() {
    return kPerformanceEntities;
}

}  // namespace omci::tables
