#include "xpon/CleanPon.h"

#include <cstdint>
#include <cstdlib>

#include "hal/Shell.h"
#include "hal/Text.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"
#include "state/Facts.h"
#include "state/Journal.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

using Line = FixedText<128>;

OnuXponHalAdapterBCM& adapter() {
    return *OnuXponHalAdapterBCM::getInstance();
}

// True when the driver has no such port.
bool removePort(std::uint16_t gemPortId) {
    GponCtlGemPort port{};
    port.gemIndex = GPONCTL_GEM_INDEX_UNKNOWN;
    port.gemPortId = gemPortId;
    if (gponCtl_getGemPort(&port) != 0) return true;
    adapter().disableXGEM(gemPortId, port.gemIndex);
    const GponCtlGemPortDeconfig record{port.gemIndex, gemPortId};
    return gponCtl_deconfigGemPort(&record) == 0;
}

}  // namespace

void cleanPon(const std::function<void(const char*)>& refused) {
    const auto ports = adapter().gemPortMap;
    for (const auto& port : ports) {
        const std::uint16_t gemPortId = port.first;
        if (removePort(gemPortId)) {
            adapter().deleteGemPortMapEntry(gemPortId);
            state::gemPortGone(gemPortId);
        } else {
            refused(Line("GEM port %u stays: the driver refuses", gemPortId).get());
        }
    }
    if (g_GemCnt != 0 && adapter().gemPortMap.empty()) {
        g_GemCnt = 0;
        state::touched(state::Book::GemCount);
        runShell("ifconfig gpondef down");
    }
    const auto tconts = adapter().allocIdMap;
    for (const auto& [allocId, tContIndex] : tconts) {
        adapter().resetTContObject(tContIndex);
        const TmctlIf interface { tContIndex };
        TmctlQueueCfg queue{};
        if (tmctl_getQueueCfg(TMCTL_DEV_GPON, &interface, 0, &queue) == 0) {
            refused(Line("T-CONT %u stays: its queues are not given up", tContIndex).get());
            state::tcontQueues(tContIndex, true);
            continue;
        }
        adapter().deleteAllocIdMapEntry(allocId);
        adapter().deleteTcontIdxFromTcontIdxToGemPortMap(tContIndex);
    }
}
