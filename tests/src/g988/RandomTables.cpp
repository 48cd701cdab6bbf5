#include "src/g988/RandomTables.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "src/g988/AuditedTables.h"

using g988::PonPort;
using g988::TagCodes;
using g988::TaggingRow;
using g988::TaggingTable;
using virtual_onu::Frame;
using virtual_onu::VlanTag;

namespace {

constexpr std::size_t kMaxRows = 12 + 3;
constexpr std::size_t kMaxSides = 3;
constexpr unsigned kNoSuchTag = 15, kOfADefaultRow = 14;

TagCodes codesOf(const std::array<unsigned, 3>& words) {
    return {static_cast<std::uint8_t>(words[0]), static_cast<std::uint16_t>(words[1]),
            static_cast<std::uint8_t>(words[2])};
}

}  // namespace

TagCodes RandomTables::filter() {
    return codesOf({of({8, 8, 8, below(8), below(8)}), of({4096, vid(), vid(), vid()}), of({0, 0, 0, 4, 5, 6, 7})});
}

TagCodes RandomTables::treatment() {
    return codesOf(
        {of({below(8), below(8), 8, 9, 10}), of({vid(), vid(), vid(), 4096, 4097}), of({0, 1, 2, 3, 4, 6, 6, 7})});
}

TaggingRow RandomTables::row(const g988::UniPort& port) {
    TaggingRow made;
    const unsigned tags = of({0, 0, 1, 1, 1, 2, 2});
    if (tags > 0) made.innerFilter = filter();
    if (tags > 1) made.outerFilter = filter();
    const bool isDefault = below(6) == 0;
    if (isDefault && tags > 0) made.innerFilter.pbits = kOfADefaultRow;
    if (isDefault && tags > 1) made.outerFilter.pbits = kOfADefaultRow;
    if (!isDefault) made.etherTypes = static_cast<g988::EtherTypes>(of({0, 0, 0, 1, 2, 3, 4, 5}));
    made.tagsToRemove = static_cast<std::uint8_t>(of({0, 0, 1, 1, 2, 3}));
    const unsigned added = of({0, 1, 1, 1, 2});
    if (added > 0) made.innerTreatment = treatment();
    if (added > 1) made.outerTreatment = treatment();
    made.bridge = *std::next(port.bridges.begin(), below(static_cast<unsigned>(port.bridges.size())));
    return made;
}

g988::FilterTci RandomTables::tci() {
    return {priority(), static_cast<std::uint8_t>(below(2)), vid()};
}

g988::GemPlace RandomTables::place() {
    return {static_cast<std::uint16_t>(gemIndex()), static_cast<std::uint16_t>(below(8))};
}

PonPort RandomTables::side() {
    PonPort made;
    made.filter.forwardOperation = static_cast<std::uint8_t>(below(4) == 0 ? 0 : below(0x22));
    for (unsigned left = below(4); left > 0; --left) made.filter.list.push_back(tci());
    const unsigned kind = below(3);
    const g988::GemPlace one = place();
    for (auto& known : made.mapper.places) {
        known = kind > 0 ? place() : one;
        if (kind > 1 && below(3) == 0) known.reset();
    }
    made.mapper.defaultPbits = below(4) == 0 ? priority() : std::uint8_t{0};
    if (below(8) == 0) made.ipProtocol = std::uint8_t{2};
    return made;
}

void RandomTables::changeSides(g988::Tables& tables) {
    std::vector<std::pair<std::uint16_t, std::size_t>> all;
    for (const auto& [bridge, sides] : tables.bridges)
        for (std::size_t i = 0; i < sides.size(); ++i) all.emplace_back(bridge, i);
    if (all.empty() || (all.size() < kMaxSides && below(3) == 0))
        return tables.bridges[static_cast<std::uint16_t>(of({1, 1, 2}))].push_back(side());
    const auto [bridge, number] = all[below(static_cast<unsigned>(all.size()))];
    auto& sides = tables.bridges[bridge];
    auto& filter = sides[number].filter;
    switch (below(4)) {
        case 0:
            sides.erase(sides.begin() + static_cast<std::ptrdiff_t>(number));
            if (sides.empty()) tables.bridges.erase(bridge);
            return;
        case 1:
            filter.forwardOperation = static_cast<std::uint8_t>(below(0x22));
            return;
        case 2:
            filter.list.push_back(tci());
            if (filter.list.size() > g988::kMaxFilterEntries) filter.list.clear();
            return;
        default:
            sides[number] = side();
    }
}

