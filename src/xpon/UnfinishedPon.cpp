#include "xpon/UnfinishedPon.h"

#include "device/NetworkInterface.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "state/Facts.h"
#include "state/Journal.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

constexpr std::uint16_t kKeptAllocId = 255;  // its T-CONT is never reset
constexpr std::uint16_t kNoAllocId = 65535;
constexpr const char* kPonDevice = "gpondef";

OnuXponHalAdapterBCM& adapter() {
    return *OnuXponHalAdapterBCM::getInstance();
}

// The driver's index of the port; false when it does not know the port.
bool indexOnDevice(std::uint16_t gemPortId, std::uint16_t* gemIndex) {
    GponCtlGemPort query{};
    query.gemIndex = GPONCTL_GEM_INDEX_UNKNOWN;
    query.gemPortId = gemPortId;
    if (gponCtl_getGemPort(&query) != 0) return false;
    *gemIndex = query.gemIndex;
    return true;
}

void takeOffDevice(std::uint16_t gemPortId, std::uint16_t gemIndex) {
    adapter().disableXGEM(gemPortId, gemIndex);
    const GponCtlGemPortDeconfig record{gemIndex, gemPortId};
    if (gponCtl_deconfigGemPort(&record) == 0) state::gemPortGone(gemPortId);
}

}  // namespace

void unbindTcont(std::uint16_t allocId, std::uint16_t tContIndex) {
    for (const auto& [otherId, otherIndex] : adapter().allocIdMap) {
        if (otherIndex != tContIndex) continue;
        GponCtlTcontAllocId binding{static_cast<std::uint8_t>(tContIndex), 0, kNoAllocId};
        gponCtl_configTcontAllocId(&binding);
        binding.allocId = otherId;
        gponCtl_configTcontAllocId(&binding);
        return;
    }
    if (allocId != kKeptAllocId) adapter().resetTContObject(tContIndex);
}

void finishTcontReset(std::uint16_t allocId) {
    adapter().deleteAllocId(allocId);
}

void removeNewGemPort(std::uint16_t gemPortId) {
    std::uint16_t gemIndex = 0;
    if (adapter().gemPortMap.count(gemPortId) == 0 && indexOnDevice(gemPortId, &gemIndex))
        takeOffDevice(gemPortId, gemIndex);
}

void lowerPonDevice() {
    takeInterfaceDown(kPonDevice);
}

void finishGemPortRemoval(std::uint16_t gemPortId) {
    std::uint16_t standing = 0;
    if (indexOnDevice(gemPortId, &standing)) takeOffDevice(gemPortId, standing);
    state::gemPortGone(gemPortId);
    if (adapter().deleteGemPortMapEntry(gemPortId) == 0) return;
    adapter().deleteGemPortFromTcontIdxToGemPortMap(gemPortId);  // Kept: as the removal does it
    --g_GemCnt;
    state::touched(state::Book::GemCount);
    if (g_GemCnt == 0) lowerPonDevice();
}
