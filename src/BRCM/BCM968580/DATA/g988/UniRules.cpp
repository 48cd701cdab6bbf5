// The rules of a UNI port: each row of its tagging table upstream, and what takes it back downstream.
#include <algorithm>
#include <iterator>

#include "BRCM/BCM968580/DATA/g988/Draft.h"
#include "BRCM/BCM968580/DATA/g988/TagRewrite.h"

namespace g988 {

namespace {

// A row with what its table says for all rows.
struct RowPlan {
    const TaggingRow& row;
    const TaggingTable& table;
    std::vector<TagCodes> filters = row.filters(), added = row.added();  // outermost first
    unsigned tags = row.tags();
    unsigned removed = std::min<unsigned>(row.tagsToRemove, tags);
    // Where a copy is read from; none: the frame has no such tag. A single tag is the inner one.
    std::optional<std::uint16_t> inner() const {
        return tags == 0 ? std::nullopt : std::optional<std::uint16_t>(static_cast<std::uint16_t>(tags - 1));
    }
    std::optional<std::uint16_t> outer() const { return tags == 2 ? std::optional<std::uint16_t>(0) : std::nullopt; }
};

// Which of the received tags a code copies from; nothing: it does not copy.
enum class Copies : std::uint8_t { Nothing, Inner, Outer };

Copies pbitsCopies(const TagCodes& treatment) {
    if (treatment.pbits == treatment_code::kPbitsOfInner) return Copies::Inner;
    return treatment.pbits == treatment_code::kPbitsOfOuter ? Copies::Outer : Copies::Nothing;
}

Copies vidCopies(const TagCodes& treatment) {
    if (treatment.vid == treatment_code::kVidOfInner) return Copies::Inner;
    return treatment.vid == treatment_code::kVidOfOuter ? Copies::Outer : Copies::Nothing;
}

Copies tpidCopies(const TagCodes& treatment) {
    if (treatment.tpidDei == treatment_code::kTagOfInner) return Copies::Inner;
    return treatment.tpidDei == treatment_code::kTagOfOuter ? Copies::Outer : Copies::Nothing;
}

Copies deiCopies(const TagCodes& treatment) {
    using namespace treatment_code;
    if (treatment.tpidDei == kTagOfInner || treatment.tpidDei == kDeiOfInner) return Copies::Inner;
    return treatment.tpidDei == kTagOfOuter || treatment.tpidDei == kDeiOfOuter ? Copies::Outer : Copies::Nothing;
}

std::vector<std::optional<std::uint16_t>> etherTypesOf(EtherTypes code) {
    switch (code) {
        case EtherTypes::Ipv4:
            return {0x0800};
        case EtherTypes::Pppoe:
            return {0x8863, 0x8864};
        case EtherTypes::Arp:
            return {0x0806};
        case EtherTypes::Ipv6:
            return {0x86DD};
        case EtherTypes::Eapol:
            return {0x888E};
        case EtherTypes::PppoeSession:
            return {0x8864};
        default:
            return {std::nullopt};
    }
}

// The filter of a row on the tag at this place of the frame.
void addFilter(Match& match, const TagCodes& filter, unsigned tag, std::uint16_t inputTpid) {
    using namespace filter_code;
    if (filter.pbits == kDefaultRow) return;
    if (filter.pbits <= kLastPbits) match.pbits(tag, filter.pbits);
    if (filter.vid <= kLastVid) match.vid(tag, filter.vid);
    if (filter.tpidDei == kTpid8100) match.typeWord(tag, kCustomerTpid);
    if (filter.tpidDei >= kInputTpid) match.typeWord(tag, inputTpid);
    if (filter.tpidDei == kInputTpidDei0) match.dei(tag, 0);
    if (filter.tpidDei == kInputTpidDei1) match.dei(tag, 1);
}

// ---- upstream ----

// A copy of a tag that is not there gives what a tag has that nobody has written.
FieldSource copied(const RowPlan& plan, Copies from, std::uint16_t missing) {
    const auto place = from == Copies::Inner ? plan.inner() : plan.outer();
    return place ? FieldSource::tag(*place) : FieldSource::value(missing);
}

NewTag writtenTag(const RowPlan& plan, const TagCodes& treatment) {
    using namespace treatment_code;
    NewTag tag;
    if (treatment.pbits <= kLastPbits)
        tag.pbits = FieldSource::value(treatment.pbits);
    else if (treatment.pbits == kPbitsOfDscp)
        tag.pbits = {FieldSource::Kind::Dscp, 0};
    else
        tag.pbits = copied(plan, pbitsCopies(treatment), 0);
    tag.vid = treatment.vid <= kLastVid ? FieldSource::value(treatment.vid) : copied(plan, vidCopies(treatment), 0);
    const bool copiesTpid = tpidCopies(treatment) != Copies::Nothing;
    const bool isCustomer = treatment.tpidDei == kTpid8100;
    tag.tpid = copiesTpid ? copied(plan, tpidCopies(treatment), kCustomerTpid)
                          : FieldSource::value(isCustomer ? kCustomerTpid : plan.table.outputTpid);
    tag.dei = deiCopies(treatment) != Copies::Nothing ? copied(plan, deiCopies(treatment), 0)
                                                      : FieldSource::value(treatment.tpidDei == kOutputDei1 ? 1 : 0);
    return tag;
}

std::vector<Command> upstreamCommands(const RowPlan& plan) {
    std::vector<NewTag> tags;
    for (const TagCodes& treatment : plan.added) tags.push_back(writtenTag(plan, treatment));
    return rewriteTags(plan.removed, tags);
}

std::vector<Match> upstreamMatches(const RowPlan& plan) {
    std::vector<Match> matches;
    for (const auto& etherType : etherTypesOf(plan.row.etherTypes)) {
        Match match;
        for (unsigned i = 0; i < plan.filters.size(); ++i) addFilter(match, plan.filters[i], i, plan.table.inputTpid);
        if (etherType) match.typeWord(plan.tags, *etherType);
        matches.push_back(match);
    }
    return matches;
}

// What the kit cannot do for this row; null: nothing.
const char* obstacle(const RowPlan& plan) {
    if (plan.row.extendedCriteria != 0) return "the kit cannot match UDP ports";
    if (plan.row.tagsToRemove == kDiscard) return nullptr;
    const bool readsDscp = std::any_of(plan.added.begin(), plan.added.end(), [](const TagCodes& treatment) {
        return treatment.pbits == treatment_code::kPbitsOfDscp;
    });
    if (readsDscp && plan.table.dscpMap != classSelectors())
        return "the kit takes p-bits from the class selector of a DSCP and knows no other map";
    return nullptr;
}

// ---- downstream ----

// Which fields of the added tags a downstream mode compares, and which it takes back.
struct Fields {
    bool vid, pbits;
};

bool hasInverse(const TaggingRow& row) {
    if (row.tagsToRemove == kDiscard) return false;
    return !row.isDefaultRow() || (row.tags() == 0 && !row.added().empty());
}

// The value that a copied field has by the filter of the tag that it was copied from.
const TagCodes* filterOf(const RowPlan& plan, Copies from) {
    const auto place = from == Copies::Inner ? plan.inner() : plan.outer();
    return from == Copies::Nothing || !place ? nullptr : &plan.filters[*place];
}

void addWritten(Match& match, const RowPlan& plan, unsigned tag, Fields compared) {
    const TagCodes& treatment = plan.added[tag];
    if (compared.pbits) {
        const TagCodes* source = filterOf(plan, pbitsCopies(treatment));
        const std::uint8_t pbits = source != nullptr ? source->pbits : treatment.pbits;
        if (pbits <= kLastPbits) match.pbits(tag, pbits);
    }
    if (compared.vid) {
        const TagCodes* source = filterOf(plan, vidCopies(treatment));
        const std::uint16_t vid = source != nullptr ? source->vid : treatment.vid;
        if (vid <= kLastVid) match.vid(tag, vid);
    }
    if (treatment.tpidDei == treatment_code::kTpid8100)
        match.typeWord(tag, kCustomerTpid);
    else if (tpidCopies(treatment) == Copies::Nothing)
        match.typeWord(tag, plan.table.outputTpid);
}

// The added tag that a field of removed tag number `place` was copied into.
template <typename CopiesOf>
std::optional<std::uint16_t> copyOf(const RowPlan& plan, unsigned place, CopiesOf copies) {
    const bool isInner = place + 1 == plan.tags;
    for (std::size_t i = 0; i < plan.added.size(); ++i)
        if (copies(plan.added[i]) == (isInner ? Copies::Inner : Copies::Outer)) return static_cast<std::uint16_t>(i);
    return std::nullopt;
}

// A removed tag, by what the filter says, by what was copied, else the lowest value. A field that the mode does not
// take back keeps what the tag in its place has.
NewTag restoredTag(const RowPlan& plan, unsigned place, Fields taken) {
    using namespace filter_code;
    const TagCodes& filter = plan.filters[place];
    const auto known = [&](bool isFixed, std::uint16_t value, const std::optional<std::uint16_t>& copy,
                           std::uint16_t lowest) {
        if (isFixed) return FieldSource::value(value);
        return copy ? FieldSource::tag(*copy) : FieldSource::value(lowest);
    };
    const auto stays = FieldSource::tag(static_cast<std::uint16_t>(place));
    const bool hasCounterpart = place < plan.added.size();
    NewTag tag;
    tag.pbits = known(filter.pbits <= kLastPbits, filter.pbits, copyOf(plan, place, pbitsCopies), 0);
    tag.vid = known(filter.vid <= kLastVid, filter.vid, copyOf(plan, place, vidCopies), 0);
    if (!taken.pbits && hasCounterpart) tag.pbits = stays;
    if (!taken.vid && hasCounterpart) tag.vid = stays;
    const bool knowsTpid = filter.tpidDei >= kTpid8100;
    tag.tpid = known(knowsTpid, filter.tpidDei == kTpid8100 ? kCustomerTpid : plan.table.inputTpid,
                     copyOf(plan, place, tpidCopies), kCustomerTpid);
    tag.dei = known(filter.tpidDei >= kInputTpidDei0, filter.tpidDei == kInputTpidDei1 ? 1 : 0,
                    copyOf(plan, place, deiCopies), 0);
    return tag;
}

std::vector<Command> downstreamCommands(const RowPlan& plan, Fields taken) {
    std::vector<NewTag> tags;
    for (unsigned place = 0; place < plan.removed; ++place) tags.push_back(restoredTag(plan, place, taken));
    return rewriteTags(static_cast<unsigned>(plan.added.size()), tags);
}

// The matches in one table. A row for two tags is also for more of them, and a table for two tags as well: there a tag
// behind the second one is asked for by its DEI, which is 0 or 1.
std::vector<Match> downstreamMatches(const RowPlan& plan, Match match, Fields compared, unsigned table) {
    const auto added = static_cast<unsigned>(plan.added.size());
    const unsigned least = added + plan.tags - plan.removed;
    for (unsigned i = 0; i < added; ++i) addWritten(match, plan, i, compared);
    for (unsigned i = plan.removed; i < plan.tags; ++i)
        addFilter(match, plan.filters[i], added + i - plan.removed, plan.table.inputTpid);
    std::vector<Match> matches;
    for (const auto& etherType : etherTypesOf(plan.row.etherTypes)) {
        Match one = match;
        if (etherType) one.typeWord(std::max(least, table), *etherType);
        if (least <= kTableTags || one.needsTag(least - 1)) {
            matches.push_back(one);
            continue;
        }
        for (const unsigned dei : {0u, 1u}) {
            matches.push_back(one);
            matches.back().dei(least - 1, dei);
        }
    }
    return matches;
}

class UniPlan {
public:
    UniPlan(std::uint16_t number, const UniPort& port, const Tables& tables, Draft& draft)
        : number_(number), port_(port), tables_(tables), draft_(draft) {}

