// What the agent asks of the ONU and the HAL's interface does not tell. Every operation has a body that answers "not
// known", so that a device overrides only what it can do.
#ifndef OMCI_AGENT_DEVICE_H
#define OMCI_AGENT_DEVICE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hal/CounterRecords.h"
#include "omci/message/Contents.h"

namespace omci {

// Measurements of the optical module beside its levels, each where the module tells it.
struct ModuleReading {
    std::optional<double> volts;
    std::optional<double> biasMilliamperes;
    std::optional<double> celsius;
};

struct PortState {
    bool linkUp = false;
    std::uint8_t configuration = 0;  // speed and duplex, in the codes of the port's "configuration ind"
};

// Counters since the port was made.
struct GemPortCounters {
    std::uint64_t transmittedFrames = 0;
    std::uint64_t receivedFrames = 0;
    std::uint64_t receivedBytes = 0;
    std::uint64_t transmittedBytes = 0;
    std::uint64_t keyErrors = 0;
    std::uint64_t discardedFrames = 0;
};

// A station that a bridge has learned.
struct LearnedStation {
    std::array<std::uint8_t, 6> address{};
    std::uint16_t ageSeconds = 0;  // since its last frame, at most 4095
};

class Device {
public:
    virtual ~Device() = default;

    // Absolute counters of an Ethernet port or VEIP; received is what comes from the subscriber.
    virtual std::optional<IntfStats> portCounters(EntityKey) { return std::nullopt; }
    virtual std::optional<GemPortCounters> gemPortCounters(std::uint16_t /*gemPortId*/) { return std::nullopt; }
    // Any other counter of performance monitoring: class and number of the attribute, and the entity that is counted.
    virtual std::optional<std::uint64_t> counter(ClassId, AttributeNumber, EntityKey) { return std::nullopt; }

    virtual std::optional<PortState> portState(InstanceId /*ethernetPort*/) { return std::nullopt; }
    // The stations behind a port of a bridge: the instance of the bridge, and the entity that the bridge port leads to.
    virtual std::optional<std::vector<LearnedStation>> learnedStations(InstanceId /*bridge*/, EntityKey /*port*/) {
        return std::nullopt;
    }
    virtual ModuleReading module() { return {}; }

    // A voice call is going on; with emergencyOnly an emergency call.
    virtual bool callInProgress(bool /*emergencyOnly*/) { return false; }
    // The version text that an image tells of itself, at most 14 characters; empty when it does not.
    virtual std::string imageVersion(ByteView /*image*/) { return {}; }
    virtual void setTime(const DateTime&) {}
    // The ONU restarts with this software image. The answer has gone; the MIB is that of a new ONU already.
    virtual void restart(InstanceId /*image*/) {}
};

}  // namespace omci

#endif
