// What the agent does beside answering: values that live, what time brings, restarts.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "hal/VornHal.h"
#include "omci/agent/Agent.h"
#include "omci/agent/MulticastGroups.h"
#include "omci/agent/SelfTest.h"
#include "omci/mib/Relations.h"

namespace omci {

namespace {

constexpr std::uint64_t kWatchMs = 1'000;
constexpr std::uint64_t kOpticsEvery = 10;  // watches

constexpr unsigned kLanLos = 0;                  // of an Ethernet port
constexpr unsigned kConnectingFunctionFail = 0;  // of a VEIP
constexpr std::uint8_t kEnabled = 0, kDisabled = 1;
constexpr std::uint8_t kDhcp = 0x01;  // of the IP options

// Alarms of the ANI-G.
enum : unsigned {
    kLowReceived = 0,
    kHighReceived = 1,
    kSignalFail = 2,
    kSignalDegrade = 3,
    kLowTransmitted = 4,
    kHighTransmitted = 5
};

// Levels in units of 0.002 dB relative to 1 mW.
constexpr int kHalfDecibel = 250;
// Where the OLT leaves the thresholds to the ONU: what a receiver and a transmitter of class B+ are made for.
constexpr int kOwnLowReceived = -56 * kHalfDecibel, kOwnHighReceived = -16 * kHalfDecibel;
constexpr int kOwnLowTransmitted = 1 * kHalfDecibel, kOwnHighTransmitted = 10 * kHalfDecibel;
constexpr std::uint8_t kReceivedByOnu = 0xFF, kTransmittedByOnu = 0x81;  // "own policy"

int receivedThreshold(std::uint8_t value, int own) {
    return value == kReceivedByOnu ? own : -kHalfDecibel * value;
}

int transmittedThreshold(std::uint8_t value, int own) {
    return value == kTransmittedByOnu ? own : kHalfDecibel * static_cast<std::int8_t>(value);
}

// Rows of a bridge port's table (9.3.8): age and how the entry came to be, then the address.
TableRows bridgeTableRows(const std::vector<LearnedStation>& stations) {
    constexpr unsigned kLearned = 0x0004, kAgeShift = 4, kMaxAge = 4095;
    TableRows rows;
    for (const LearnedStation& station : stations) {
        Bytes row;
        appendNumber(row, kLearned | std::clamp<unsigned>(station.ageSeconds, 1, kMaxAge) << kAgeShift, 2);
        row.insert(row.end(), station.address.begin(), station.address.end());
        rows.push_back(std::move(row));
    }
    return rows;
}

// A subscriber's profiles are those of its packages; without packages it has one.
bool uses(const Entity& subscriber, InstanceId profile) {
    const TableRows& packages = subscriber.rows(attr::multicast_subscriber::kPackageTable);
    if (packages.empty()) return subscriber.number16(attr::multicast_subscriber::kProfilePointer) == profile;
    return std::any_of(packages.begin(), packages.end(),
                       [&](const Bytes& row) { return number16(row, package_row::kProfile) == profile; });
}

// What a bridge port leads to.
EntityKey targetOf(const Entity& bridgePort) {
    return {bridgePortTarget(bridgePort.number8(attr::bridge_port::kTpType)),
            bridgePort.number16(attr::bridge_port::kTpPointer)};
}

std::uint16_t levelField(int level) {
    return static_cast<std::uint16_t>(std::clamp(level, -32768, 32767));
}

}  // namespace

void Agent::refresh(EntityKey key, AttributeMask mask) {
    const auto asked = [mask](AttributeNumber number) { return (mask & maskOf(number)) != 0; };
    switch (key.classId) {
        case class_id::kAniG:
            if (asked(attr::ani_g::kOpticalSignalLevel)) {
                if (const auto level = receivedLevel(hal_)) {
                    mib_.setNumber(key, attr::ani_g::kOpticalSignalLevel, levelField(*level));
                }
            }
            if (asked(attr::ani_g::kTransmitOpticalLevel)) {
                if (const auto level = transmittedLevel(hal_)) {
                    mib_.setNumber(key, attr::ani_g::kTransmitOpticalLevel, levelField(*level));
                }
            }
            break;
        case class_id::kMulticastProfile:
            if (asked(attr::multicast_profile::kLostGroupsListTable)) refreshLostGroups(key);
            break;
        case class_id::kMulticastMonitor:
            // Of a mapper without a bridge nobody listens to joins.
            if (const Entity* port = mib_.find(class_id::kBridgePort, key.instance)) refreshMonitor(key, *port);
            break;
        case class_id::kIpHost:
            if (const auto addresses = device_.hostAddresses(key.instance)) hostChanged(key.instance, *addresses);
            break;
        case class_id::kVeip:
            if (const auto connected = device_.veipConnected(key.instance)) veipChanged(key.instance, *connected);
            break;
        case class_id::kOnu2G:
            if (asked(attr::onu2_g::kSysUpTime)) {
                mib_.setNumber(key, attr::onu2_g::kSysUpTime, (clock_.nowMs() - startedMs_) / 10);
            }
            break;
        case class_id::kEthernetUni:
            if (asked(attr::ethernet_uni::kOperationalState) || asked(attr::ethernet_uni::kConfigurationInd)) {
                if (const auto state = device_.portState(key.instance)) portChanged(key.instance, *state);
            }
            break;
        case class_id::kBridgePortDesignation:
            if (const Entity* port = mib_.find(class_id::kBridgePort, key.instance)) refreshPortOf(*port);
            break;
        case class_id::kBridgePortTable:
            if (const Entity* port = mib_.find(class_id::kBridgePort, key.instance)) {
                const auto stations =
                    device_.learnedStations(port->number16(attr::bridge_port::kBridgeIdPointer), targetOf(*port));
                if (stations) mib_.setRows(key, attr::bridge_port_table::kBridgeTable, bridgeTableRows(*stations));
            }
            break;
        default:
            break;
    }
}

std::optional<JoinedGroups> Agent::joinedAt(const Entity& bridgePort) {
    return device_.joinedGroups(bridgePort.number16(attr::bridge_port::kBridgeIdPointer), targetOf(bridgePort));
}

void Agent::refreshLostGroups(EntityKey profile) {
    const TableRows& dynamicList = mib_.find(profile)->rows(attr::multicast_profile::kDynamicAccessTable);
    TableRows lost;
    for (const auto& [instance, subscriber] : mib_.instances(class_id::kMulticastSubscriber)) {
        const Entity* port = mib_.find(class_id::kBridgePort, instance);
        if (port == nullptr || !uses(subscriber, profile.instance)) continue;
        if (const auto joined = joinedAt(*port)) addLostGroups(dynamicList, joined->ipv4, lost);
    }
    mib_.setRows(profile, attr::multicast_profile::kLostGroupsListTable, std::move(lost));
}

void Agent::refreshMonitor(EntityKey key, const Entity& bridgePort) {
    const auto joined = joinedAt(bridgePort);
    if (!joined) return;
    std::uint64_t bandwidth = 0;
    for (const auto& one : joined->ipv4) bandwidth += one.bytesPerSecond;
    for (const auto& one : joined->ipv6) bandwidth += one.bytesPerSecond;
    constexpr std::uint64_t kMaxBandwidth = 0xFFFFFFFF;
    mib_.setNumber(key, attr::multicast_monitor::kCurrentMulticastBandwidth, std::min(bandwidth, kMaxBandwidth));
    mib_.setNumber(key, attr::multicast_monitor::kJoinMessagesCounter, joined->joins);
    mib_.setRows(key, attr::multicast_monitor::kIpv4ActiveGroupListTable, activeGroupRows(joined->ipv4));
    mib_.setRows(key, attr::multicast_monitor::kIpv6ActiveGroupListTable, activeGroupRows(joined->ipv6));
}

// The port behind a bridge port, whose link the state of the bridge port follows.
void Agent::refreshPortOf(const Entity& bridgePort) {
    const EntityKey port = targetOf(bridgePort);
    if (port.classId == class_id::kEthernetUni) refresh(port, maskOf(attr::ethernet_uni::kOperationalState));
}

void Agent::refreshAll() {
    refresh({class_id::kAniG, aniInstance(board_)}, 0xFFFF);
    refresh({class_id::kOnu2G, 0}, 0xFFFF);
    watchPorts();
    watchVeips();
    watchHosts();
    for (const ClassId classId : {class_id::kBridgeData, class_id::kBridgePortDesignation}) {
        std::vector<EntityKey> keys;
        for (const auto& [instance, entity] : mib_.instances(classId)) keys.push_back(entity.key());
        for (const EntityKey key : keys) commands_.refresh(key, 0xFFFF);
    }
}

void Agent::afterSet(EntityKey key, AttributeMask) {
    alarms_.controlChanged(key, clock_.nowMs());
    const Entity& entity = *mib_.find(key);
    if (entity.info().isPerformance()) performance_.written(key);
    // Where the device reports the port's state, the next watch looks: the port is not up yet when it is unlocked.
    if (key.classId == class_id::kEthernetUni && !device_.portState(key.instance)) {
        const bool enabled = entity.number8(attr::ethernet_uni::kOperationalState) == kEnabled;
        portChanged(key.instance, {enabled, entity.number8(attr::ethernet_uni::kConfigurationInd)});
    }
    if (key.classId == class_id::kIpHost && !device_.hostAddresses(key.instance) &&
        (entity.number8(attr::ip_host::kIpOptions) & kDhcp) == 0) {
        // Without DHCP the addresses in use are those that were set by hand.
        constexpr AttributeNumber kAddresses = 5;
        for (AttributeNumber at = 0; at < kAddresses; ++at) {
            const Bytes address = entity.bytes(static_cast<AttributeNumber>(attr::ip_host::kIpAddress + at)).copy();
            mib_.setBytes(key, static_cast<AttributeNumber>(attr::ip_host::kCurrentAddress + at), address);
        }
    }
}

void Agent::portChanged(InstanceId port, const PortState& state) {
    const EntityKey key{class_id::kEthernetUni, port};
    if (mib_.find(key) == nullptr) return;
    outbox_.change(key, attr::ethernet_uni::kOperationalState, state.linkUp ? kEnabled : kDisabled);
    outbox_.change(key, attr::ethernet_uni::kConfigurationInd, state.configuration);
    alarms_.set(key, kLanLos, !state.linkUp);
}

void Agent::veipChanged(InstanceId veip, bool connected) {
    const EntityKey key{class_id::kVeip, veip};
    if (mib_.find(key) == nullptr) return;
    outbox_.change(key, attr::veip::kOperationalState, connected ? kEnabled : kDisabled);
    alarms_.set(key, kConnectingFunctionFail, !connected);
}

void Agent::hostChanged(InstanceId ipHost, const HostAddresses& addresses) {
    const EntityKey key{class_id::kIpHost, ipHost};
    if (mib_.find(key) == nullptr) return;
    AttributeNumber attribute = attr::ip_host::kCurrentAddress;
    for (const std::uint32_t address :
         {addresses.address, addresses.mask, addresses.gateway, addresses.primaryDns, addresses.secondaryDns})
        outbox_.change(key, attribute++, address);
}

void Agent::tick() {
    const std::uint64_t nowMs = clock_.nowMs();
    alarms_.tick(nowMs);
    const std::uint64_t watch = (nowMs - startedMs_) / kWatchMs;
    if (watch == lastWatch_) return;
    const bool optics = watch / kOpticsEvery != lastWatch_ / kOpticsEvery;
    lastWatch_ = watch;
    performance_.tick(nowMs);
    watchPorts();
    watchVeips();
    watchHosts();
    watchBitErrors();
    if (optics) watchOptics();
}

void Agent::watchPorts() {
    for (unsigned port = 0; port < board_.ethernetPorts; ++port) {
        const InstanceId instance = ethernetPortInstance(board_, port);
        if (const auto state = device_.portState(instance)) portChanged(instance, *state);
    }
}

void Agent::watchVeips() {
    for (unsigned veip = 0; veip < board_.veips; ++veip)
        refresh({class_id::kVeip, veipInstance(board_, veip)}, maskOf(attr::veip::kOperationalState));
}

void Agent::watchHosts() {
    for (unsigned host = 0; host < board_.ipHosts; ++host)
        refresh({class_id::kIpHost, static_cast<InstanceId>(host)}, maskOf(attr::ip_host::kCurrentAddress));
}

void Agent::watchOptics() {
    const EntityKey key{class_id::kAniG, aniInstance(board_)};
    const Entity& ani = *mib_.find(key);
    const auto watch = [&](std::optional<int> level, unsigned low, unsigned high, int least, int most) {
        if (!level) return;
        alarms_.set(key, low, *level < least);
        alarms_.set(key, high, *level > most);
    };
    watch(receivedLevel(hal_), kLowReceived, kHighReceived,
          receivedThreshold(ani.number8(attr::ani_g::kLowerOpticalThreshold), kOwnLowReceived),
          receivedThreshold(ani.number8(attr::ani_g::kUpperOpticalThreshold), kOwnHighReceived));
    watch(transmittedLevel(hal_), kLowTransmitted, kHighTransmitted,
          transmittedThreshold(ani.number8(attr::ani_g::kLowerTransmitPowerThreshold), kOwnLowTransmitted),
          transmittedThreshold(ani.number8(attr::ani_g::kUpperTransmitPowerThreshold), kOwnHighTransmitted));
}

void Agent::watchBitErrors() {
    const auto ratio = device_.bitErrorRatio();
    if (!ratio) return;
    const EntityKey key{class_id::kAniG, aniInstance(board_)};
    const Entity& ani = *mib_.find(key);
    // Thresholds are exponents: y for 10^-y.
    const auto reaches = [&](AttributeNumber threshold) {
        return *ratio >= std::pow(10.0, -int{ani.number8(threshold)});
    };
    alarms_.set(key, kSignalFail, reaches(attr::ani_g::kSfThreshold));
    alarms_.set(key, kSignalDegrade, reaches(attr::ani_g::kSdThreshold));
}

void Agent::afterAnswer() {
    if (!restart_) return;
    const InstanceId image = *restart_;
    restart_.reset();
    restart(image);
}

void Agent::restart(InstanceId image) {
    commands_.reset();
    images_.restarted(image);
    alarms_.clear();
    transactions_.clear();
    tables_.clear();
    upload_ = MibUpload();
    startedMs_ = clock_.nowMs();
    lastWatch_ = 0;
    outbox_.clear();
    performance_.synchronize(startedMs_);
    device_.restart(image);
}

}  // namespace omci
