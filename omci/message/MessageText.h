// A message in words, piece by piece, for a line of a log or a row of a table.
#ifndef OMCI_MESSAGE_MESSAGE_TEXT_H
#define OMCI_MESSAGE_MESSAGE_TEXT_H

#include <string>
#include <vector>

#include "omci/message/Contents.h"

namespace omci {

// "Alloc-ID", "1024"; what a message says beside attributes goes by a name too: "window size", "part".
struct NamedValue {
    std::string name;
    std::string value;
};

struct MessageText {
    bool upstream = false;    // sent by the ONU
    std::string transaction;  // "0x8001"; "-" where the ONU sends by itself
    std::string type;         // "set", "attribute value change"
    std::string entity;       // "T-CONT 0x8000"
    std::vector<NamedValue> values;
    std::string result;  // answers: "success"; "attributes failed or unknown: Policy failed"; else empty
    std::string error;   // why the content could not be read; else empty
};

MessageText textOf(const Message& message);
// "OLT  0x8001  set  T-CONT 0x8000  Alloc-ID 1024"; "ONU  0x8001  set  T-CONT 0x8000  success"
std::string lineOf(const MessageText& text);
// The names of an alarm's bits that are set: "LAN-LOS"; "none".
std::string alarmNames(ClassId classId, const AlarmBits& bits);

}  // namespace omci

#endif