    void make(const std::set<std::uint16_t>& bridges) {
        for (const std::uint16_t bridge : bridges) draft_.tables(device_, Direction::Transmit, bridge);
        if (port_.bridges.empty()) return;
        if (port_.tagging && !isPossible(*port_.tagging)) return;
        if (port_.tagging)
            upstream(*port_.tagging);
        else
            for (unsigned tags = 0; tags <= kTableTags; ++tags) passToAnyBridge({}, tags, "no tagging");
        for (const std::uint16_t bridge : bridges)
            if (port_.bridges.count(bridge) != 0) downstream(bridge);
    }

private:
    std::string originOf(const TaggingRow& row) const { return device_ + " " + row.text(); }

    bool isPossible(const TaggingTable& table) {
        bool possible = table.downstreamMode <= kLastDownstreamMode;
        if (!possible) draft_.refuse(device_, "there is no such downstream mode");
        for (const TaggingRow& row : table.rows()) {
            const char* reason = row.mistake();
            if (reason == nullptr) reason = obstacle({row, table});
            if (reason == nullptr && row.bridge && port_.bridges.count(*row.bridge) == 0)
                reason = "the port is not in its bridge";
            if (reason == nullptr) continue;
            draft_.refuse(originOf(row), reason);
            possible = false;
        }
        return possible;
    }

