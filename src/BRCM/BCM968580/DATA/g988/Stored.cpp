#include "BRCM/BCM968580/DATA/g988/Stored.h"

namespace g988 {

namespace {

using state::ByteReader;
using state::ByteWriter;

// ---- parts ----

template <typename Number>
void storeOptional(const std::optional<Number>& number, ByteWriter& bytes) {
    bytes.add(number.has_value());
    if (number) bytes.add(*number);
}

template <typename Number>
std::optional<Number> readOptional(ByteReader& bytes) {
    if (!bytes.flag()) return std::nullopt;
    return bytes.number<Number>();
}

// A list behind the number of its entries.
template <typename List, typename StoreOne>
void storeList(const List& list, ByteWriter& bytes, StoreOne storeOne) {
    bytes.add(static_cast<std::uint16_t>(list.size()));
    for (const auto& one : list) storeOne(one);
}

template <typename ReadOne>
void readList(ByteReader& bytes, ReadOne readOne) {
    const std::uint16_t count = bytes.u16();
    for (std::uint16_t i = 0; i < count && bytes.ok(); ++i) readOne();
}

void storeMap(const DscpMap& map, ByteWriter& bytes) {
    for (const std::uint8_t pbits : map) bytes.add(pbits);
}

DscpMap readMap(ByteReader& bytes) {
    DscpMap map{};
    for (std::uint8_t& pbits : map) pbits = bytes.u8();
    return map;
}

// ---- tagging ----

void storeCodes(const TagCodes& codes, ByteWriter& bytes) {
    bytes.add(codes.pbits).add(codes.vid).add(codes.tpidDei);
}

TagCodes readCodes(ByteReader& bytes) {
    TagCodes codes;
    codes.pbits = bytes.u8();
    codes.vid = bytes.u16();
    codes.tpidDei = bytes.u8();
    return codes;
}

void storeRow(const TaggingRow& row, ByteWriter& bytes) {
    storeCodes(row.outerFilter, bytes);
    storeCodes(row.innerFilter, bytes);
    bytes.add(row.extendedCriteria).add(static_cast<std::uint8_t>(row.etherTypes)).add(row.tagsToRemove);
    storeCodes(row.outerTreatment, bytes);
    storeCodes(row.innerTreatment, bytes);
    storeOptional(row.bridge, bytes);
}

TaggingRow readRow(ByteReader& bytes) {
    TaggingRow row;
    row.outerFilter = readCodes(bytes);
    row.innerFilter = readCodes(bytes);
    row.extendedCriteria = bytes.u8();
    row.etherTypes = static_cast<EtherTypes>(bytes.u8());
    row.tagsToRemove = bytes.u8();
    row.outerTreatment = readCodes(bytes);
    row.innerTreatment = readCodes(bytes);
    row.bridge = readOptional<std::uint16_t>(bytes);
    return row;
}

TaggingTable readTable(ByteReader& bytes) {
    TaggingTable table;
    const std::vector<TaggingRow> fromTheStart = table.rows();
    for (const TaggingRow& row : fromTheStart) table.erase(row);
    table.inputTpid = bytes.u16();
    table.outputTpid = bytes.u16();
    table.downstreamMode = bytes.u8();
    table.dscpMap = readMap(bytes);
    readList(bytes, [&] { table.set(readRow(bytes)); });
    return table;
}

// ---- the PON side ----

void storePlace(const std::optional<GemPlace>& place, ByteWriter& bytes) {
    bytes.add(place.has_value());
    if (place) bytes.add(place->gemIndex).add(place->queue);
}

std::optional<GemPlace> readPlace(ByteReader& bytes) {
    if (!bytes.flag()) return std::nullopt;
    GemPlace place;
    place.gemIndex = bytes.u16();
    place.queue = bytes.u16();
    return place;
}

void storePort(const PonPort& port, ByteWriter& bytes) {
    bytes.add(port.filter.forwardOperation);
    storeList(port.filter.list, bytes, [&](const FilterTci& tci) { bytes.add(tci.pbits).add(tci.dei).add(tci.vid); });
    for (const auto& place : port.mapper.places) storePlace(place, bytes);
    bytes.add(static_cast<std::uint8_t>(port.mapper.unmarked)).add(port.mapper.defaultPbits);
    storeMap(port.mapper.dscpMap, bytes);
    storeList(port.downstreamGems, bytes, [&](std::uint16_t gem) { bytes.add(gem); });
    storeOptional(port.ipProtocol, bytes);
}

PonPort readPort(ByteReader& bytes) {
    PonPort port;
    port.filter.forwardOperation = bytes.u8();
    readList(bytes, [&] {
        FilterTci tci;
        tci.pbits = bytes.u8();
        tci.dei = bytes.u8();
        tci.vid = bytes.u16();
        port.filter.list.push_back(tci);
    });
    for (auto& place : port.mapper.places) place = readPlace(bytes);
    port.mapper.unmarked = static_cast<PbitMapper::Unmarked>(bytes.flag());
    port.mapper.defaultPbits = bytes.u8();
    port.mapper.dscpMap = readMap(bytes);
    readList(bytes, [&] { port.downstreamGems.insert(bytes.u16()); });
    port.ipProtocol = readOptional<std::uint8_t>(bytes);
    return port;
}

// ---- rules ----

void storeMatch(const Match& match, ByteWriter& bytes) {
    for (const std::uint64_t word : match.values()) bytes.add(word);
    for (const std::uint64_t word : match.masks()) bytes.add(word);
    bytes.add(match.txDeviceOf());
}

Match readMatch(ByteReader& bytes) {
    Match::Words values{}, masks{};
    for (std::uint64_t& word : values) word = bytes.number<std::uint64_t>();
    for (std::uint64_t& word : masks) word = bytes.number<std::uint64_t>();
    return Match::of(values, masks, bytes.text());
}

}  // namespace

void store(const UniPort& port, ByteWriter& bytes) {
    storeList(port.bridges, bytes, [&](std::uint16_t bridge) { bytes.add(bridge); });
    bytes.add(port.tagging.has_value());
    if (!port.tagging) return;
    const TaggingTable& table = *port.tagging;
    bytes.add(table.inputTpid).add(table.outputTpid).add(table.downstreamMode);
    storeMap(table.dscpMap, bytes);
    storeList(table.rows(), bytes, [&](const TaggingRow& row) { storeRow(row, bytes); });
}

UniPort readUniPort(ByteReader& bytes) {
    UniPort port;
    readList(bytes, [&] { port.bridges.insert(bytes.u16()); });
    if (bytes.flag()) port.tagging = readTable(bytes);
    return port;
}

void store(const PonSide& side, ByteWriter& bytes) {
    storeList(side.ports, bytes, [&](const PonPort& port) { storePort(port, bytes); });
    for (const PonPortKey& key : side.keys) {
        storeList(key.gemPortIds, bytes, [&](std::uint16_t portId) { bytes.add(portId); });
        storeOptional(key.ipProtocol, bytes);
    }
}

PonSide readPonSide(ByteReader& bytes) {
    PonSide side;
    readList(bytes, [&] { side.ports.push_back(readPort(bytes)); });
    for (std::size_t i = 0; i < side.ports.size(); ++i) {
        PonPortKey key;
        readList(bytes, [&] { key.gemPortIds.insert(bytes.u16()); });
        key.ipProtocol = readOptional<std::uint8_t>(bytes);
        key.isMulticast = !side.ports[i].downstreamGems.empty();
        side.keys.push_back(std::move(key));
    }
    return side;
}

void store(const InstalledRule& installed, ByteWriter& bytes) {
    bytes.add(installed.place);
    storeMatch(installed.rule.match, bytes);
    storeList(installed.rule.commands, bytes, [&](const Command& command) {
        bytes.add(static_cast<std::uint8_t>(command.kind)).add(command.tag).add(command.value);
    });
    bytes.add(installed.rule.receiver).add(installed.rule.origin);
}

InstalledRule readInstalledRule(ByteReader& bytes) {
    InstalledRule installed;
    installed.place = bytes.i32();
    installed.rule.match = readMatch(bytes);
    readList(bytes, [&] {
        Command command{static_cast<Command::Kind>(bytes.u8())};
        command.tag = bytes.u8();
        command.value = bytes.u16();
        installed.rule.commands.push_back(command);
    });
    installed.rule.receiver = bytes.text();
    installed.rule.origin = bytes.text();
    return installed;
}

}  // namespace g988
