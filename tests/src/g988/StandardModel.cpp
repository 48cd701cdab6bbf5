#include "src/g988/StandardModel.h"

#include <algorithm>
#include <cstring>

namespace standard {

namespace {

using g988::PonPort;
using virtual_onu::VlanTag;
using Field = g988::TagCodes;
using Row = g988::TaggingRow;
using Table = g988::TaggingTable;

constexpr unsigned kDrop = 3, kNoTag = 15, kDefault = 14;

// Forward operations 0x00 to 0x21: what happens to tagged frames, what is compared, what happens to untagged ones.
constexpr const char* kOperations[] = {
    "a-a", "c-a", "a-c", "hVa", "hVc", "gVa", "gVc", "hPa", "hPc", "gPa", "gPc", "hTa",
    "hTc", "gTa", "gTc", "hVa", "hVc", "hPa", "hPc", "hTa", "hTc", "a-c", "hVa", "hVc",
    "hPa", "hPc", "hTa", "hTc", "hVa", "hVc", "hPa", "hPc", "hTa", "hTc",
};

bool isIp(const Frame& frame) {
    return frame.etherType == 0x0800 || frame.etherType == 0x86DD;
}

// The type word behind so many tags.
unsigned typeBehind(const Frame& frame, std::size_t tags) {
    return tags < frame.tags.size() ? frame.tags[tags].tpid : frame.etherType;
}

bool hasType(g988::EtherTypes code, unsigned type) {
    switch (static_cast<unsigned>(code)) {
        case 1:
            return type == 0x0800;
        case 2:
            return type == 0x8863 || type == 0x8864;
        case 3:
            return type == 0x0806;
        case 4:
            return type == 0x86DD;
        case 5:
            return type == 0x888E;
        default:
            return true;
    }
}

bool fits(const Field& filter, const VlanTag& tag, unsigned inputTpid) {
    if (filter.pbits == 14) return true;
    if (filter.pbits < 8 && tag.pbits != filter.pbits) return false;
    if (filter.vid < 4096 && tag.vid != filter.vid) return false;
    switch (filter.tpidDei) {
        case 4:
            return tag.tpid == 0x8100;
        case 5:
            return tag.tpid == inputTpid;
        case 6:
            return tag.tpid == inputTpid && !tag.dei;
        case 7:
            return tag.tpid == inputTpid && tag.dei;
        default:
            return true;
    }
}

unsigned kindOf(const Row& row) {
    if (row.outerFilter.pbits != kNoTag) return 2;
    return row.innerFilter.pbits != kNoTag ? 1 : 0;
}

bool isDefault(const Row& row) {
    if (kindOf(row) == 0) return row.etherTypes == g988::EtherTypes::Any;
    return (kindOf(row) == 2 ? row.outerFilter : row.innerFilter).pbits == kDefault;
}

std::vector<Field> filtersOf(const Row& row) {
    if (kindOf(row) == 2) return {row.outerFilter, row.innerFilter};
    return kindOf(row) == 1 ? std::vector<Field>{row.innerFilter} : std::vector<Field>{};
}

std::vector<Field> treatmentsOf(const Row& row) {
    std::vector<Field> fields;
    for (const Field& field : {row.outerTreatment, row.innerTreatment})
        if (field.pbits != kNoTag) fields.push_back(field);
    return fields;
}

// The place among a row's filtered tags that a code copies from, 0 for the inner and 1 for the outer tag.
std::optional<std::size_t> placeOf(const Row& row, unsigned innerOrOuter) {
    if (innerOrOuter == 0 && kindOf(row) > 0) return kindOf(row) - 1;
    if (innerOrOuter == 1 && kindOf(row) == 2) return 0;
    return std::nullopt;
}

enum class Part { Pbits, Vid, Tpid, Dei };

// What a treatment copies this part from: nothing, or 0 for inner and 1 for outer.
std::optional<unsigned> copyCode(const Field& treatment, Part part) {
    switch (part) {
        case Part::Pbits:
            if (treatment.pbits == 8 || treatment.pbits == 9) return treatment.pbits - 8;
            break;
        case Part::Vid:
            if (treatment.vid == 4096 || treatment.vid == 4097) return treatment.vid - 4096;
            break;
        case Part::Tpid:
            if (treatment.tpidDei < 2) return treatment.tpidDei;
            break;
        case Part::Dei:
            if (treatment.tpidDei < 4) return treatment.tpidDei % 2;
            break;
    }
    return std::nullopt;
}

VlanTag written(const Row& row, const Field& treatment, const Frame& frame, std::uint16_t outputTpid) {
    const auto source = [&](Part part) {
        const auto code = copyCode(treatment, part);
        const auto place = code ? placeOf(row, *code) : std::nullopt;
        return place ? frame.tags[*place] : VlanTag{};  // a tag that is not there is 0x8100 and all zeros
    };
    VlanTag tag = source(Part::Tpid);
    tag.pbits = source(Part::Pbits).pbits;
    tag.vid = source(Part::Vid).vid;
    tag.dei = source(Part::Dei).dei;
    if (treatment.pbits < 8) tag.pbits = treatment.pbits;
    if (treatment.pbits == 10) tag.pbits = static_cast<std::uint8_t>(isIp(frame) ? frame.dscp / 8 : 0);
    if (treatment.vid < 4096) tag.vid = treatment.vid;
    if (treatment.tpidDei == 4) tag.tpid = 0x8100;
    if (treatment.tpidDei == 2 || treatment.tpidDei == 3 || treatment.tpidDei >= 6) tag.tpid = outputTpid;
    if (treatment.tpidDei == 7) tag.dei = true;
    return tag;
}

struct Mode {
    bool vid, pbits;
};

// Whether the tag can be one that the row has written there: its numbers are those that the row fixes, by itself or by
// the filter of what it copies.
bool canBeWritten(const Row& row, const Field& treatment, const VlanTag& tag, Mode compared, unsigned outputTpid) {
    const auto filters = filtersOf(row);
    const auto filterOfSource = [&](Part part) -> std::optional<Field> {
        const auto code = copyCode(treatment, part);
        const auto place = code ? placeOf(row, *code) : std::nullopt;
        return place ? std::optional<Field>(filters[*place]) : std::nullopt;
    };
    if (compared.pbits) {
        const auto source = filterOfSource(Part::Pbits);
        const unsigned wanted = source ? source->pbits : treatment.pbits;
        if (wanted < 8 && wanted != tag.pbits) return false;
    }
    if (compared.vid) {
        const auto source = filterOfSource(Part::Vid);
        const unsigned wanted = source ? (source->pbits == 14 ? 4096 : source->vid) : treatment.vid;
        if (wanted < 4096 && wanted != tag.vid) return false;
    }
    if (treatment.tpidDei == 4) return tag.tpid == 0x8100;
    return treatment.tpidDei < 2 || tag.tpid == outputTpid;
}

// The frame that the row has made this one of; nothing where it cannot have.
std::optional<Frame> undone(const Row& row, const Table& table, const Frame& frame, Mode compared, Mode taken) {
    const auto filters = filtersOf(row), treatments = treatmentsOf(row);
    const std::size_t removed = std::min<std::size_t>(row.tagsToRemove, filters.size());
    const std::size_t least = treatments.size() + filters.size() - removed;
    const std::size_t has = frame.tags.size();
    // The device looks at two tags: more of them are a matter of the row alone.
    if (has < least || (has > least && least < 2 && kindOf(row) < 2)) return std::nullopt;
    for (std::size_t i = 0; i < treatments.size(); ++i)
        if (!canBeWritten(row, treatments[i], frame.tags[i], compared, table.outputTpid)) return std::nullopt;
    for (std::size_t i = removed; i < filters.size(); ++i)
        if (!fits(filters[i], frame.tags[treatments.size() + i - removed], table.inputTpid)) return std::nullopt;
    if (!hasType(row.etherTypes, typeBehind(frame, std::max(least, std::min<std::size_t>(has, 2)))))
        return std::nullopt;

    Frame back = frame;
    back.tags.erase(back.tags.begin(), back.tags.begin() + static_cast<std::ptrdiff_t>(treatments.size()));
    for (std::size_t place = removed; place-- > 0;) {
        const Field& filter = filters[place];
        const auto copy = [&](Part part) {
            for (std::size_t i = 0; i < treatments.size(); ++i) {
                const auto code = copyCode(treatments[i], part);
                if (code && placeOf(row, *code) == place) return frame.tags[i];
            }
            return VlanTag{};
        };
        VlanTag tag = copy(Part::Tpid);
        tag.pbits = filter.pbits < 8 ? filter.pbits : copy(Part::Pbits).pbits;
        tag.vid = filter.vid < 4096 ? filter.vid : copy(Part::Vid).vid;
        if (!taken.pbits && place < treatments.size()) tag.pbits = frame.tags[place].pbits;
        if (!taken.vid && place < treatments.size()) tag.vid = frame.tags[place].vid;
        if (filter.tpidDei >= 4) tag.tpid = static_cast<std::uint16_t>(filter.tpidDei == 4 ? 0x8100 : table.inputTpid);
        tag.dei = filter.tpidDei >= 6 ? filter.tpidDei == 7 : copy(Part::Dei).dei;
        back.tags.insert(back.tags.begin(), tag);
    }
    return back;
}

std::vector<Row> inOrder(const Table& table) {
    std::vector<Row> rows = table.rows();
    std::sort(rows.begin(), rows.end(),
              [](const Row& left, const Row& right) { return orderOf(left) < orderOf(right); });
    return rows;
}

bool passes(const PonPort& side, const Frame& frame) {
    const char* says = kOperations[side.filter.forwardOperation];
    if (frame.tags.empty()) return says[2] == 'a';
    if (says[0] == 'a' || says[0] == 'c') return says[0] == 'a';
    const VlanTag& tag = frame.tags.front();
    const auto& list = side.filter.list;
    const bool listed = std::any_of(list.begin(), list.end(), [&](const g988::FilterTci& tci) {
        const bool vid = tci.vid == tag.vid, pbits = tci.pbits == tag.pbits, dei = (tci.dei != 0) == tag.dei;
        return says[1] == 'V' ? vid : says[1] == 'P' ? pbits : vid && pbits && dei;
    });
    return listed == (says[0] == 'h');
}

bool owns(const PonPort& side, unsigned gemIndex) {
    return std::any_of(side.mapper.places.begin(), side.mapper.places.end(),
                       [&](const auto& place) { return place && place->gemIndex == gemIndex; });
}

bool takesProtocol(const PonPort& side, const Frame& frame) {
    return !side.ipProtocol || (isIp(frame) && frame.ipProtocol == *side.ipProtocol);
}

// A frame that no row of the OLT names goes to the bridge whose PON side lets it pass.
unsigned bridgeFor(const g988::Tables& tables, const Frame& frame) {
    const auto& own = tables.uniPorts.at(0).bridges;
    for (const auto& [bridge, sides] : tables.bridges)
        for (const PonPort& side : sides)
            if (own.count(bridge) != 0 && passes(side, frame) && takesProtocol(side, frame)) return bridge;
    return *own.begin();
}

std::optional<Frame> comesOut(const g988::UniPort& port, unsigned bridge, const Frame& frame) {
    if (port.bridges.count(static_cast<std::uint16_t>(bridge)) == 0) return std::nullopt;
    if (!port.tagging) return frame;
    const auto rows = inOrder(*port.tagging);
    const bool untouched =
        rows.size() == 3 && std::none_of(rows.begin(), rows.end(), [](const Row& row) { return row.bridge; });
    const unsigned mode = port.tagging->downstreamMode;
    if (mode == 1 || (mode == 0 && untouched)) return frame;
    if (mode == 8) return std::nullopt;
    const bool vid = mode != 4 && mode != 7, pbits = mode != 3 && mode != 6;
    std::vector<Mode> passes = {{vid, pbits}};
    if (mode == 0) passes.push_back({true, false});
    for (const Mode compared : passes) {
        for (const Row& row : rows) {
            const bool passesRest = isDefault(row) && (kindOf(row) > 0 || treatmentsOf(row).empty());
            if (passesRest || row.tagsToRemove == kDrop || row.bridge != bridge) continue;
            if (const auto back = undone(row, *port.tagging, frame, compared, {vid, pbits})) return back;
        }
    }
    return mode >= 2 && mode <= 4 ? std::optional<Frame>(frame) : std::nullopt;
}

}  // namespace

std::vector<unsigned> orderOf(const Row& row) {
    std::vector<unsigned> words = {isDefault(row) ? 1u : 0u};
    for (const Field& field : {row.outerFilter, row.innerFilter}) {
        const bool counts = field.pbits < kDefault;
        words.insert(words.end(), {field.pbits, counts ? field.vid : 0u, counts ? field.tpidDei : 0u});
    }
    words.push_back(static_cast<unsigned>(row.etherTypes));
    return words;
}

std::optional<Up> up(const g988::Tables& tables, const Frame& frame) {
    const auto& port = tables.uniPorts.at(0);
    Frame sent = frame;
    std::optional<unsigned> bridge;
    if (port.tagging) {
        const Table& table = *port.tagging;
        const auto rows = inOrder(table);
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& one) {
            if (kindOf(one) != std::min<std::size_t>(frame.tags.size(), 2)) return false;
            const auto filters = filtersOf(one);
            for (std::size_t i = 0; i < filters.size(); ++i)
                if (!fits(filters[i], frame.tags[i], table.inputTpid)) return false;
            return hasType(one.etherTypes, typeBehind(frame, filters.size()));
        });
        if (row == rows.end() || row->tagsToRemove == kDrop) return std::nullopt;
        const auto gone = std::min<std::size_t>(row->tagsToRemove, kindOf(*row));
        sent.tags.erase(sent.tags.begin(), sent.tags.begin() + static_cast<std::ptrdiff_t>(gone));
        const auto treatments = treatmentsOf(*row);
        for (auto one = treatments.rbegin(); one != treatments.rend(); ++one)
            sent.tags.insert(sent.tags.begin(), written(*row, *one, frame, table.outputTpid));
        if (row->bridge) bridge = *row->bridge;
    }
    const auto sides = tables.bridges.find(static_cast<std::uint16_t>(bridge ? *bridge : bridgeFor(tables, frame)));
    if (sides == tables.bridges.end()) return std::nullopt;
    for (const bool asks : {true, false}) {  // those that ask for a protocol first
        for (const PonPort& side : sides->second) {
            if (side.ipProtocol.has_value() != asks || !passes(side, sent) || !takesProtocol(side, frame)) continue;
            const auto& place =
                side.mapper.places[sent.tags.empty() ? side.mapper.defaultPbits : sent.tags.front().pbits];
            if (place) return Up{place->gemIndex, place->queue, sent};
        }
    }
    return std::nullopt;
}

std::optional<Frame> down(const g988::Tables& tables, unsigned gemIndex, const Frame& frame) {
    for (const auto& [bridge, sides] : tables.bridges)
        for (const PonPort& side : sides)
            if (owns(side, gemIndex) && passes(side, frame)) return comesOut(tables.uniPorts.at(0), bridge, frame);
    return std::nullopt;
}

}  // namespace standard
