// What a program leaves on the virtual ONU, for whoever started it: the tool's `exec` preloads this library and names
// the files in the environment. Without these variables nothing here does anything.
#include <unistd.h>

#include <atomic>
#include <exception>

#include "BoardIdentity.h"
#include "Facilities.h"
#include "VirtualOnu.h"
#include "libc/program/Companion.h"
#include "libc/program/HalPrints.h"
#include "libc/program/OwnFile.h"
#include "libc/program/Program.h"
#include "libc/program/Snapshot.h"
#include "libc/program/TapLease.h"

namespace virtual_onu::program {

namespace {

std::atomic<Companion*> companion{nullptr};

OwnFile& traceFile() {
    static OwnFile& one = *new OwnFile(settings().traceFile);
    return one;
}

void traced(const TraceEntry& entry) {
    static std::atomic<bool> complained{false};
    if (!traceFile().append(entry.text() + "\n") && !complained.exchange(true))
        say("the trace can no longer be written to " + settings().traceFile);
    // A wait or a log line alone leaves nothing on the device: that is any process with a sleep in it.
    if (entry.kind == CallKind::Wait || entry.kind == CallKind::Log) return;
    snapshot::touched();
    if (Companion* work = companion.load(std::memory_order_acquire)) work();
    taplease::touched();
}

// A program on another board than the one that was asked for would be worse than none.
void openBoard() {
    if (settings().boardFile.empty()) return;
    persistence::onTrouble(say);
    try {
        VirtualOnu::instance().openBoard(settings().boardFile, VirtualOnu::BoardUse::Shared);
    } catch (const std::exception& problem) {
        say(problem.what());
        _exit(2);
    }
}

void refuse(const char* name, const std::string& problem) {
    if (problem.empty()) return;
    say(std::string(name) + " " + problem);
    _exit(2);
}

// Each process of a program sets it, on the board in a file once.
void giveIdentity() {
    VirtualOnu& onu = VirtualOnu::instance();
    const Settings& given = settings();
    if (!given.serialNumber.empty()) {
        refuse(kSerialNumberVariable, problemOfSerialNumber(given.serialNumber));
        onu.setSerialNumber(given.serialNumber);
    }
    if (given.baseMac.empty()) return;
    refuse(kBaseMacVariable, problemOfBaseMac(given.baseMac));
    onu.setBaseMac(given.baseMac);
}

__attribute__((constructor)) void beginReport() {
    halprints::divert(halprints::Found::Linked);
    openBoard();
    giveIdentity();
    if (settings().snapshotFile.empty() && settings().traceFile.empty()) return;
    traceFile();
    snapshot::begin();
    taplease::begin();
    VirtualOnu::instance().onTrace(traced);
    // A program that knows nothing of this clock counts on its waits: without them a polling daemon would spin.
    VirtualOnu::instance().sleepForReal(true);
}

__attribute__((destructor)) void end() {
    snapshot::end();
}

}  // namespace

void onTouch(Companion* work) {
    companion.store(work, std::memory_order_release);
}

void deviceChanged() {
    snapshot::touched();
}

void librariesLoaded() {
    halprints::divert(halprints::Found::Loaded);
}

}  // namespace virtual_onu::program
