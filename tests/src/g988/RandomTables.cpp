#include "src/g988/RandomTables.h"

#include <algorithm>

using standard::Board;
using standard::Field;
using standard::Frame;
using standard::PonSide;
using standard::Row;
using virtual_onu::VlanTag;

namespace {

constexpr std::size_t kMaxRows = 12 + 3;
constexpr std::size_t kMaxSides = 3;

g988::TagCodes codesOf(const Field& field) {
    return {static_cast<std::uint8_t>(field.priority), static_cast<std::uint16_t>(field.vid),
            static_cast<std::uint8_t>(field.tpid)};
}

g988::TaggingRow taggingRowOf(const Row& row) {
    g988::TaggingRow made;
    made.outerFilter = codesOf(row.outerFilter);
    made.innerFilter = codesOf(row.innerFilter);
    made.etherTypes = static_cast<g988::EtherTypes>(row.etherType);
    made.tagsToRemove = static_cast<std::uint8_t>(row.remove);
    made.outerTreatment = codesOf(row.outerTreatment);
    made.innerTreatment = codesOf(row.innerTreatment);
    if (row.bridge) made.bridge = static_cast<std::uint16_t>(*row.bridge);
    return made;
}

g988::UniPort uniPortOf(const standard::Port& port) {
    g988::UniPort made;
    for (const unsigned bridge : port.bridges) made.bridges.insert(static_cast<std::uint16_t>(bridge));
    if (!port.hasTable) return made;
    made.tagging.emplace();
    const g988::TaggingTable fromTheStart;
    for (const g988::TaggingRow& row : fromTheStart.rows()) made.tagging->erase(row);
    for (const Row& row : port.rows) made.tagging->set(taggingRowOf(row));
    made.tagging->inputTpid = static_cast<std::uint16_t>(port.inputTpid);
    made.tagging->outputTpid = static_cast<std::uint16_t>(port.outputTpid);
    made.tagging->downstreamMode = static_cast<std::uint8_t>(port.downstreamMode);
    return made;
}

}  // namespace

g988::Tables tablesOf(const Board& board, unsigned firstGemPortId, unsigned firstGemIndex) {
    g988::Tables tables;
    tables.uniPorts[0] = uniPortOf(board.port);
    for (const PonSide& side : board.sides) {
        g988::PonPort made;
        made.filter.forwardOperation = static_cast<std::uint8_t>(side.operation);
        for (const standard::Tci& tci : side.list)
            made.filter.list.push_back({static_cast<std::uint8_t>(tci.pbits), static_cast<std::uint8_t>(tci.dei),
                                        static_cast<std::uint16_t>(tci.vid)});
        for (std::size_t pbits = 0; pbits < side.gemAndQueue.size(); ++pbits)
            if (const auto& place = side.gemAndQueue[pbits])
                made.mapper.places[pbits] = {static_cast<std::uint16_t>(place->first - firstGemPortId + firstGemIndex),
                                             static_cast<std::uint16_t>(place->second)};
        made.mapper.defaultPbits = static_cast<std::uint8_t>(side.defaultPbits);
        if (side.igmpOnly) made.ipProtocol = std::uint8_t{2};
        tables.bridges[static_cast<std::uint16_t>(side.bridge)].push_back(made);
    }
    return tables;
}

Field RandomTables::filter() {
    return {of({8, 8, 8, below(8), below(8)}), of({4096, vid(), vid(), vid()}), of({0, 0, 0, 4, 5, 6, 7})};
}

Field RandomTables::treatment() {
    return {of({below(8), below(8), 8, 9, 10}), of({vid(), vid(), vid(), 4096, 4097}), of({0, 1, 2, 3, 4, 6, 6, 7})};
}

Row RandomTables::row(const Board& board) {
    Row made;
    const unsigned tags = of({0, 0, 1, 1, 1, 2, 2});
    if (tags > 0) made.innerFilter = filter();
    if (tags > 1) made.outerFilter = filter();
    const bool isDefault = below(6) == 0;
    if (isDefault && tags > 0) made.innerFilter.priority = 14;
    if (isDefault && tags > 1) made.outerFilter.priority = 14;
    if (!isDefault) made.etherType = of({0, 0, 0, 1, 2, 3, 4, 5});
    made.remove = of({0, 0, 1, 1, 2, 3});
    const unsigned added = of({0, 1, 1, 1, 2});
    if (added > 0) made.innerTreatment = treatment();
    if (added > 1) made.outerTreatment = treatment();
    const auto& bridges = board.port.bridges;
    made.bridge = *std::next(bridges.begin(), below(static_cast<unsigned>(bridges.size())));
    return made;
}

PonSide RandomTables::side(unsigned bridge) {
    PonSide made;
    made.bridge = bridge;
    made.operation = below(4) == 0 ? 0 : below(0x22);
    for (unsigned left = below(4); left > 0; --left) made.list.push_back({below(8), below(2), vid()});
    const unsigned kind = below(3);
    const unsigned gem = gemPort(), queue = below(8);
    for (auto& place : made.gemAndQueue) {
        place = {{gem, queue}};
        if (kind > 0) place = {{gemPort(), below(8)}};
        if (kind > 1 && below(3) == 0) place.reset();
    }
    made.defaultPbits = below(4) == 0 ? below(8) : 0;
    made.igmpOnly = below(8) == 0;
    return made;
}

