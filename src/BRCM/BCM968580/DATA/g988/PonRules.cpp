// The PON side: one table decides in each direction. Upstream "gpon<b>" filters and marks a frame with its GEM port and
// queue, and "gpondef" lets it through; downstream "gpondef" gives the frames of each GEM port to the bridge whose
// filter takes them, and "gpon<b>" lets them through.
#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/Draft.h"

namespace g988 {

namespace {

// The forward operations of 9.3.11.
struct Operation {
    enum class Tagged : std::uint8_t { Pass, Drop, PassListed, DropListed } tagged;
    enum class Field : std::uint8_t { None, Vid, Pbits, Tci } field;
    bool untaggedPass;
};

// They come in pairs: with the first code untagged frames pass, with the second one they do not.
Operation operationOf(std::uint8_t code) {
    using Tagged = Operation::Tagged;
    using Field = Operation::Field;
    struct Pair {
        std::uint8_t first;
        Tagged tagged;
        Field field;
    };
    static constexpr Pair kPairs[] = {
        {0x03, Tagged::PassListed, Field::Vid},   {0x05, Tagged::DropListed, Field::Vid},
        {0x07, Tagged::PassListed, Field::Pbits}, {0x09, Tagged::DropListed, Field::Pbits},
        {0x0B, Tagged::PassListed, Field::Tci},   {0x0D, Tagged::DropListed, Field::Tci},
        {0x0F, Tagged::PassListed, Field::Vid},   {0x11, Tagged::PassListed, Field::Pbits},
        {0x13, Tagged::PassListed, Field::Tci},   {0x16, Tagged::PassListed, Field::Vid},
        {0x18, Tagged::PassListed, Field::Pbits}, {0x1A, Tagged::PassListed, Field::Tci},
        {0x1C, Tagged::PassListed, Field::Vid},   {0x1E, Tagged::PassListed, Field::Pbits},
        {0x20, Tagged::PassListed, Field::Tci},
    };
    for (const Pair& pair : kPairs)
        if (code == pair.first || code == pair.first + 1) return {pair.tagged, pair.field, code == pair.first};
    if (code == 0x01) return {Tagged::Drop, Field::None, true};
    return {Tagged::Pass, Field::None, code == 0x00};  // 0x00, 0x02, 0x15
}

std::vector<Match> listedMatches(const std::vector<FilterTci>& list, Operation::Field field) {
    std::vector<Match> matches;
    for (const FilterTci& tci : list) {
        Match match;
        if (field != Operation::Field::Pbits) match.vid(0, tci.vid);
        if (field != Operation::Field::Vid) match.pbits(0, tci.pbits);
        if (field == Operation::Field::Tci) match.dei(0, tci.dei);
        matches.push_back(match);
    }
    return matches;
}

std::string nameOf(std::uint16_t bridge, std::size_t port) {
    return "PON port " + std::to_string(port) + " of br" + std::to_string(bridge);
}

const char* mistakeOf(const PonPort& port) {
    if (port.filter.forwardOperation > kLastForwardOperation) return "there is no such forward operation";
    if (port.filter.list.size() > kMaxFilterEntries) return "its filter has more than 12 entries";
    if (port.mapper.defaultPbits >= port.mapper.places.size()) return "its default p-bits are above 7";
    for (const auto& place : port.mapper.places)
        if (place && place->queue > kLastQueue) return "its p-bit map names a queue above 7";
    return nullptr;
}

std::vector<Command> marksOf(const GemPlace& place) {
    return {{Command::Kind::MarkGem, 0, place.gemIndex}, {Command::Kind::MarkQueue, 0, place.queue}};
}

// ---- upstream ----

// Where untagged frames go. False where that takes a look at the DSCP, which no rule can.
bool untaggedPlace(const PbitMapper& mapper, std::optional<GemPlace>& place) {
    place = mapper.places[mapper.defaultPbits];
    if (mapper.unmarked == PbitMapper::Unmarked::DefaultPbits) return true;
    place = mapper.places[0];  // of frames without DSCP
    return std::all_of(mapper.dscpMap.begin(), mapper.dscpMap.end(),
                       [&](std::uint8_t pbits) { return mapper.places[pbits & kLastPbits] == place; });
}

// The frames that match, on the GEM ports of their p-bits.
void addPlaces(const Match& match, const PbitMapper& mapper, const std::string& origin, std::vector<Rule>& rules) {
    const auto& first = mapper.places[0];
    const bool allTheSame =
        std::all_of(mapper.places.begin(), mapper.places.end(), [&](const auto& place) { return place == first; });
    if (allTheSame) {
        if (first) rules.push_back({match, marksOf(*first), "", origin});
        return;
    }
    for (unsigned pbits = 0; pbits < mapper.places.size(); ++pbits) {
        Match narrow = match;
        if (mapper.places[pbits] && narrow.pbits(0, pbits))
            rules.push_back({narrow, marksOf(*mapper.places[pbits]), "", origin});
    }
}

Selector upstreamSelector(const PonPort& port, unsigned tags, const std::string& name, Draft& draft) {
    Selector selector = filterSelector(port.filter, tags);
    std::vector<Rule> takes;
    for (const Rule& passed : selector.rules) {
        Match match = passed.match;
        if (port.ipProtocol && !match.ipProtocol(*port.ipProtocol)) continue;
        if (tags > 0) {
            addPlaces(match, port.mapper, name, takes);
            continue;
        }
        std::optional<GemPlace> place;
        if (!untaggedPlace(port.mapper, place)) draft.refuse(name, "the kit cannot tell untagged frames by their DSCP");
        if (place) takes.push_back({match, marksOf(*place), "", name});
    }
    selector.rules = std::move(takes);
    return selector;
}

void planUpstream(std::uint16_t bridge, const std::vector<PonPort>& ports, RuleLists& tables, Draft& draft) {
    Match sent;
    sent.txDevice(aniVlanDevice(bridge));
    for (unsigned tags = 0; tags <= kTableTags; ++tags) {
        std::vector<Selector> selectors;
        for (const bool forOneProtocol : {true, false})
            for (std::size_t i = 0; i < ports.size(); ++i)
                if (ports[i].ipProtocol.has_value() == forOneProtocol)
                    selectors.push_back(upstreamSelector(ports[i], tags, nameOf(bridge, i), draft));
        const Rule drop = droppingRule({}, "what no PON port of br" + std::to_string(bridge) + " takes");
        addFirstOf(selectors, sent, drop, tables[tags]);
    }
}

// What has its marks goes on.
void passUpstream(std::uint16_t bridge, RuleLists& tables) {
    Match fromBridge;
    fromBridge.txDevice(aniDevice(bridge));
    for (RuleList& table : tables) table.add({fromBridge, {}, "", aniDevice(bridge)});
}

// ---- downstream ----

Selector downstreamSelector(std::uint16_t bridge, const PonPort& port, unsigned tags, const std::string& name) {
    Selector selector = filterSelector(port.filter, tags);
    for (Rule& rule : selector.rules) {
        rule.receiver = aniDevice(bridge);
        rule.origin = name;
    }
    return selector;
}

// In the order of bridges and ports.
struct PortOfGem {
    std::uint16_t bridge;
    std::size_t number;
    const PonPort& port;
};

bool isIn(std::uint16_t gem, const PonPort& port) {
    const auto& places = port.mapper.places;
    return port.downstreamGems.count(gem) != 0 || std::any_of(places.begin(), places.end(), [&](const auto& place) {
               return place && place->gemIndex == gem;
           });
}

std::vector<PortOfGem> portsOf(std::uint16_t gem, const Tables& tables) {
    std::vector<PortOfGem> found;
    for (const auto& [bridge, ports] : tables.bridges)
        for (std::size_t i = 0; i < ports.size(); ++i)
            if (isIn(gem, ports[i])) found.push_back({bridge, i, ports[i]});
    return found;
}

void planGemPort(std::uint16_t gem, const std::vector<PortOfGem>& ports, Draft& draft) {
    RuleLists& tables = draft.tables(kPonDeviceName, Direction::Receive, gem);
    if (ports.empty()) return;
    Match received;
    received.gemIndex(gem);
    const Rule drop = droppingRule({}, "what no bridge takes of GEM index " + std::to_string(gem));
    for (unsigned tags = 0; tags <= kTableTags; ++tags) {
        std::vector<Selector> selectors;
        for (const PortOfGem& one : ports)
            selectors.push_back(downstreamSelector(one.bridge, one.port, tags, nameOf(one.bridge, one.number)));
        addFirstOf(selectors, received, drop, tables[tags]);
    }
}

// False when a port asks for what the standard has no meaning for.
bool planBridge(std::uint16_t bridge, const Tables& tables, Draft& draft) {
    RuleLists& received = draft.tables(aniDevice(bridge), Direction::Receive);
    RuleLists& sent = draft.tables(aniDevice(bridge), Direction::Transmit, bridge);
    RuleLists& sentToPon = draft.tables(kPonDeviceName, Direction::Transmit, bridge);
    const auto found = tables.bridges.find(bridge);
    if (found == tables.bridges.end() || found->second.empty()) return true;
    const auto& ports = found->second;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const char* const mistake = mistakeOf(ports[i]);
        if (mistake == nullptr) continue;
        draft.refuse(nameOf(bridge, i), mistake);
        return false;
    }
    passUpstream(bridge, sentToPon);
    planUpstream(bridge, ports, sent, draft);
    for (RuleList& table : received) table.add({{}, {}, aniVlanDevice(bridge), aniDevice(bridge)});
    return true;
}

}  // namespace

