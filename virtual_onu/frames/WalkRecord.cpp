#include "frames/WalkRecord.h"

#include "frames/NearestRule.h"

namespace virtual_onu {

namespace datapath {

namespace {

std::string detailOf(const Step& step) {
    // In the order of the causes; the first one has the rule's words.
    static constexpr const char* kWords[] = {"",
                                             "default: drop",
                                             "default: pass",
                                             "no rule and no default: pass",
                                             "flooded",
                                             "learned",
                                             "to a port that wants the group",
                                             "to the bridge's own devices",
                                             "flow",
                                             "forwards it itself"};
    return step.cause == StepCause::Rule ? step.rule->rule.text() : kWords[static_cast<std::size_t>(step.cause)];
}

}  // namespace

Walk walkOf(std::shared_ptr<const Plan> plan, const Frame& sent, Traversal&& traversal) {
    Walk walk;
    walk.sent = sent;
    for (const Traversal::Exit& one : traversal.exits) {
        Exit exit;
        exit.hop = one.hop;
        exit.device = one.runner != nullptr ? one.runner->egress : plan->device(one.device).name;
        if (one.gemPort != nullptr) {
            exit.gemPort = one.gemPort->portId;
            exit.gemIndex = one.gemPort->index;
            exit.tcont = one.gemPort->tcont;
            exit.queue = one.queue;
        }
        exit.frame = frameWith(sent, one.tags);
        walk.exits.push_back(std::move(exit));
    }
    walk.drops = std::move(traversal.drops);
    if (!traversal.steps.empty())
        walk.hops = Hops(std::make_shared<const WalkRecord>(std::move(plan), sent, std::move(traversal.steps)));
    return walk;
}

const std::vector<Hop>& WalkRecord::hops() const {
    if (!worded_) {
        std::call_once(once_, [this] {
            for (const Step& step : steps_) words_.push_back(hopOf(step));
        });
    }
    return words_;
}

Hop WalkRecord::hopOf(const Step& step) const {
    Hop hop;
    hop.kind = step.kind;
    hop.from = step.from;
    hop.device = step.runner != nullptr ? step.runner->name : plan_->device(step.device).name;
    hop.direction = step.direction;
    if (step.table != nullptr) hop.table = step.table->number();
    if (step.rule != nullptr) hop.rule = step.rule->rule.id;
    hop.detail = detailOf(step);
    if (step.runner != nullptr)
        hop.to = step.runner->egress;
    else if (step.to != kNoDevice)
        hop.to = plan_->device(step.to).name;
    hop.frame = frameWith(sent_, step.tags);
    if (step.table != nullptr && step.rule == nullptr) hop.nearest = nearestOf(step);
    return hop;
}

// A look-up that found no rule has changed nothing: the frame after it is the one that it saw.
std::optional<NearestRule> WalkRecord::nearestOf(const Step& step) const {
    return nearestRule(*plan_, *step.table, frameWith(sent_, step.tags), step.gemIndex, step.txDevice);
}

}  // namespace datapath

Hops::Hops(std::vector<Hop> hops) : record_(std::make_shared<const datapath::WalkRecord>(std::move(hops))) {}

Hops::Hops(std::shared_ptr<const datapath::WalkRecord> record) : record_(std::move(record)) {}

std::size_t Hops::size() const {
    return record_ == nullptr ? 0 : record_->size();
}

const std::vector<Hop>& Hops::all() const {
    static const auto& none = *new std::vector<Hop>;
    return record_ == nullptr ? none : record_->hops();
}

}  // namespace virtual_onu
