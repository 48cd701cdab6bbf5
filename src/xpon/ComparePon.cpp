#include "xpon/ComparePon.h"

#include <set>

#include "hal/Text.h"
#include "kit/GemPorts.h"
#include "kit/Tconts.h"
#include "xpon/PonMaps.h"

namespace {

using Line = FixedText<128>;
using Report = std::function<void(const char*)>;

void forgetPort(std::uint16_t gemPortId) {
    ponAdapter().deleteGemPortMapEntry(gemPortId);
    kit::forgetGemPort(gemPortId);
    countGemPorts(-1);  // how often it was configured is not known: once is the rule
}

void comparePort(std::uint16_t gemPortId, std::uint16_t gemIndex, const Report& report) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    if (!answer.known()) {
        report(Line("GEM port %u is no longer there: forgotten", gemPortId).get());
        forgetPort(gemPortId);
    } else if (answer.port.gemIndex != gemIndex) {
        report(Line("GEM port %u has index %u, not %u", gemPortId, answer.port.gemIndex, gemIndex).get());
        setGemIndex(gemPortId, answer.port.gemIndex);
    }
}

void comparePortState(std::uint16_t gemPortId, bool up, const Report& report) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    if (!answer.known()) return;  // said already
    const bool isUp = answer.enabled();
    if (isUp != up)
        report(Line("GEM port %u is %s, not %s", gemPortId, isUp ? "up" : "down", up ? "up" : "down").get());
}

void nameUnknownPorts(const Report& report) {
    for (std::uint16_t index = 0; index <= kit::kMaxGemIndex; ++index) {
        const kit::GemPortAnswer answer = kit::gemPortByIndex(index);
        const std::uint16_t gemPortId = answer.port.gemPortId;
        if (answer.known() && ponAdapter().gemPortMap.count(gemPortId) == 0)
            report(Line("GEM port %u with index %u is on the device and not in the state", gemPortId, index).get());
    }
}

void compareTcont(std::uint16_t tContIndex, const Report& report) {
    if (kit::tcontQueue(tContIndex, 0)) return;
    report(Line("T-CONT %u has no queues any more: forgotten", tContIndex).get());
    std::set<std::uint16_t> allocIds;
    for (const auto& [allocId, index] : ponAdapter().allocIdMap)
        if (index == tContIndex) allocIds.insert(allocId);
    for (const std::uint16_t allocId : allocIds) ponAdapter().deleteAllocIdMapEntry(allocId);
    ponAdapter().deleteTcontIdxFromTcontIdxToGemPortMap(tContIndex);
    kit::noteTcontQueues(tContIndex, false);
}

}  // namespace

void comparePon(const std::vector<std::pair<std::uint16_t, bool>>& ports,
                const std::vector<std::uint16_t>& tcontsWithQueues, const Report& report) {
    for (const std::uint16_t tContIndex : tcontsWithQueues) compareTcont(tContIndex, report);
    const auto known = ponAdapter().gemPortMap;
    for (const auto& [gemPortId, gemIndex] : known) comparePort(gemPortId, gemIndex, report);
    for (const auto& [gemPortId, up] : ports) comparePortState(gemPortId, up, report);
    nameUnknownPorts(report);
}
