#include "xpon/CleanPon.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "hal/Text.h"
#include "kit/Devices.h"
#include "kit/GemPorts.h"
#include "kit/StateEntries.h"
#include "kit/Tconts.h"
#include "xpon/PonMaps.h"

namespace {

using Line = FixedText<128>;
using Stays = std::function<bool(std::uint16_t)>;

// True when the driver has no such port.
bool removePort(std::uint16_t gemPortId) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    return !answer.known() || kit::removeGemPort(answer.port, gemPortId);
}

// The T-CONT is another one's by now: only the name goes.
bool isBoundByAnother(std::uint16_t allocId, std::uint16_t tContIndex) {
    const auto& bound = ponAdapter().allocIdMap;
    return std::any_of(bound.begin(), bound.end(),
                       [&](const auto& other) { return other.first != allocId && other.second == tContIndex; });
}

}  // namespace

int cleanPon(const Stays& portStays, const Stays& tcontStays, const std::function<void(const char*)>& refused) {
    int removed = 0;
    const auto ports = ponAdapter().gemPortMap;
    for (const auto& port : ports) {
        const std::uint16_t gemPortId = port.first;
        if (portStays(gemPortId)) continue;
        if (removePort(gemPortId)) {
            ponAdapter().deleteGemPortMapEntry(gemPortId);
            kit::forgetGemPort(gemPortId);
            ++removed;
        } else {
            refused(Line("GEM port %u stays: the driver refuses", gemPortId).get());
        }
    }
    // How often each was configured is not known: once is the rule.
    const auto left = static_cast<std::int32_t>(ponAdapter().gemPortMap.size());
    if (removed > 0 && g_GemCnt > left) countGemPorts(left - g_GemCnt);
    if (removed > 0 && left == 0) kit::setPonDeviceUp(false);

    const auto tconts = ponAdapter().allocIdMap;
    for (const auto& [allocId, tContIndex] : tconts) {
        if (tcontStays(allocId)) continue;
        if (isBoundByAnother(allocId, tContIndex)) {
            ponAdapter().deleteAllocIdMapEntry(allocId);
            continue;
        }
        const kit::BegunStep step(kit::Step::ResetTcont, allocId);  // its queues go before its binding
        ponAdapter().resetTContObject(tContIndex);
        if (kit::tcontQueue(tContIndex, 0)) {
            refused(Line("T-CONT %u stays: its queues are not given up", tContIndex).get());
            kit::noteTcontQueues(tContIndex, true);
            continue;
        }
        ponAdapter().deleteAllocIdMapEntry(allocId);
        ponAdapter().deleteTcontIdxFromTcontIdxToGemPortMap(tContIndex);
        ++removed;
    }
    return removed;
}
