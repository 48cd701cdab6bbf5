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
    record.choice("kind", entry.kind, callKindNames());
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

struct ClockAccess : persistence::Single<SavedClock> {
    static SavedClock get() { return {sleptMs, deviceClock().advancedMs, passedMs}; }
    static void put(SavedClock clock) {
        sleptMs = clock.sleptMs;
        deviceClock().advancedMs = clock.advancedMs;
        passedMs = clock.passedMs;
    }
};

struct FaultsOfRun : persistence::Single<Faults> {
    static Faults get() {
        Faults faults{core().pendingFaults, {}, core().faults};
        for (const auto& [call, code] : core().numberedFaults) faults.numbered.push_back({call, code});
        return faults;
    }
    static void put(Faults faults) {
        core().pendingFaults = std::move(faults.pending);
        core().faults = faults.given;
        core().numberedFaults.clear();
        for (const NumberedFault& fault : faults.numbered) core().numberedFaults[fault.call] = fault.code;
        anyFaults = !core().pendingFaults.empty() || !core().numberedFaults.empty();
    }
};

// Those of other processes come behind, and are reported to listeners.
struct Trace : persistence::OfRun<TraceEntry> {
    static std::optional<TraceEntry> get(std::uint64_t number) {
        const auto& trace = core().trace;
        if (trace.empty() || number < trace.front().number || number > trace.back().number) return std::nullopt;
        return trace[static_cast<std::size_t>(number - trace.front().number)];
    }
    static void put(std::uint64_t number, TraceEntry entry) {
        entry.number = number;
        core().traced = number;
        keepEntry(entry);
        if (core().listener) (*core().listener)(entry);
    }
};

struct Calls : persistence::Single<std::uint64_t> {
    template <typename Record>
    static void fields(Record& record, std::uint64_t& calls) {
        record.number("calls", calls);
    }
    static std::uint64_t get() { return core().calls; }
    static void put(std::uint64_t calls) { core().calls = calls; }
};

}  // namespace

persistence::Sections coreSections() {
    return {persistence::section<ClockAccess>(persistence::kClock),
            persistence::section<FaultsOfRun>(persistence::kRunFaults),
            persistence::section<Trace>(persistence::kRunTrace), persistence::section<Calls>(persistence::kRunCalls)};
}

}  // namespace virtual_onu
