#include "views/audit/VlanFilter.h"

#include <algorithm>

namespace vorn_onu::audit {

namespace {

enum class Tagged { Pass, Drop, PassListed, DropListed };
enum class Field { None, Vid, Priority, Tci };

struct Operation {
    Tagged tagged;
    Field field;
    bool untaggedPass;
};

// The forward operations in pairs: untagged frames pass with the first and do not with the second.
Operation operationOf(unsigned code) {
    struct Pair {
        unsigned first;
        Tagged tagged;
        Field field;
    };
    static constexpr Pair kPairs[] = {
        {0x03, Tagged::PassListed, Field::Vid},      {0x05, Tagged::DropListed, Field::Vid},
        {0x07, Tagged::PassListed, Field::Priority}, {0x09, Tagged::DropListed, Field::Priority},
        {0x0b, Tagged::PassListed, Field::Tci},      {0x0d, Tagged::DropListed, Field::Tci},
        {0x0f, Tagged::PassListed, Field::Vid},      {0x11, Tagged::PassListed, Field::Priority},
        {0x13, Tagged::PassListed, Field::Tci},      {0x16, Tagged::PassListed, Field::Vid},
        {0x18, Tagged::PassListed, Field::Priority}, {0x1a, Tagged::PassListed, Field::Tci},
        {0x1c, Tagged::PassListed, Field::Vid},      {0x1e, Tagged::PassListed, Field::Priority},
        {0x20, Tagged::PassListed, Field::Tci},
    };
    if (code == 0x01) return {Tagged::Drop, Field::None, true};
    if (code == 0x02 || code == 0x15) return {Tagged::Pass, Field::None, false};
    for (const Pair& pair : kPairs)
        if (code == pair.first || code == pair.first + 1) return {pair.tagged, pair.field, code == pair.first};
    return {Tagged::Pass, Field::None, true};
}

bool isListed(const FilterTci& entry, const virtual_onu::VlanTag& tag, Field field) {
    const bool sameVid = entry.vid == tag.vid, samePriority = entry.pbits == tag.pbits;
    if (field == Field::Vid) return sameVid;
    if (field == Field::Priority) return samePriority;
    return sameVid && samePriority && entry.dei == tag.dei;
}

}  // namespace

bool VlanFilter::passes(const virtual_onu::Frame& frame) const {
    const Operation operation = operationOf(forwardOperation);
    if (frame.tags.empty()) return operation.untaggedPass;
    if (operation.tagged == Tagged::Pass || operation.tagged == Tagged::Drop) return operation.tagged == Tagged::Pass;
    const bool listed = std::any_of(list.begin(), list.end(), [&](const FilterTci& entry) {
        return isListed(entry, frame.tags.front(), operation.field);
    });
    return listed == (operation.tagged == Tagged::PassListed);
}

std::string VlanFilter::text() const {
    std::string text = "forward operation " + std::to_string(forwardOperation);
    for (const FilterTci& entry : list)
        text += ", VID " + std::to_string(entry.vid) + " p" + std::to_string(entry.pbits);
    return text;
}

std::optional<unsigned> PbitMapper::gemPortOf(const virtual_onu::Frame& frame) const {
    return gemPorts[frame.tags.empty() ? untagged & 7 : frame.tags.front().pbits & 7];
}

std::set<unsigned> PbitMapper::all() const {
    std::set<unsigned> ports;
    for (const auto& port : gemPorts)
        if (port) ports.insert(*port);
    return ports;
}

}  // namespace vorn_onu::audit
