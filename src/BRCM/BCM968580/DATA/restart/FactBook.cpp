#include "BRCM/BCM968580/DATA/restart/FactBook.h"

#include <utility>

#include "BRCM/BCM968580/DATA/iphost/IpHostCheck.h"
#include "BRCM/BCM968580/DATA/restart/DeviceNames.h"
#include "BRCM/BCM968580/DATA/restart/MapBook.h"

using state::Book;
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

// Reads every fact of the book as it is now, changes that no commit has written yet included.
template <typename Read>
auto facts(Book book, Read read) {
    std::vector<decltype(read(std::declval<ByteReader&>(), std::declval<ByteReader&>()))> found;
    const state::Journal* const journal = state::journal();
    if (journal == nullptr) return found;
    for (const auto& [keyBytes, valueBytes] : journal->current(book)) {
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

bool isFact(Book book, ByteReader& key, ByteReader& value) {
    switch (book) {
        case Book::Devices:
            if (!isMadeDevice(key.text())) return false;
            value.flag();
            break;
        case Book::Members:
            if (!isPlainDeviceName(key.text()) || !isBridge(value.text())) return false;
            break;
        case Book::Tables:
            if (!isPlainDeviceName(key.text())) return false;
            key.raw(2);
            value.u32();
            break;
        case Book::LooseRules:
            if (!isPlainDeviceName(key.text())) return false;
            key.raw(2);
            key.u32();
            break;
        case Book::GemUp:
            key.u16();
            value.flag();
            break;
        case Book::IpHosts:
            if (!isIpHost(key, value)) return false;
            break;
        case Book::DscpShortcuts:
        case Book::TcontQueues:
            key.u16();
            break;
        case Book::DhcpClients:
            key.raw(4);
            break;
        case Book::SettledRows:
            if (!isPlainDeviceName(key.text())) return false;
            key.raw(16);
            break;
        default:
            return false;
    }
    return key.done() && value.done();
}

std::vector<std::string> knownDevices() {
    return facts(Book::Devices, [](ByteReader& key, ByteReader&) { return key.text(); });
}

std::vector<Member> knownMembers() {
    return facts(Book::Members, [](ByteReader& key, ByteReader& value) { return Member{key.text(), value.text()}; });
}

std::vector<Table> knownTables() {
    return facts(Book::Tables, [](ByteReader& key, ByteReader& value) {
        return Table{key.text(), key.u8(), key.u8(), value.u32()};
    });
}

std::vector<LooseRule> knownLooseRules() {
    return facts(Book::LooseRules, [](ByteReader& key, ByteReader&) {
        return LooseRule{key.text(), key.u8(), key.u8(), key.u32()};
    });
}

std::vector<GemPortState> knownGemPorts() {
    return facts(Book::GemUp, [](ByteReader& key, ByteReader& value) { return GemPortState{key.u16(), value.flag()}; });
}

std::vector<IpHost> knownIpHosts() {
    return facts(Book::IpHosts, [](ByteReader& key, ByteReader& value) {
        return IpHost{key.u16(), key.u16(), value.text(), value.text(), value.flag()};
    });
}

std::vector<std::uint16_t> knownDscpShortcuts() {
    return facts(Book::DscpShortcuts, number);
}

std::vector<std::uint16_t> knownTcontsWithQueues() {
    return facts(Book::TcontQueues, number);
}

}  // namespace restart
