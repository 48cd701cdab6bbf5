// Rows of tables in words, and the texts that they are made of.
#ifndef OMCI_MESSAGE_TABLE_TEXT_H
#define OMCI_MESSAGE_TABLE_TEXT_H

#include <cstdint>
#include <string>

#include "omci/message/Bytes.h"

namespace omci {

std::string ipv4Text(ByteView address);  // "224.0.0.1"
std::string macText(ByteView address);   // "00:1a:2b:3c:4d:5e"
std::string tciText(std::uint16_t tci);  // "VID 100 p-bits 3"

// The control of the multicast tables' rows (309, 310).
struct RowControl {
    enum Action : std::uint8_t { kReserved, kWrite, kDelete, kClear };
    Action action = kReserved;
    std::uint8_t part = 0;  // of a row that has several
    bool testOnly = false;  // asks only whether the part is supported
    std::uint16_t key = 0;  // 0..1023
};
RowControl decodeRowControl(std::uint16_t control);

}  // namespace omci

#endif
