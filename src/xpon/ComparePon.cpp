#include "xpon/ComparePon.h"

#include <set>

#include "hal/Text.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"
#include "state/Facts.h"
#include "state/Journal.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

constexpr std::uint16_t kGemIndexes = 256;
using Line = FixedText<128>;
using Tell = std::function<void(const char*)>;

OnuXponHalAdapterBCM& adapter() {
    return *OnuXponHalAdapterBCM::getInstance();
}

bool ask(std::uint16_t gemIndex, std::uint16_t gemPortId, GponCtlGemPort* answer) {
    *answer = {};
    answer->gemIndex = gemIndex;
    answer->gemPortId = gemPortId;
    return gponCtl_getGemPort(answer) == 0;
}

void forgetPort(std::uint16_t gemPortId) {
    adapter().deleteGemPortMapEntry(gemPortId);
    state::gemPortGone(gemPortId);
    --g_GemCnt;  // as often as it was configured is not known: once is the rule
    state::touched(state::Book::GemCount);
}

void comparePort(std::uint16_t gemPortId, std::uint16_t gemIndex, const Tell& tell) {
    GponCtlGemPort standing{};
    if (!ask(GPONCTL_GEM_INDEX_UNKNOWN, gemPortId, &standing)) {
        tell(Line("GEM port %u is no longer there: forgotten", gemPortId).get());
        forgetPort(gemPortId);
    } else if (standing.gemIndex != gemIndex) {
        tell(Line("GEM port %u has index %u, not %u", gemPortId, standing.gemIndex, gemIndex).get());
        adapter().gemPortMap[gemPortId] = standing.gemIndex;
        state::touched(state::Book::PonGem, gemPortId);
    }
}

void comparePortState(std::uint16_t gemPortId, bool up, const Tell& tell) {
    GponCtlGemPort standing{};
    if (!ask(GPONCTL_GEM_INDEX_UNKNOWN, gemPortId, &standing)) return;  // said already
    const bool isUp = standing.output[GPONCTL_GEM_PORT_OUTPUT_ENABLED] != 0;
    if (isUp != up) tell(Line("GEM port %u is %s, not %s", gemPortId, isUp ? "up" : "down", up ? "up" : "down").get());
}

void nameUnknownPorts(const Tell& tell) {
    for (std::uint16_t index = 0; index < kGemIndexes; ++index) {
        GponCtlGemPort port{};
        if (ask(index, 0, &port) && adapter().gemPortMap.count(port.gemPortId) == 0)
            tell(Line("GEM port %u with index %u is on the device and not in the state", port.gemPortId, index).get());
    }
}

void compareTcont(std::uint16_t tContIndex, const Tell& tell) {
    const TmctlIf interface { tContIndex };
    TmctlQueueCfg queue{};
    if (tmctl_getQueueCfg(TMCTL_DEV_GPON, &interface, 0, &queue) == 0) return;
    tell(Line("T-CONT %u has no queues any more: forgotten", tContIndex).get());
    std::set<std::uint16_t> allocIds;
    for (const auto& [allocId, index] : adapter().allocIdMap)
        if (index == tContIndex) allocIds.insert(allocId);
    for (const std::uint16_t allocId : allocIds) adapter().deleteAllocIdMapEntry(allocId);
    adapter().deleteTcontIdxFromTcontIdxToGemPortMap(tContIndex);
    state::tcontQueues(tContIndex, false);
}

}  // namespace

void comparePon(const std::vector<std::pair<std::uint16_t, bool>>& ports,
                const std::vector<std::uint16_t>& tcontsWithQueues, const Tell& tell) {
    for (const std::uint16_t tContIndex : tcontsWithQueues) compareTcont(tContIndex, tell);
    const auto known = adapter().gemPortMap;
    for (const auto& [gemPortId, gemIndex] : known) comparePort(gemPortId, gemIndex, tell);
    for (const auto& [gemPortId, up] : ports) comparePortState(gemPortId, up, tell);
    nameUnknownPorts(tell);
}
