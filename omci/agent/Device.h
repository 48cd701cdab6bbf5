// What the agent asks of the ONU and the HAL's interface does not report. Every operation has a body that answers "not
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

// Measurements of the optical module beside its levels, each where the module reports it.
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

// The addresses that an IP host has, each as a number with the first octet on top; 0 where there is none.
struct HostAddresses {
    std::uint32_t address = 0, mask = 0, gateway = 0, primaryDns = 0, secondaryDns = 0;
};

// A multicast group that somebody behind a bridge port has joined; addresses as numbers with the first octet on top, of
// IPv6 as octets.
template <typename Address>
struct JoinedGroup {
    std::uint16_t vlan = 0;  // 0 for untagged, or not known
    Address source{};        // 0 for any
    Address group{};
    Address client{};                    // who joined it last, 0 where that is not known
    std::uint32_t secondsSinceJoin = 0;  // the last one
    std::uint32_t bytesPerSecond = 0;    // that come down, 0 where nobody counts
    // How long no frame to the group has come down to the bridge, since the join at most; empty where nobody looks.
    std::optional<std::uint32_t> secondsSilent;
};
using JoinedGroupIpv4 = JoinedGroup<std::uint32_t>;
using JoinedGroupIpv6 = JoinedGroup<std::array<std::uint8_t, 16>>;

struct JoinedGroups {
    std::vector<JoinedGroupIpv4> ipv4;
    std::vector<JoinedGroupIpv6> ipv6;
    std::uint32_t joins = 0;  // messages that have come in at the port
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
    // What is joined behind a port of a bridge, as the bridge has heard it.
    virtual std::optional<JoinedGroups> joinedGroups(InstanceId /*bridge*/, EntityKey /*port*/) { return std::nullopt; }
    // What an IP host uses, by hand or by DHCP.
    virtual std::optional<HostAddresses> hostAddresses(InstanceId /*ipHost*/) { return std::nullopt; }
    // Whether frames reach the other side of a VEIP.
    virtual std::optional<bool> veipConnected(InstanceId /*veip*/) { return std::nullopt; }
    virtual ModuleReading module() { return {}; }
    // Of what comes down, before correction: wrong bits of all bits.
    virtual std::optional<double> bitErrorRatio() { return std::nullopt; }

    // A voice call is going on; with emergencyOnly an emergency call.
    virtual bool callInProgress(bool /*emergencyOnly*/) { return false; }
    // The version text that an image reports of itself, at most 14 characters; empty when it does not.
    virtual std::string imageVersion(ByteView /*image*/) { return {}; }
    virtual void setTime(const DateTime&) {}
    // The ONU restarts with this software image. The answer has gone; the MIB is that of a new ONU already.
    virtual void restart(InstanceId /*image*/) {}
};

}  // namespace omci

#endif