Selector filterSelector(const VlanFilter& filter, unsigned tags) {
    using Tagged = Operation::Tagged;
    const Operation operation = operationOf(filter.forwardOperation);
    const bool listCounts = tags > 0 && operation.field != Operation::Field::None;
    const bool passesRest =
        tags == 0 ? operation.untaggedPass : operation.tagged == Tagged::Pass || operation.tagged == Tagged::DropListed;
    Selector selector;
    if (listCounts) {
        const auto listed = listedMatches(filter.list, operation.field);
        if (operation.tagged == Tagged::DropListed) selector.excluded = listed;
        if (operation.tagged == Tagged::PassListed)
            for (const Match& match : listed) selector.rules.push_back({match, {}, "", ""});
    }
    if (passesRest) selector.rules.push_back({});
    return selector;
}

std::set<std::uint16_t> gemsOf(const PonPort& port) {
    std::set<std::uint16_t> gems = port.downstreamGems;
    for (const auto& place : port.mapper.places)
        if (place) gems.insert(place->gemIndex);
    return gems;
}

void planPonSides(const Scope& scope, const Tables& tables, Draft& draft) {
    for (const std::uint16_t bridge : scope.bridges)
        if (!planBridge(bridge, tables, draft)) return;
    for (const std::uint16_t gem : scope.gems) planGemPort(gem, portsOf(gem, tables), draft);
}

}  // namespace g988
