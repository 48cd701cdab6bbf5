#include "xpon/CleanPon.h"

#include <cstdint>
#include <cstdlib>

#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/GemPorts.h"
#include "kit/Tconts.h"
#include "xpon/PonMaps.h"

namespace {

using Line = FixedText<128>;

// True when the driver has no such port.
bool removePort(std::uint16_t gemPortId) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    return !answer.known() || kit::removeGemPort(answer.port, gemPortId);
}

}  // namespace

void cleanPon(const std::function<void(const char*)>& refused) {
    const auto ports = ponAdapter().gemPortMap;
    for (const auto& port : ports) {
        const std::uint16_t gemPortId = port.first;
        if (removePort(gemPortId)) {
            ponAdapter().deleteGemPortMapEntry(gemPortId);
            kit::forgetGemPort(gemPortId);
        } else {
            refused(Line("GEM port %u stays: the driver refuses", gemPortId).get());
        }
    }
    if (g_GemCnt != 0 && ponAdapter().gemPortMap.empty()) {
        countGemPorts(-g_GemCnt);
        runShell("ifconfig gpondef down");
    }
    const auto tconts = ponAdapter().allocIdMap;
    for (const auto& [allocId, tContIndex] : tconts) {
        ponAdapter().resetTContObject(tContIndex);
        if (kit::tcontQueue(tContIndex, 0)) {
            refused(Line("T-CONT %u stays: its queues are not given up", tContIndex).get());
            kit::noteTcontQueues(tContIndex, true);
            continue;
        }
        ponAdapter().deleteAllocIdMapEntry(allocId);
        ponAdapter().deleteTcontIdxFromTcontIdxToGemPortMap(tContIndex);
    }
}
