#include "scenario/Runner.h"

#include <algorithm>
#include <atomic>
#include <exception>

#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "io/Printed.h"
#include "state/Effects.h"

namespace vorn_onu {

namespace {

// The trace entries from this number on.
std::vector<std::string> traceFrom(const virtual_onu::VirtualOnu& onu, std::uint64_t number) {
    std::vector<std::string> lines;
    for (const auto& entry : onu.trace())
        if (entry.number >= number) lines.push_back(entry.text());
    return lines;
}

std::uint64_t nextTraceNumber(const virtual_onu::VirtualOnu& onu) {
    const auto trace = onu.trace();
    return trace.empty() ? 1 : trace.back().number + 1;
}

// What devices and files have said becomes words for people: one line each.
void putOnLines(StepRecord& record) {
    record.answer = oneLine(record.answer);
    record.effects = oneLine(record.effects);
    for (Failure& failure : record.failures) {
        failure.what = oneLine(failure.what);
        for (auto* lines : {&failure.expected, &failure.actual})
            for (std::string& line : *lines) line = oneLine(line);
    }
}

// Follows the trace: the number of its last entry without a look at all of it. Other threads make entries too, and may
// be about to tell of one when nobody listens any more.
class TraceEnd {
public:
    explicit TraceEnd(virtual_onu::VirtualOnu& onu) : onu_(onu) {
        onu_.onTrace([number = number_](const virtual_onu::TraceEntry& entry) {
            std::uint64_t known = number->load();
            while (known < entry.number && !number->compare_exchange_weak(known, entry.number)) {
            }
        });
    }
    ~TraceEnd() { onu_.onTrace(nullptr); }
    TraceEnd(const TraceEnd&) = delete;
    TraceEnd& operator=(const TraceEnd&) = delete;
    std::uint64_t number() const { return *number_; }

private:
    virtual_onu::VirtualOnu& onu_;
    std::shared_ptr<std::atomic<std::uint64_t>> number_ = std::make_shared<std::atomic<std::uint64_t>>(0);
};

StepRecord runStep(const Step& step, const RunOptions& options, RunContext& context) {
    StepRecord record;
    record.step = &step;
    const std::uint64_t from = options.trace ? nextTraceNumber(context.onu) : 0;
    const Sight before = Sight::of(context.onu);
    try {
        StepResult result = step.run(context);
        record.failures = std::move(result.failures);
        record.answer = std::move(result.answer);
        record.sent = std::move(result.sent);
    } catch (const std::exception& error) {
        record.failures.push_back({"the step", {"can be done"}, {error.what()}});
    }
    record.effects = effects(before, Sight::of(context.onu));
    putOnLines(record);
    if (options.trace) record.trace = traceFrom(context.onu, from);
    return record;
}

}  // namespace

std::vector<StepRecord> runScenario(const Scenario& scenario, const RunOptions& options, const StepListener& listener) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    onu.sleepForReal(options.realTime);
    RunContext context{onu, *HALFactory::getInstance()->CreateHALObject(0)};
    const TraceEnd traceEnd(onu);
    std::vector<StepRecord> records;
    for (const Step& step : scenario.steps) {
        if (options.lastStep != 0 && step.number > options.lastStep) break;
        records.push_back(runStep(step, options, context));
        records.back().lastTraceEntry = traceEnd.number();
        listener(records.back());
    }
    return records;
}

bool FullestMoment::isNow(const virtual_onu::VirtualOnu& onu) {
    const std::string state = onu.stateText();
    const auto lines = static_cast<std::size_t>(std::count(state.begin(), state.end(), '\n'));
    if (lines < most_) return false;
    most_ = lines;
    return true;
}

}  // namespace vorn_onu
