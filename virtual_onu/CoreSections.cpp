// The clock as a section of a board file; and what the run has seen, for processes that share it.
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Core.h"
#include "CoreState.h"
#include "Facilities.h"
#include "Section.h"

namespace virtual_onu {

namespace {

struct SavedClock {
    std::uint64_t sleptMs = 0, advancedMs = 0, passedMs = 0;
};
struct Calls {
    std::uint64_t calls = 0;
};
struct NumberedFault {
    std::uint64_t call = 0;
    int code = 0;
};
struct Faults {
    std::vector<PendingFault> pending;
    std::vector<NumberedFault> numbered;
    std::uint64_t given = 0;
};

}  // namespace

template <typename Record>
void describe(Record& record, PendingFault& fault) {
    record.number("number", fault.number);
    record.text("name", fault.name);
    record.number("callsToGo", fault.callsToGo);
    record.number("code", fault.code);
}

template <typename Record>
void describe(Record& record, TraceEntry& entry) {
    record.choice("kind", entry.kind, {"platform", "ioctl", "file", "socket", "shell", "wait", "log"});
    record.text("name", entry.name);
    record.text("arguments", entry.arguments);
    record.number("result", entry.result);
    record.flag("injected", entry.injected);
}

namespace {

template <typename Record>
void describe(Record& record, SavedClock& clock) {
    record.number("sleptMs", clock.sleptMs);
    record.number("advancedMs", clock.advancedMs);
    record.number("passedMs", clock.passedMs);
}

template <typename Record>
void describe(Record& record, Calls& calls) {
    record.number("calls", calls.calls);
}

template <typename Record>
void describe(Record& record, NumberedFault& fault) {
    record.number("call", fault.call);
    record.number("code", fault.code);
}

template <typename Record>
void describe(Record& record, Faults& faults) {
    record.list("pending", faults.pending);
    record.list("numbered", faults.numbered);
    record.number("given", faults.given);
}

persistence::Section clockSection() {
    return persistence::single<SavedClock>(
        persistence::kClock,
        [] {
            return SavedClock{sleptMs, deviceClock().advancedMs, passedMs};
        },
        [](SavedClock clock) {
            sleptMs = clock.sleptMs;
            deviceClock().advancedMs = clock.advancedMs;
            passedMs = clock.passedMs;
        });
}

persistence::Section faultSection() {
    return persistence::single<Faults>(
        persistence::kRunFaults,
        [] {
            Faults faults{core().pendingFaults, {}, core().faults};
            for (const auto& [call, code] : core().numberedFaults) faults.numbered.push_back({call, code});
            return faults;
        },
        [](Faults faults) {
            core().pendingFaults = std::move(faults.pending);
            core().faults = faults.given;
            core().numberedFaults.clear();
            for (const NumberedFault& fault : faults.numbered) core().numberedFaults[fault.call] = fault.code;
            anyFaults = !core().pendingFaults.empty() || !core().numberedFaults.empty();
        });
}

// By their number in the run. Those of other processes come behind, and are reported to listeners.
persistence::Section traceSection() {
    persistence::RecordAccess<std::uint64_t, TraceEntry> byKey;
    byKey.keys = [] { return std::vector<std::uint64_t>(); };
    byKey.get = [](std::uint64_t number) -> std::optional<TraceEntry> {
        const auto& trace = core().trace;
        if (trace.empty() || number < trace.front().number || number > trace.back().number) return std::nullopt;
        return trace[static_cast<std::size_t>(number - trace.front().number)];
    };
    byKey.put = [](std::uint64_t number, TraceEntry entry) {
        entry.number = number;
        core().traced = number;
        keepEntry(entry);
        if (core().listener) (*core().listener)(entry);
    };
    byKey.remove = [](std::uint64_t) {};
    return persistence::section<std::uint64_t, TraceEntry>(persistence::kRunTrace, byKey);
}

}  // namespace

persistence::Sections coreSections() {
    return {clockSection(), faultSection(), traceSection(),
            persistence::single<Calls>(
                persistence::kRunCalls, [] { return Calls{core().calls}; },
                [](Calls calls) { core().calls = calls.calls; })};
}

}  // namespace virtual_onu
