#include "src/g988/StandardModel.h"

#include <algorithm>
#include <cstring>

namespace standard {

namespace {

constexpr unsigned kDrop = 3;

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

bool hasType(unsigned code, unsigned type) {
    switch (code) {
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
    if (filter.priority == 14) return true;
    if (filter.priority < 8 && tag.pbits != filter.priority) return false;
    if (filter.vid < 4096 && tag.vid != filter.vid) return false;
    switch (filter.tpid) {
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

std::vector<Field> filtersOf(const Row& row) {
    if (row.kind() == 2) return {row.outerFilter, row.innerFilter};
    return row.kind() == 1 ? std::vector<Field>{row.innerFilter} : std::vector<Field>{};
}

std::vector<Field> treatmentsOf(const Row& row) {
    std::vector<Field> fields;
    for (const Field& field : {row.outerTreatment, row.innerTreatment})
        if (field.priority != 15) fields.push_back(field);
    return fields;
}

// The place among a row's filtered tags that a code copies from, 0 for the inner and 1 for the outer tag.
std::optional<std::size_t> placeOf(const Row& row, unsigned innerOrOuter) {
    if (innerOrOuter == 0 && row.kind() > 0) return row.kind() - 1;
    if (innerOrOuter == 1 && row.kind() == 2) return 0;
    return std::nullopt;
}

enum class Part { Pbits, Vid, Tpid, Dei };

// What a treatment copies this part from: nothing, or 0 for inner and 1 for outer.
std::optional<unsigned> copyCode(const Field& treatment, Part part) {
    switch (part) {
        case Part::Pbits:
            if (treatment.priority == 8 || treatment.priority == 9) return treatment.priority - 8;
            break;
        case Part::Vid:
            if (treatment.vid == 4096 || treatment.vid == 4097) return treatment.vid - 4096;
            break;
        case Part::Tpid:
            if (treatment.tpid < 2) return treatment.tpid;
            break;
        case Part::Dei:
            if (treatment.tpid < 4) return treatment.tpid % 2;
            break;
    }
    return std::nullopt;
}

VlanTag written(const Row& row, const Field& treatment, const Frame& frame, unsigned outputTpid) {
    const auto source = [&](Part part) {
        const auto code = copyCode(treatment, part);
        const auto place = code ? placeOf(row, *code) : std::nullopt;
        return place ? frame.tags[*place] : VlanTag{};  // a tag that is not there is 0x8100 and all zeros
    };
    VlanTag tag = source(Part::Tpid);
    tag.pbits = source(Part::Pbits).pbits;
    tag.vid = source(Part::Vid).vid;
    tag.dei = source(Part::Dei).dei;
    if (treatment.priority < 8) tag.pbits = static_cast<std::uint8_t>(treatment.priority);
    if (treatment.priority == 10) tag.pbits = static_cast<std::uint8_t>(isIp(frame) ? frame.dscp / 8 : 0);
    if (treatment.vid < 4096) tag.vid = static_cast<std::uint16_t>(treatment.vid);
    if (treatment.tpid == 4) tag.tpid = 0x8100;
    if (treatment.tpid == 2 || treatment.tpid == 3 || treatment.tpid >= 6)
        tag.tpid = static_cast<std::uint16_t>(outputTpid);
    if (treatment.tpid == 7) tag.dei = true;
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
        const unsigned wanted = source ? source->priority : treatment.priority;
        if (wanted < 8 && wanted != tag.pbits) return false;
    }
    if (compared.vid) {
        const auto source = filterOfSource(Part::Vid);
        const unsigned wanted = source ? (source->priority == 14 ? 4096 : source->vid) : treatment.vid;
        if (wanted < 4096 && wanted != tag.vid) return false;
    }
    if (treatment.tpid == 4) return tag.tpid == 0x8100;
    return treatment.tpid < 2 || tag.tpid == outputTpid;
}

// The frame that the row has made this one of; nothing where it cannot have.
std::optional<Frame> undone(const Row& row, const Port& port, const Frame& frame, Mode compared, Mode taken) {
    const auto filters = filtersOf(row), treatments = treatmentsOf(row);
    const std::size_t removed = std::min<std::size_t>(row.remove, filters.size());
    const std::size_t least = treatments.size() + filters.size() - removed;
    const std::size_t has = frame.tags.size();
    // The device looks at two tags: more of them are a matter of the row alone.
    if (has < least || (has > least && least < 2 && row.kind() < 2)) return std::nullopt;
    for (std::size_t i = 0; i < treatments.size(); ++i)
        if (!canBeWritten(row, treatments[i], frame.tags[i], compared, port.outputTpid)) return std::nullopt;
    for (std::size_t i = removed; i < filters.size(); ++i)
        if (!fits(filters[i], frame.tags[treatments.size() + i - removed], port.inputTpid)) return std::nullopt;
    if (!hasType(row.etherType, typeBehind(frame, std::max(least, std::min<std::size_t>(has, 2))))) return std::nullopt;

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
        tag.pbits = filter.priority < 8 ? static_cast<std::uint8_t>(filter.priority) : copy(Part::Pbits).pbits;
        tag.vid = filter.vid < 4096 ? static_cast<std::uint16_t>(filter.vid) : copy(Part::Vid).vid;
        if (!taken.pbits && place < treatments.size()) tag.pbits = frame.tags[place].pbits;
        if (!taken.vid && place < treatments.size()) tag.vid = frame.tags[place].vid;
        if (filter.tpid >= 4) tag.tpid = static_cast<std::uint16_t>(filter.tpid == 4 ? 0x8100 : port.inputTpid);
        tag.dei = filter.tpid >= 6 ? filter.tpid == 7 : copy(Part::Dei).dei;
        back.tags.insert(back.tags.begin(), tag);
    }
    return back;
}

}  // namespace

unsigned Row::kind() const {
    if (outerFilter.priority != 15) return 2;
    return innerFilter.priority != 15 ? 1 : 0;
}

bool Row::isDefault() const {
    return kind() == 2 ? outerFilter.priority == 14 : kind() == 1 ? innerFilter.priority == 14 : etherType == 0;
}

std::vector<unsigned> Row::order() const {
    std::vector<unsigned> words = {isDefault() ? 1u : 0u};
    for (const Field& field : {outerFilter, innerFilter}) {
        const bool counts = field.priority < 14;
        words.insert(words.end(), {field.priority, counts ? field.vid : 0, counts ? field.tpid : 0});
    }
    words.push_back(etherType);
    return words;
}

Port::Port() {
    Row row;
    set(row);
    row.innerFilter.priority = 14;
    set(row);
    row.outerFilter.priority = 14;
    set(row);
}

void Port::set(const Row& row) {
    erase(row);
    rows.push_back(row);
    std::sort(rows.begin(), rows.end(), [](const Row& left, const Row& right) { return left.order() < right.order(); });
}

void Port::erase(const Row& row) {
    rows.erase(std::remove_if(rows.begin(), rows.end(), [&](const Row& one) { return one.order() == row.order(); }),
               rows.end());
}

bool PonSide::passes(const Frame& frame) const {
    const char* says = kOperations[operation];
    if (frame.tags.empty()) return says[2] == 'a';
    if (says[0] == 'a' || says[0] == 'c') return says[0] == 'a';
    const VlanTag& tag = frame.tags.front();
    const bool listed = std::any_of(list.begin(), list.end(), [&](const Tci& tci) {
        const bool vid = tci.vid == tag.vid, pbits = tci.pbits == tag.pbits, dei = (tci.dei != 0) == tag.dei;
        return says[1] == 'V' ? vid : says[1] == 'P' ? pbits : vid && pbits && dei;
    });
    return listed == (says[0] == 'h');
}

bool PonSide::owns(unsigned gem) const {
    return std::any_of(gemAndQueue.begin(), gemAndQueue.end(),
                       [&](const auto& place) { return place && place->first == gem; });
}

// A frame that no row of the OLT names goes to the bridge whose PON side lets it pass.
unsigned Board::bridgeFor(const Frame& frame) const {
    for (const PonSide& side : sides)
        if (port.bridges.count(side.bridge) != 0 && side.passes(frame) &&
            (!side.igmpOnly || (isIp(frame) && frame.ipProtocol == 2)))
            return side.bridge;
    return *port.bridges.begin();
}

std::optional<Up> Board::up(const Frame& frame) const {
    Frame sent = frame;
    unsigned bridge = 0;
    if (!port.hasTable) {
        bridge = bridgeFor(frame);
    } else {
        const auto row = std::find_if(port.rows.begin(), port.rows.end(), [&](const Row& one) {
            if (one.kind() != std::min<std::size_t>(frame.tags.size(), 2)) return false;
            const auto filters = filtersOf(one);
            for (std::size_t i = 0; i < filters.size(); ++i)
                if (!fits(filters[i], frame.tags[i], port.inputTpid)) return false;
            return hasType(one.etherType, typeBehind(frame, filters.size()));
        });
        if (row == port.rows.end() || row->remove == kDrop) return std::nullopt;
        const auto gone = std::min<std::size_t>(row->remove, row->kind());
        sent.tags.erase(sent.tags.begin(), sent.tags.begin() + static_cast<std::ptrdiff_t>(gone));
        const auto treatments = treatmentsOf(*row);
        for (auto one = treatments.rbegin(); one != treatments.rend(); ++one)
            sent.tags.insert(sent.tags.begin(), written(*row, *one, frame, port.outputTpid));
        bridge = row->bridge ? *row->bridge : bridgeFor(frame);
    }
    for (const bool igmp : {true, false}) {
        for (const PonSide& side : sides) {
            if (side.bridge != bridge || side.igmpOnly != igmp || !side.passes(sent)) continue;
            if (igmp && !(isIp(frame) && frame.ipProtocol == 2)) continue;
            const auto& place = side.gemAndQueue[sent.tags.empty() ? side.defaultPbits : sent.tags.front().pbits];
            if (place) return Up{place->first, place->second, sent};
        }
    }
    return std::nullopt;
}

std::optional<Frame> Board::comesOut(unsigned bridge, const Frame& frame) const {
    if (port.bridges.count(bridge) == 0) return std::nullopt;
    const bool untouched = port.rows.size() == 3 &&
                           std::none_of(port.rows.begin(), port.rows.end(), [](const Row& row) { return row.bridge; });
    const unsigned mode = port.downstreamMode;
    if (!port.hasTable || mode == 1 || (mode == 0 && untouched)) return frame;
    if (mode == 8) return std::nullopt;
    const bool vid = mode != 4 && mode != 7, pbits = mode != 3 && mode != 6;
    std::vector<Mode> passes = {{vid, pbits}};
    if (mode == 0) passes.push_back({true, false});
    for (const Mode compared : passes) {
        for (const Row& row : port.rows) {
            const bool passesRest = row.isDefault() && (row.kind() > 0 || treatmentsOf(row).empty());
            if (passesRest || row.remove == kDrop || row.bridge != bridge) continue;
            if (const auto back = undone(row, port, frame, compared, {vid, pbits})) return back;
        }
    }
    return mode >= 2 && mode <= 4 ? std::optional<Frame>(frame) : std::nullopt;
}

std::optional<Frame> Board::down(unsigned gem, const Frame& frame) const {
    for (const PonSide& side : sides)
        if (side.owns(gem) && side.passes(frame)) return comesOut(side.bridge, frame);
    return std::nullopt;
}

}  // namespace standard