    // A frame of a port in several bridges goes to the first one whose PON side takes it, else to the first one.
    void passToAnyBridge(const Match& match, unsigned tags, const std::string& origin) {
        std::vector<Selector> selectors;
        if (port_.bridges.size() > 1) {
            for (const std::uint16_t bridge : port_.bridges) {
                const auto side = tables_.bridges.find(bridge);
                if (side == tables_.bridges.end()) continue;
                for (const PonPort& port : side->second) {
                    selectors.push_back(filterSelector(port.filter, tags));
                    for (Rule& rule : selectors.back().rules) {
                        if (port.ipProtocol) rule.match.ipProtocol(*port.ipProtocol);
                        rule.receiver = uniVlanDevice(number_, bridge);
                        rule.origin = origin;
                    }
                }
            }
        }
        const Rule rest{{}, {}, uniVlanDevice(number_, *port_.bridges.begin()), origin};
        addFirstOf(selectors, match, rest, received_[tags]);
    }

    void upstream(const TaggingTable& table) {
        for (const TaggingRow& row : table.rows()) {
            const RowPlan plan{row, table};
            for (const Match& match : upstreamMatches(plan)) {
                if (row.tagsToRemove == kDiscard) {
                    received_[plan.tags].add(droppingRule(match, originOf(row)));
                } else if (!row.bridge) {
                    passToAnyBridge(match, plan.tags, originOf(row));
                } else {
                    received_[plan.tags].add(
                        {match, upstreamCommands(plan), uniVlanDevice(number_, *row.bridge), originOf(row)});
                }
            }
        }
        // A default row that was deleted drops.
        for (unsigned tags = 0; tags <= kTableTags; ++tags)
            received_[tags].add(droppingRule({}, device_ + " without a default row"));
    }

