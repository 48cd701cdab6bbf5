// Messages of the management channel as a log: a line each, those that are asked for.
#ifndef VORN_ONU_MESSAGE_LOG_H
#define VORN_ONU_MESSAGE_LOG_H

#include <set>
#include <string>
#include <vector>

#include "living/Playing.h"

namespace vorn_onu {

struct LogChoice {
    // Empty: every one.
    std::set<omci::ClassId> classes;
    std::set<omci::InstanceId> instances;
    std::set<omci::MessageType> types;
    bool values = false;  // attributes of request and answer below the line
    bool bytes = false;   // hexadecimal bytes with their offsets below the line

    bool shows(const omci::Message& message) const;
};

// Numbers and names as they were typed: "262" or "0x0106", "set", "mib upload next". Throws std::invalid_argument.
LogChoice logChoice(const std::vector<std::string>& classes, const std::vector<std::string>& instances,
                    const std::vector<std::string>& types);

// "12:30:01.250  OLT  0x0001  set  T-CONT 0x8000  success  0.21 ms", and what was asked for below it; "" for a message
// that is not shown. The time is that of the day, or the seconds since the first message of a file.
std::string logText(const Played& played, const LogChoice& choice);

}  // namespace vorn_onu

#endif
