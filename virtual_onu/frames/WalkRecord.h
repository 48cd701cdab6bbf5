// A walk as it was made: numbers and places. Its words are made of it when somebody asks.
#ifndef VIRTUAL_ONU_WALK_RECORD_H
#define VIRTUAL_ONU_WALK_RECORD_H

#include <memory>
#include <mutex>
#include <vector>

#include "frames/Plan.h"

namespace virtual_onu::datapath {

enum class Said : std::uint8_t {
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
    Said said = Said::Rule;
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

class WalkRecord {
public:
    WalkRecord(std::shared_ptr<const Plan> plan, Frame sent) : plan_(std::move(plan)), sent_(std::move(sent)) {}
    explicit WalkRecord(std::vector<Hop> hops) : words_(std::move(hops)), worded_(true) {}

    std::vector<Step> steps;

    std::size_t size() const { return worded_ ? words_.size() : steps.size(); }
    const std::vector<Hop>& hops() const;

private:
    Hop hopOf(const Step& step) const;
    std::optional<NearestRule> nearestOf(const Step& step) const;

    std::shared_ptr<const Plan> plan_;  // what the steps point into
    Frame sent_;
    mutable std::once_flag once_;
    mutable std::vector<Hop> words_;
    bool worded_ = false;  // from the start
};

}  // namespace virtual_onu::datapath

#endif