    // Frames of a bridge, and the port's rules for them.
    struct FromBridge {
        std::uint16_t bridge;
        RuleLists& sent;
        Match match;
    };

    void downstream(std::uint16_t bridge) {
        FromBridge frames{bridge, draft_.tables(device_, Direction::Transmit, bridge), {}};
        frames.match.txDevice(uniVlanDevice(number_, bridge));
        constexpr std::uint8_t kPassAll = 1, kDropAll = 8, kLastThatPassesRest = 4;
        const bool inverts = port_.tagging && !(port_.tagging->downstreamMode == 0 && port_.tagging->isUntouched());
        const std::uint8_t mode = inverts ? port_.tagging->downstreamMode : kPassAll;
        if (mode != kPassAll && mode != kDropAll) addInverses(*port_.tagging, frames);
        const std::string origin = uniVlanDevice(number_, bridge) + " downstream mode " + std::to_string(mode);
        const bool passesRest = mode != 0 && mode <= kLastThatPassesRest;
        for (RuleList& table : frames.sent)
            table.add(passesRest ? Rule{frames.match, {}, "", origin} : droppingRule(frames.match, origin));
    }

    void addInverses(const TaggingTable& table, const FromBridge& frames) {
        static constexpr Fields kCompared[] = {{true, true},  {},           {true, true},  {true, false},
                                               {false, true}, {true, true}, {true, false}, {false, true}};
        const Fields fields = kCompared[table.downstreamMode];
        addInversesBy(table, frames, fields, fields);
        // "Inverse" alone: p-bits decide among rows that write the same VID, and the first of them takes all others.
        if (table.downstreamMode == 0) addInversesBy(table, frames, {true, false}, fields);
    }

