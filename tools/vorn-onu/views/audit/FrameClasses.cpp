#include "views/audit/FrameClasses.h"

#include <algorithm>
#include <set>

namespace vorn_onu::audit {

namespace {

// IPv4, ARP, IPv6, PPPoE discovery and session, EAPOL.
constexpr std::uint16_t kTypes[] = {0x0800, 0x0806, 0x86dd, 0x8863, 0x8864, 0x888e};

// The numbers that occur in rows and filters, and one of each that does not.
struct Numbers {
    std::set<unsigned> vids, pbits;
    std::set<std::uint16_t> tpids{0x8100};

    void add(const TagField& field) {
        if (field.priority == kNoTag) return;
        if (field.vid <= kMaxVid) vids.insert(field.vid);
        if (field.priority <= kMaxPriority) pbits.insert(field.priority);
    }
    void addStrangers() {
        unsigned vid = 77;
        while (vids.count(vid) != 0) ++vid;
        vids.insert(vid);
        pbits.insert(0);
        for (unsigned one = 1; one <= kMaxPriority; ++one)
            if (pbits.insert(one).second) break;
    }
};

Numbers numbersOf(const UniPort& port, const std::vector<AniPort>& filters) {
    Numbers numbers;
    for (const TaggingRow& row : port.table.rows()) {
        for (const TagField& field : row.filters()) numbers.add(field);
        for (const TagField& field : row.added()) numbers.add(field);
        if (row.step == 0) continue;
        numbers.tpids.insert(port.table.inputTpid);
        numbers.tpids.insert(port.table.outputTpid);
    }
    for (const AniPort& ani : filters)
        for (const FilterTci& tci : ani.filter.list) numbers.add({tci.pbits, tci.vid, 0});
    numbers.addStrangers();
    return numbers;
}

}  // namespace

std::string kindOf(const Frame& frame) {
    if (frame.tags.empty()) return "untagged";
    if (frame.tags.size() > 1) return "two tags";
    return frame.tags.front().vid == 0 ? "priority-tagged" : "one tag";
}

std::vector<Frame> framesFor(const UniPort& port, const std::vector<AniPort>& filters) {
    const Numbers numbers = numbersOf(port, filters);
    std::vector<std::vector<VlanTag>> stacks = {{}};
    std::vector<VlanTag> tags;
    for (const std::uint16_t tpid : numbers.tpids)
        for (const unsigned vid : numbers.vids)
            for (const unsigned pbits : numbers.pbits)
                tags.push_back({tpid, static_cast<std::uint8_t>(pbits), false, static_cast<std::uint16_t>(vid)});
    tags.push_back({});  // a priority tag
    for (const VlanTag& tag : tags) stacks.push_back({tag});
    // Below another tag the p-bits matter to rows for two tags alone.
    constexpr std::size_t kFewTags = 24;
    for (const VlanTag& outer : tags)
        for (const VlanTag& inner : tags)
            if (tags.size() <= kFewTags || outer.pbits == inner.pbits || inner.pbits == 0) {
                stacks.push_back({outer, inner});
                constexpr std::size_t kEnough = 4000;
                if (stacks.size() > kEnough) break;
            }
    std::vector<Frame> frames;
    for (const auto& stack : stacks) {
        for (const std::uint16_t type : kTypes) {
            Frame frame;
            frame.tags = stack;
            frame.etherType = type;
            frames.push_back(std::move(frame));
        }
    }
    return frames;
}

}  // namespace vorn_onu::audit
