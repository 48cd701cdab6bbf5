#include "xpon/UnfinishedPon.h"

#include "device/NetworkInterface.h"
#include "kit/DeviceNames.h"
#include "kit/GemPorts.h"
#include "kit/Tconts.h"
#include "xpon/PonMaps.h"

namespace {

void removeFromDriver(std::uint16_t gemPortId) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    if (answer.known()) kit::removeGemPort(answer.port, gemPortId);
}

}  // namespace

void unbindTcont(std::uint16_t allocId, std::uint16_t tContIndex) {
    for (const auto& [otherId, otherIndex] : ponAdapter().allocIdMap) {
        if (otherIndex != tContIndex) continue;
        kit::bindTcont(tContIndex, otherId);
        return;
    }
    if (allocId != kit::kKeptAllocId) ponAdapter().resetTContObject(tContIndex);
}

void finishTcontReset(std::uint16_t allocId) {
    ponAdapter().deleteAllocId(allocId);
}

void removeNewGemPort(std::uint16_t gemPortId) {
    if (ponAdapter().gemPortMap.count(gemPortId) == 0) removeFromDriver(gemPortId);
}

void lowerPonDevice() {
    takeInterfaceDown(kPonDevice);
}

void finishGemPortRemoval(std::uint16_t gemPortId) {
    removeFromDriver(gemPortId);
    kit::forgetGemPort(gemPortId);
    if (ponAdapter().deleteGemPortMapEntry(gemPortId) == 0) return;
    ponAdapter().deleteGemPortFromTcontIdxToGemPortMap(gemPortId);  // Kept: as the removal does it
    countGemPorts(-1);
    if (g_GemCnt == 0) lowerPonDevice();
}
