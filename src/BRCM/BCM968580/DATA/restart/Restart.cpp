// Opening a state file: read, check, restore, settle what was unfinished, compare with the device.
#include "BRCM/BCM968580/DATA/restart/Restart.h"

#include <memory>
#include <string>

#include "BRCM/BCM968580/DATA/forwarding/Mode.h"
#include "BRCM/BCM968580/DATA/restart/Compare.h"
#include "BRCM/BCM968580/DATA/restart/Forwarding.h"
#include "BRCM/BCM968580/DATA/restart/MapEntries.h"
#include "BRCM/BCM968580/DATA/restart/Operations.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/Unfinished.h"
#include "hal/FileText.h"
#include "state/Journal.h"

namespace restart {

namespace {

constexpr const char* kBootIdFile = "/proc/sys/kernel/random/boot_id";

std::string& openPath() {
    static std::string& path = *new std::string;
    return path;
}

std::string bootId() {
    std::string text;
    if (readFileText(kBootIdFile, text) != 0) return {};
    return text.substr(0, text.find('\n'));
}

const MapEntries* mapOf(kit::Entry kind) {
    const MapEntries* found = nullptr;
    forEachMap([&](const MapEntries& candidate) {
        if (candidate.kind == kind) found = &candidate;
    });
    return found;
}

// The entry's key without the number of its kind.
state::ByteReader partsOf(const std::string& key) {
    state::ByteReader parts(key);
    parts.u8();
    return parts;
}

bool isEntry(const std::string& keyBytes, const std::string& valueBytes) {
    const auto kind = static_cast<kit::Entry>(keyBytes[0]);
    state::ByteReader key = partsOf(keyBytes);
    state::ByteReader value(valueBytes);
    if (const MapEntries* map = mapOf(kind)) return map->restore(key, value, Reading::Check);
    return isDeviceEntry(kind, key, value);
}

bool isSound(const state::Journal& journal) {
    for (const auto& [key, value] : journal.entries())
        if (!isEntry(key, value)) return false;
    for (const state::UnfinishedStep& step : journal.unfinished())
        if (!isStep(step)) return false;
    return true;
}

bool mapsAreEmpty() {
    bool empty = true;
    forEachMap([&](const MapEntries& map) {
        map.forEachKey([&](const std::string& key) {
            state::ByteReader parts = partsOf(key);
            state::ByteWriter value;
            if (map.read(parts, value)) empty = false;
        });
    });
    return empty;
}

void restoreMaps(const state::Journal& journal) {
    for (const auto& [keyBytes, valueBytes] : journal.entries()) {
        const MapEntries* const map = mapOf(static_cast<kit::Entry>(keyBytes[0]));
        if (map == nullptr) continue;
        state::ByteReader key = partsOf(keyBytes);
        state::ByteReader value(valueBytes);
        map->restore(key, value, Reading::Restore);
    }
}

// Runs the operation that was interrupted again, if it is one of those that are finished. It may have been called
// before, and be claimed by that; it has not been since.
void finishOperation(state::Journal& journal) {
    for (const auto& entry : journal.current(kit::keyOf(kit::Entry::ToFinish))) {
        const std::string operation = entry.first.substr(kit::keyOf(kit::Entry::ToFinish).size());
        const bool done = runOperation(operation);
        const state::Operation finished;
        journal.erase(entry.first);
        if (!done) continue;
        if (!isRemoval(operation)) {
            kit::expectClaim(operation);
        } else if (isForOnce(operation)) {
            kit::noteFinished(operation);
        }
    }
}

int refuse(const char* path, const std::string& problem) {
    report(LogText("state file %s: %s", path, problem.c_str()));
    return -1;
}

}  // namespace

int openState(const char* path) {
    if (path == nullptr || *path == '\0') return refuse("", "no path");
    if (state::Journal* const open = state::journal()) {
        if (openPath() == path && !open->isKeptInPlace()) return refuse(path, "was given up while it was in use");
        if (openPath() == path) return static_cast<int>(open->entries().size());
        return refuse(path, "another one is open");
    }
    const std::string boot = bootId();
    if (boot.empty()) return refuse(path, "the kernel tells no boot id");
    auto journal = std::make_unique<state::Journal>();
    std::string problem;
    if (!journal->open(path, boot, &problem)) return refuse(path, problem);
    if (!isSound(*journal)) return refuse(path, "has a record that makes no sense");
    const std::string otherMode = problemOfMode(*journal);
    if (!otherMode.empty()) return refuse(path, otherMode);
    const bool restores = !journal->entries().empty() || !journal->unfinished().empty();
    if (restores && !mapsAreEmpty()) return refuse(path, "holds a state, and services have been provisioned already");

    forEachMap([&](const MapEntries& map) { journal->setReader(static_cast<std::uint8_t>(map.kind), map.read); });
    restoreMaps(*journal);
    openPath() = path;
    state::Journal& opened = *journal.release();  // as long as the process
    opened.setReporter([](const std::string& what) {
        logLine(kStateOpen, kLogError, LogText("state file %s: %s", openPath().c_str(), what.c_str()));
    });
    state::currentJournal.store(&opened, std::memory_order_release);
    {
        const state::Operation operation;
        const auto unfinished = opened.unfinished();
        noteMode();
        if (restores) {
            kit::expectClaims();
            expectLeftQueues();
            restoreHosts();
            settleUnfinished(unfinished);
            compareWithDevice();
            if (const std::string whole = wholeOperationOf(unfinished); !whole.empty())
                opened.put(kit::keyOf(kit::Entry::ToFinish) + whole, {});
            bringBackPlannedRules();
        } else {
            forEachMap(
                [&](const MapEntries& map) { map.forEachKey([&](const std::string& key) { opened.touch(key); }); });
        }
    }
    finishOperation(opened);
    if (restores) opened.compact();  // what led to it is of no use any more
    const int restored = restores ? static_cast<int>(opened.entries().size()) : 0;
    if (restores) logLine(kStateOpen, kLogInfo, LogText("state file %s: %d records restored", path, restored));
    return restored;
}

}  // namespace restart