void RandomTables::changePort(g988::UniPort& port) {
    const unsigned what = below(8);
    if (what == 3) {
        port.tagging.reset();
        if (below(3) != 0) port.tagging.emplace();
        return;
    }
    if (!port.tagging) port.tagging.emplace();
    switch (what) {
        case 0: {
            port.bridges = {static_cast<std::uint16_t>(of({1, 2}))};
            if (below(2) == 0) port.bridges = {1, 2};
            const auto rows = port.tagging->rows();
            for (const TaggingRow& row : rows)
                if (row.bridge && port.bridges.count(*row.bridge) == 0) port.tagging->erase(row);
            return;
        }
        case 1:
            port.tagging->inputTpid = tpid();
            return;
        case 2:
            port.tagging->outputTpid = tpid();
            return;
        default:
            port.tagging->downstreamMode = static_cast<std::uint8_t>(below(3) == 0 ? below(9) : 0);
    }
}

// In the place of the row with the same filters and of no other one.
void RandomTables::setRow(TaggingTable& table, const TaggingRow& row) {
    const auto& rows = table.rows();
    const bool isNew = std::none_of(rows.begin(), rows.end(), [&](const TaggingRow& known) {
        return auditedRow(known).key() == auditedRow(row).key();
    });
    const std::size_t before = rows.size();
    table.set(row);
    EXPECT_EQ(table.rows().size(), before + (isNew ? 1 : 0)) << row.text();
}

void RandomTables::changeRows(g988::UniPort& port, bool takesOneAway, bool replacesOne) {
    if (!port.tagging) port.tagging.emplace();
    TaggingTable& table = *port.tagging;
    const auto& rows = table.rows();
    const auto known = [&] { return rows[below(static_cast<unsigned>(rows.size()))]; };
    if (rows.size() >= kMaxRows || (takesOneAway && !rows.empty())) {
        const std::size_t before = rows.size();
        EXPECT_TRUE(table.erase(known()));
        EXPECT_EQ(rows.size(), before - 1);
        return;
    }
    TaggingRow changed = row(port);
    if (replacesOne && !rows.empty()) {  // the same filters, another treatment
        const TaggingRow same = known();
        changed.outerFilter = same.outerFilter;
        changed.innerFilter = same.innerFilter;
        changed.etherTypes = same.etherTypes;
    }
    setRow(table, changed);
}

void RandomTables::change(g988::Tables& tables) {
    auto& port = tables.uniPorts.at(0);
    const unsigned what = below(10);
    if (tables.bridges.empty() || what < 3) return changeSides(tables);
    if (what == 3) return changePort(port);
    changeRows(port, what == 4, what == 5);
}

VlanTag RandomTables::tag() {
    VlanTag made;
    made.tpid = tpid();
    made.pbits = priority();
    made.dei = below(4) == 0;
    made.vid = vid();
    return made;
}

VlanTag RandomTables::tagLike(const TagCodes& codes, const TaggingTable& table) {
    VlanTag made = tag();
    if (codes.pbits < 8 && below(4) != 0) made.pbits = codes.pbits;
    if (codes.vid < 4096 && below(8) != 0) made.vid = codes.vid;
    if (codes.tpidDei == 4) made.tpid = 0x8100;
    if (codes.tpidDei > 4) made.tpid = below(2) == 0 ? table.inputTpid : table.outputTpid;
    if (codes.tpidDei > 5) made.dei = codes.tpidDei == 7;
    return made;
}

// Half of them like what a row filters on, or like what it makes of that.
Frame RandomTables::frame(const g988::Tables& tables, bool treated) {
    Frame made;
    const auto& tagging = tables.uniPorts.at(0).tagging;
    if (tagging && !tagging->rows().empty() && below(2) == 0) {
        const TaggingRow& row = tagging->rows()[below(static_cast<unsigned>(tagging->rows().size()))];
        const auto add = [&](const TagCodes& codes) {
            if (codes.pbits != kNoSuchTag) made.tags.push_back(tagLike(codes, *tagging));
        };
        if (treated) {
            add(row.outerTreatment);
            add(row.innerTreatment);
        }
        if (!treated || (made.tags.size() < 2 && below(2) == 0)) {
            add(row.outerFilter);
            add(row.innerFilter);
        }
    } else {
        for (unsigned left = of({0, 1, 1, 2, 2}); left > 0; --left) made.tags.push_back(tag());
    }
    made.etherType = static_cast<std::uint16_t>(of({0x0800, 0x0800, 0x86DD, 0x0806, 0x8863, 0x8864, 0x888E}));
    if (made.etherType == 0x0800 && below(3) == 0) made.ipProtocol = std::uint8_t{2};
    made.dscp = static_cast<std::uint8_t>(below(64));
    return made;
}
