#include "running/scenario/Runner.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "running/scenario/StepHost.h"
#include "running/scenario/StepsFault.h"
#include "running/state/DeviceState.h"
#include "running/state/Effects.h"

namespace vorn_onu {

namespace {

// Follows the trace without a look at all of it: the number of its last entry and, when they are wanted, the calls of a
// step. Other threads make entries too, and may be about to tell of one when nobody listens any more.
class StepTrace {
public:
    StepTrace(virtual_onu::VirtualOnu& onu, bool withCalls) : onu_(onu) {
        onu_.onTrace([seen = seen_, withCalls](const virtual_onu::TraceEntry& entry) {
            const std::lock_guard<std::mutex> lock(seen->mutex);
            seen->last = std::max(seen->last, entry.number);
            if (withCalls) seen->calls.push_back(entry);
        });
    }
    ~StepTrace() { onu_.onTrace(nullptr); }
    StepTrace(const StepTrace&) = delete;
    StepTrace& operator=(const StepTrace&) = delete;

    // The calls since the last time: another thread's between two steps come with the later one.
    std::vector<virtual_onu::TraceEntry> take() {
        const std::lock_guard<std::mutex> lock(seen_->mutex);
        return std::exchange(seen_->calls, {});
    }
    std::uint64_t last() const {
        const std::lock_guard<std::mutex> lock(seen_->mutex);
        return seen_->last;
    }

private:
    struct Seen {
        std::mutex mutex;
        std::uint64_t last = 0;
        std::vector<virtual_onu::TraceEntry> calls;
    };
    virtual_onu::VirtualOnu& onu_;
    std::shared_ptr<Seen> seen_ = std::make_shared<Seen>();
};

void lookAt(const std::vector<virtual_onu::TraceEntry>& calls, const RunOptions& options, StepRecord& record) {
    for (const auto& call : calls) {
        if (options.trace) record.trace.push_back(call.text());
        const bool failed = call.kind == virtual_onu::CallKind::Platform && isFailedCall(call.name, call.result);
        if (options.strict && failed && !call.injected)
            record.failures.push_back({"a call into the device kit", {"succeeds"}, {call.text()}});
    }
}

StepRecord runStep(const Step& step, const RunOptions& options, RunContext& context, StepTrace& trace, StepHost& host) {
    StepRecord record;
    record.step = &step;
    const DeviceImage before = DeviceImage::of(context.onu);
    StepHost::Answer answer = host.run(step, context);
    record.failures = std::move(answer.result.failures);
    record.answer = std::move(answer.result.answer);
    record.sent = std::move(answer.result.sent);
    record.warnings = std::move(answer.warnings);
    record.effects = effects(before, DeviceImage::of(context.onu));
    lookAt(trace.take(), options, record);
    putOnLines(record);
    return record;
}

}  // namespace

std::vector<StepRecord> runScenario(const Scenario& scenario, const RunOptions& options, const StepListener& listener) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    if (options.boardFile.empty()) onu.reset();
    onu.sleepForReal(options.realTime);
    const auto host = stepHostFor(scenario, options.boardFile);
    RunContext context{onu, host->hal()};
    StepTrace trace(onu, options.trace || options.strict);
    std::vector<StepRecord> records;
    for (const Step& step : scenario.steps) {
        if (options.lastStep != 0 && step.number > options.lastStep) break;
        records.push_back(runStep(step, options, context, trace, *host));
        records.back().lastTraceEntry = trace.last();
        listener(records.back());
    }
    StepRecord end;
    end.step = &scenario.end;
    end.failures = faultsThatNeverFired(context);
    if (options.lastStep == 0 && !end.failures.empty()) {
        records.push_back(end);
        listener(end);
    }
    return records;
}

bool FullestMoment::isNow(const virtual_onu::VirtualOnu& onu) {
    const std::string state = onu.stateText();
    const auto lines = static_cast<std::size_t>(std::count(state.begin(), state.end(), '\n'));
    if (lines < maxLines_) return false;
    maxLines_ = lines;
    return true;
}

}  // namespace vorn_onu