    void addInversesBy(const TaggingTable& table, const FromBridge& frames, Fields compared, Fields taken) {
        for (const TaggingRow& row : table.rows()) {
            if (!hasInverse(row) || row.bridge != frames.bridge) continue;
            const RowPlan plan{row, table};
            const auto commands = downstreamCommands(plan, taken);
            const unsigned least = static_cast<unsigned>(plan.added.size()) + plan.tags - plan.removed;
            const unsigned first = std::min(least, kTableTags), last = plan.tags == 2 ? kTableTags : first;
            for (unsigned tags = first; tags <= last; ++tags)
                for (const Match& match : downstreamMatches(plan, frames.match, compared, tags))
                    frames.sent[tags].add({match, commands, "", originOf(row)});
        }
    }

    const std::uint16_t number_;
    const UniPort& port_;
    const Tables& tables_;
    Draft& draft_;
    const std::string device_ = uniDevice(number_);
    RuleLists& received_ = draft_.tables(device_, Direction::Receive);
};

std::vector<TaggingRow> rowsFor(std::uint16_t bridge, const TaggingTable& table) {
    std::vector<TaggingRow> rows;
    std::copy_if(table.rows().begin(), table.rows().end(), std::back_inserter(rows),
                 [&](const TaggingRow& row) { return row.bridge == bridge; });
    return rows;
}

// What does not depend on the bridge.
bool sendAlike(const TaggingTable& one, const TaggingTable& other) {
    return one.inputTpid == other.inputTpid && one.outputTpid == other.outputTpid &&
           one.downstreamMode == other.downstreamMode && one.isUntouched() == other.isUntouched();
}

}  // namespace

const UniPort& portOf(std::uint16_t number, const Tables& tables) {
    static const UniPort kNone;
    const auto port = tables.uniPorts.find(number);
    return port == tables.uniPorts.end() ? kNone : port->second;
}

std::set<std::uint16_t> bridgesSentOtherwise(const UniPort& before, const UniPort& after) {
    std::set<std::uint16_t> bridges = before.bridges;
    bridges.insert(after.bridges.begin(), after.bridges.end());
    if (before.tagging.has_value() != after.tagging.has_value()) return bridges;
    if (before.tagging && !sendAlike(*before.tagging, *after.tagging)) return bridges;
    const auto isSentAlike = [&](std::uint16_t bridge) {
        return before.bridges.count(bridge) == after.bridges.count(bridge) &&
               (!before.tagging || rowsFor(bridge, *before.tagging) == rowsFor(bridge, *after.tagging));
    };
    for (auto bridge = bridges.begin(); bridge != bridges.end();)
        bridge = isSentAlike(*bridge) ? bridges.erase(bridge) : std::next(bridge);
    return bridges;
}

void planUniPort(std::uint16_t number, const std::set<std::uint16_t>& bridges, const Tables& tables, Draft& draft) {
    UniPlan(number, portOf(number, tables), tables, draft).make(bridges);
}

}  // namespace g988
