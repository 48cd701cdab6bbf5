// Faults between an ONU and its OLT, where a board has one.
#ifndef VORN_ONU_MESSAGE_FAULTS_H
#define VORN_ONU_MESSAGE_FAULTS_H

#include <cstdint>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu {

// What a step asks for; 0: nothing of the kind. Counts are of answers, from the next one on.
struct MessageFault {
    std::uint16_t drop = 0, delay = 0, duplicate = 0, damage = 0;
    std::uint16_t delayMs = 1000;
    std::uint16_t unknownClass = 0;  // uploads have an entity of this class too, until faults are cleared
    std::uint8_t dataSync = 0;       // the data sync counter goes on by so many at once
    std::uint8_t reboot = 0;         // 1: the ONU restarts at once
};

class MessageFaults {
public:
    virtual ~MessageFaults() = default;
    // Adds to what is armed. Throws a Problem for a class that is known; nothing has changed then.
    virtual void arm(const MessageFault& fault) = 0;
    virtual void clear() = 0;
    // What is still to come: a list with a fault step's value for each kind. From any thread.
    virtual nlohmann::json armed() const = 0;
};

}  // namespace vorn_onu

#endif
