// A walk as it was made: numbers and places. Its words are made of it when somebody asks.
#ifndef VIRTUAL_ONU_WALK_RECORD_H
#define VIRTUAL_ONU_WALK_RECORD_H

#include <memory>
#include <mutex>
#include <vector>

#include "frames/Plan.h"

namespace virtual_onu::datapath {

enum class StepCause : std::uint8_t {
    Rule,
    DefaultDrops,
    DefaultPasses,
    NothingThere,  // no rule and no default
    Flooded,
    Learned,
    Wanted,  // multicast, to a port that wants it
    OwnDevices,
    Flow,
    Runner,
};

struct Step {
    Hop::Kind kind = Hop::Kind::Table;
    StepCause cause = StepCause::Rule;
    int from = -1;
    DeviceId device = kNoDevice;
    DeviceId to = kNoDevice;  // kNoDevice where the frame ends
    DeviceId txDevice = kNoDevice;
    std::uint8_t direction = 0;
    const CompiledTable* table = nullptr;
    const CompiledRule* rule = nullptr;
    const RunnerClass* runner = nullptr;
    std::optional<std::uint32_t> gemIndex;  // the mark that the look-up saw
    Tags tags;                              // after it
};

// What a walk has come to, in numbers that are good as long as the plan. Its memory is used again from walk to walk.
struct Traversal {
    struct Exit {
        int hop = -1;
        DeviceId device = kNoDevice;
        const RunnerClass* runner = nullptr;   // instead of a device: leaves at this class's egress
        const PlanGemPort* gemPort = nullptr;  // on the PON side
        unsigned queue = 0;
        Tags tags;
    };
    std::vector<Step> steps;
    std::vector<Exit> exits;
    std::vector<Drop> drops;

    void clear() {
        steps.clear();
        exits.clear();
        drops.clear();
    }
};
// The walk of that frame; takes the traversal over.
Walk walkOf(std::shared_ptr<const Plan> plan, const Frame& sent, Traversal&& traversal);

class WalkRecord {
public:
    WalkRecord(std::shared_ptr<const Plan> plan, Frame sent, std::vector<Step> steps)
        : plan_(std::move(plan)), sent_(std::move(sent)), steps_(std::move(steps)) {}
    explicit WalkRecord(std::vector<Hop> hops) : words_(std::move(hops)), worded_(true) {}

    std::size_t size() const { return worded_ ? words_.size() : steps_.size(); }
    const std::vector<Hop>& hops() const;

private:
    Hop hopOf(const Step& step) const;
    std::optional<NearestRule> nearestOf(const Step& step) const;

    std::shared_ptr<const Plan> plan_;  // what the steps point into
    Frame sent_;
    std::vector<Step> steps_;
    mutable std::once_flag once_;
    mutable std::vector<Hop> words_;
    bool worded_ = false;  // from the start
};

}  // namespace virtual_onu::datapath

#endif