void RandomTables::changeSides(Board& board) {
    auto& sides = board.sides;
    const bool one = sides.empty() || (sides.size() < kMaxSides && below(3) == 0);
    if (one) {
        const PonSide made = side(of({1, 1, 2}));
        const auto behind = [](const PonSide& left, const PonSide& right) { return left.bridge < right.bridge; };
        sides.insert(std::upper_bound(sides.begin(), sides.end(), made, behind), made);
        return;
    }
    PonSide& known = sides[below(static_cast<unsigned>(sides.size()))];
    switch (below(4)) {
        case 0:
            sides.erase(sides.begin() + (&known - sides.data()));
            return;
        case 1:
            known.operation = below(0x22);
            return;
        case 2:
            known.list.push_back({below(8), below(2), vid()});
            if (known.list.size() > 12) known.list.clear();
            return;
        default:
            known = side(known.bridge);
    }
}

void RandomTables::changePort(Board& board) {
    standard::Port& port = board.port;
    switch (below(8)) {
        case 0: {
            std::set<unsigned> bridges = {of({1, 2})};
            if (below(2) == 0) bridges = {1, 2};
            port.bridges = bridges;
            const auto lost = [&](const Row& row) { return row.bridge && bridges.count(*row.bridge) == 0; };
            port.rows.erase(std::remove_if(port.rows.begin(), port.rows.end(), lost), port.rows.end());
            return;
        }
        case 1:
            port.inputTpid = tpid();
            return;
        case 2:
            port.outputTpid = tpid();
            return;
        case 3: {
            const auto bridges = port.bridges;
            port = {};
            port.bridges = bridges;
            port.hasTable = below(3) != 0;
            return;
        }
        default:
            port.downstreamMode = below(3) == 0 ? below(9) : 0;
    }
}

void RandomTables::change(Board& board) {
    if (board.port.bridges.empty()) board.port.bridges = {1};
    auto& rows = board.port.rows;
    const unsigned what = below(10);
    if (board.sides.empty() || what < 3) return changeSides(board);
    if (what == 3) return changePort(board);
    board.port.hasTable = true;
    if (rows.size() >= kMaxRows || (what == 4 && !rows.empty())) {
        rows.erase(rows.begin() + below(static_cast<unsigned>(rows.size())));
    } else if (what == 5 && !rows.empty()) {  // the same filters, another treatment
        Row changed = row(board);
        const Row& known = rows[below(static_cast<unsigned>(rows.size()))];
        changed.outerFilter = known.outerFilter;
        changed.innerFilter = known.innerFilter;
        changed.etherType = known.etherType;
        board.port.set(changed);
    } else {
        board.port.set(row(board));
    }
}

VlanTag RandomTables::tag() {
    VlanTag made;
    made.tpid = static_cast<std::uint16_t>(tpid());
    made.pbits = static_cast<std::uint8_t>(below(8));
    made.dei = below(4) == 0;
    made.vid = static_cast<std::uint16_t>(vid());
    return made;
}

VlanTag RandomTables::tagLike(const Field& field, const standard::Port& port) {
    VlanTag made = tag();
    if (field.priority < 8 && below(4) != 0) made.pbits = static_cast<std::uint8_t>(field.priority);
    if (field.vid < 4096 && below(8) != 0) made.vid = static_cast<std::uint16_t>(field.vid);
    if (field.tpid == 4) made.tpid = 0x8100;
    if (field.tpid > 4) made.tpid = static_cast<std::uint16_t>(below(2) == 0 ? port.inputTpid : port.outputTpid);
    if (field.tpid > 5) made.dei = field.tpid == 7;
    return made;
}

// Half of them like what a row filters on, or like what it makes of that.
Frame RandomTables::frame(const Board& board, bool treated) {
    Frame made;
    const auto& rows = board.port.rows;
    if (!rows.empty() && below(2) == 0) {
        const Row& row = rows[below(static_cast<unsigned>(rows.size()))];
        if (treated) {
            for (const Field& field : {row.outerTreatment, row.innerTreatment})
                if (field.priority != 15) made.tags.push_back(tagLike(field, board.port));
        }
        if (!treated || (made.tags.size() < 2 && below(2) == 0)) {
            if (row.outerFilter.priority != 15) made.tags.push_back(tagLike(row.outerFilter, board.port));
            if (row.innerFilter.priority != 15) made.tags.push_back(tagLike(row.innerFilter, board.port));
        }
    } else {
        for (unsigned left = of({0, 1, 1, 2, 2}); left > 0; --left) made.tags.push_back(tag());
    }
    made.etherType = static_cast<std::uint16_t>(of({0x0800, 0x0800, 0x86DD, 0x0806, 0x8863, 0x8864, 0x888E}));
    if (made.etherType == 0x0800 && below(3) == 0) made.ipProtocol = std::uint8_t{2};
    made.dscp = static_cast<std::uint8_t>(below(64));
    return made;
}

Frame RandomTables::frameUp(const Board& board) {
    return frame(board, false);
}

Frame RandomTables::frameDown(const Board& board) {
    return frame(board, true);
}
