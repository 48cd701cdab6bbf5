#include "omci/services/contract/AniRecords.h"

#include <algorithm>
#include <utility>

#include "omci/services/ForwardOperations.h"
#include "omci/services/Numbers.h"

namespace omci::services::contract {

namespace {

constexpr std::size_t kMaxEntries = 12;

// Forward operations for which the HAL's rules do what they say, for frames that go up as well as down.
enum HalFilter : std::uint8_t {
    kUntagged = 0x01,
    kVids = 0x04,
    kPriorityList = 0x08,  // down as up
    kTcis = 0x0C,          // down by their VID alone
    kAllDown = 0x0A,       // without an entry: whatever comes down, once there are rules for tagged frames up
};

class Builder {
public:
    Builder(std::uint16_t bridgeId, const GemService& gem) : gem_(gem) {
        base_.bridgeId = bridgeId;
        base_.gemPortId = gem.gemPortId;
        base_.trafficModel = kOneFilterModel;
        base_.inputTpid = base_.outputTpid = 0x8100;
        // Every p-bit is named: the HAL takes what a record leaves out from the record before.
        for (std::uint8_t priority = 0; priority < kPriorities; ++priority) {
            base_.pbitMap[priority] = here(priority) ? std::make_pair(gem.gemPortId, gem.queue)
                                                     : std::make_pair(kNoGemPort, std::uint16_t{0});
        }
    }

    AniRules built(const VlanFilter& filter) {
        const Forward forward = forwardOf(filter);
        switch (forward.tagged) {
            case Tagged::kPass:
                pass(forward.untagged);
                break;
            case Tagged::kMatch:
                match(forward.part, filter.tcis);
                break;
            case Tagged::kMismatch:
                mismatch(forward.part, filter.tcis);
                break;
            case Tagged::kDrop:
                break;
        }
        if (forward.untagged && gem_.untagged && forward.tagged != Tagged::kPass) add(kUntagged, 2);
        made_.staysBehind |= rules_ > kMaxRules;
        return std::move(made_);
    }

private:
    bool here(unsigned priority) const { return (gem_.priorities & 1U << priority) != 0; }
    bool whole() const { return gem_.priorities == kAllPriorities; }

    // A record without a list, which makes a number of rules.
    void add(HalFilter operation, unsigned rules) {
        made_.records.push_back(base_);
        made_.records.back().forwardOperation = operation;
        rules_ += rules;
    }
    // Records of as many entries as fit. An entry is looked for with one and with two tags, up and down.
    void addList(HalFilter operation, const std::vector<std::uint16_t>& entries) {
        for (std::size_t at = 0; at < entries.size(); at += kMaxEntries) {
            const std::size_t count = std::min(kMaxEntries, entries.size() - at);
            const auto first = entries.begin() + static_cast<std::ptrdiff_t>(at);
            const std::string list = tciText({first, first + static_cast<std::ptrdiff_t>(count)});
            add(operation, 4 * static_cast<unsigned>(count));
            list.copy(made_.records.back().vlanTciFilterList, sizeof base_.vlanTciFilterList - 1);
            made_.records.back().numberOfEntries = static_cast<std::uint8_t>(count);
        }
    }
    void addPriorities(unsigned priorities) {
        std::vector<std::uint16_t> entries;
        for (unsigned priority = 0; priority < kPriorities; ++priority) {
            if (here(priority) && (priorities & 1U << priority) != 0) entries.push_back(priorityTci(priority));
        }
        addList(kPriorityList, entries);
    }

    void pass(bool untagged) {
        made_.takesAnyVlan = true;
        // The HAL's operation for all frames would do, but sets a default action that stays when it is taken back.
        addPriorities(kAllPriorities);
        if (untagged && gem_.untagged) add(kUntagged, 2);
        if (whole() || gem_.priorities == 0) return;
        if (untagged) {
            add(kAllDown, 3);
        } else {
            made_.problems.emplace_back("what comes down has to have p-bits that go up in the same GEM port");
        }
    }

    void match(Part part, const std::vector<std::uint16_t>& tcis) {
        if (part == Part::kPriority) return addPriorities(listed(tcis));
        if (part == Part::kVid) return whole() ? addList(kVids, tcis) : addList(kTcis, withPriorities(tcis));
        std::vector<std::uint16_t> entries;
        for (const auto tci : tcis) {
            if (here(tci >> 13)) entries.push_back(tci);
        }
        addList(kTcis, entries);
        made_.problems.emplace_back("what comes down is compared with the VID alone, not with the whole TCI");
    }

    void mismatch(Part part, const std::vector<std::uint16_t>& tcis) {
        made_.takesAnyVlan = true;
        if (part == Part::kPriority) return addPriorities(~listed(tcis));
        made_.problems.emplace_back("frames that fit the filter list are not dropped");
        addPriorities(kAllPriorities);
    }

    std::vector<std::uint16_t> withPriorities(const std::vector<std::uint16_t>& tcis) const {
        std::vector<std::uint16_t> entries;
        for (const auto tci : tcis) {
            for (unsigned priority = 0; priority < kPriorities; ++priority) {
                if (here(priority))
                    entries.push_back(static_cast<std::uint16_t>(priorityTci(priority) | (tci & 0x0FFFU)));
            }
        }
        return entries;
    }
    // The p-bits that the list names.
    static unsigned listed(const std::vector<std::uint16_t>& tcis) {
        unsigned priorities = 0;
        for (const auto tci : tcis) priorities |= 1U << (tci >> 13);
        return priorities;
    }

    const GemService& gem_;
    BridgeServiceProvisioning base_{};
    AniRules made_;
    unsigned rules_ = 0;
};

}  // namespace

AniRules aniRules(std::uint16_t bridgeId, const GemService& gem, const VlanFilter& filter) {
    return Builder(bridgeId, gem).built(filter);
}

}  // namespace omci::services::contract
