#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"

#include <utility>

#include "BRCM/BCM968580/DATA/iphost/IpHostParts.h"
#include "BRCM/BCM968580/DATA/restart/MapEntries.h"
#include "BRCM/BCM968580/DATA/restart/Operations.h"
#include "kit/DeviceNames.h"

using kit::Entry;
using state::ByteReader;

namespace restart {

namespace {

bool isIpHost(ByteReader& key, ByteReader& value) {
    IpHostProvision host{};
    host.bridgeId = key.u16();
    host.uniPort = key.u16();
    host.macAddress = value.text();
    host.ipAddress = value.text();
    value.flag();
    return isSafeIpHost("vorn_hal_state_open", host);
}

// Reads every entry of the kind as it is now, changes that no commit has written yet included.
template <typename Read>
auto entriesOf(Entry kind, Read read) {
    std::vector<decltype(read(std::declval<ByteReader&>(), std::declval<ByteReader&>()))> found;
    const state::Journal* const journal = state::journal();
    if (journal == nullptr) return found;
    for (const auto& [keyBytes, valueBytes] : journal->current(kit::keyOf(kind))) {
        ByteReader key(keyBytes);
        ByteReader value(valueBytes);
        key.u8();
        found.push_back(read(key, value));
    }
    return found;
}

std::uint16_t number(ByteReader& key, ByteReader& /*value*/) {
    return key.u16();
}

}  // namespace

bool isDeviceEntry(Entry kind, ByteReader& key, ByteReader& value) {
    switch (kind) {
        case Entry::Devices:
            if (!kit::isCreatedDevice(key.text())) return false;
            value.flag();
            break;
        case Entry::Members:
            if (!kit::isPlainDeviceName(key.text())) return false;
            if (const std::string bridge = value.text(); !kit::isBridge(bridge) && bridge != kSharedBridge)
                return false;
            break;
        case Entry::Tables:
            if (!kit::isPlainDeviceName(key.text())) return false;
            key.raw(2);
            value.u32();
            break;
        case Entry::LooseRules:
            if (!kit::isPlainDeviceName(key.text())) return false;
            key.raw(2);
            key.u32();
            break;
        case Entry::GemUp:
            key.u16();
            value.flag();
            break;
        case Entry::IpHosts:
            if (!isIpHost(key, value)) return false;
            break;
        case Entry::DscpShortcuts:
        case Entry::TcontQueues:
            key.u16();
            break;
        case Entry::DhcpClients:
            key.raw(4);
            break;
        case Entry::Asked:
            while (value.left() > 0) value.text();
            return isOperation(key) && value.done();
        case Entry::Finished:
        case Entry::ToFinish:
            return isOperation(key) && value.done();
        case Entry::Forwarding:
            value.flag();
            break;
        default:
            return false;
    }
    return key.done() && value.done();
}

std::vector<std::string> knownDevices() {
    return entriesOf(Entry::Devices, [](ByteReader& key, ByteReader&) { return key.text(); });
}

std::vector<Member> knownMembers() {
    return entriesOf(Entry::Members, [](ByteReader& key, ByteReader& value) {
        return Member{key.text(), value.text()};
    });
}

std::vector<CountedTable> knownTables() {
    return entriesOf(Entry::Tables, [](ByteReader& key, ByteReader& value) {
        return CountedTable{{key.text(), key.u8(), key.u8()}, value.u32()};
    });
}

std::vector<LooseRule> knownLooseRules() {
    return entriesOf(Entry::LooseRules, [](ByteReader& key, ByteReader&) { return looseRule(key); });
}

LooseRule looseRule(ByteReader& key) {
    return {{key.text(), key.u8(), key.u8()}, key.u32()};
}

std::vector<GemPortState> knownGemPorts() {
    return entriesOf(Entry::GemUp, [](ByteReader& key, ByteReader& value) {
        return GemPortState{key.u16(), value.flag()};
    });
}

std::vector<IpHost> knownIpHosts() {
    return entriesOf(Entry::IpHosts, [](ByteReader& key, ByteReader& value) {
        return IpHost{key.u16(), key.u16(), value.text(), value.text(), value.flag()};
    });
}

std::vector<std::uint16_t> knownDscpShortcuts() {
    return entriesOf(Entry::DscpShortcuts, number);
}

std::vector<std::uint16_t> knownTcontsWithQueues() {
    return entriesOf(Entry::TcontQueues, number);
}

}  // namespace restart
