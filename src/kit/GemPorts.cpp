#include "kit/GemPorts.h"

#include "kit/StateEntries.h"

namespace kit {

namespace {

GemPortAnswer ask(std::uint16_t gemIndex, std::uint16_t gemPortId) {
    GemPortAnswer answer{};
    answer.port.gemIndex = gemIndex;
    answer.port.gemPortId = gemPortId;
    answer.result = gponCtl_getGemPort(&answer.port);
    return answer;
}

GemPortCounters askCounters(std::uint16_t gemIndex, std::uint16_t gemPortId) {
    GemPortCounters answer{};
    answer.port.gemIndex = gemIndex;
    answer.port.gemPortId = gemPortId;
    answer.result = gponCtl_getGemPortCounters(&answer.port);
    return answer;
}

// GPON control's counters over all GEM ports are asked for with this index and port id.
constexpr std::uint16_t kAllGemPortsIndex = 65534;
constexpr std::uint16_t kAllGemPortsId = 65535;

}  // namespace

GemPortAnswer gemPortById(std::uint16_t gemPortId) {
    return ask(GPONCTL_GEM_INDEX_UNKNOWN, gemPortId);
}

GemPortAnswer gemPortByIndex(std::uint16_t gemIndex) {
    return ask(gemIndex, 0);
}

GemPortCounters countersOfGemPort(std::uint16_t gemPortId) {
    return askCounters(GPONCTL_GEM_INDEX_UNKNOWN, gemPortId);
}

GemPortCounters countersOfAllGemPorts() {
    return askCounters(kAllGemPortsIndex, kAllGemPortsId);
}

int createGemPort(GponCtlGemPortConfig& config) {
    const state::Operation operation;
    state::Journal* const journal = state::journal();
    if (journal != nullptr && !gemPortById(config.gemPortId).known())
        journal->intend(stepOf(Step::CreateGemPort, config.gemPortId));
    return gponCtl_configGemPort(&config);
}

bool removeGemPort(const GponCtlGemPort& port, std::uint16_t gemPortId) {
    const BegunStep step(Step::RemoveGemPort, gemPortId);
    std::uint16_t gemIndex = port.gemIndex;
    enableGemPort(port.gemPortId, &gemIndex, false);
    GponCtlGemPortDeconfig record{};
    record.gemIndex = port.gemIndex;
    record.gemPortId = gemPortId;
    const bool removed = gponCtl_deconfigGemPort(&record) == 0;
    if (removed) forgetGemPort(gemPortId);
    return removed;
}

int enableGemPort(std::uint16_t gemPortId, std::uint16_t* gemIndex, bool enable) {
    const state::Operation operation;
    GponCtlGemPortEnable record{};
    record.gemIndex = *gemIndex;
    record.gemPortId = gemPortId;
    record.enable = enable ? 1 : 0;
    const int result = gponCtl_enableGemPort(&record);
    *gemIndex = record.gemIndex;
    if (state::Journal* const journal = state::journal(); journal != nullptr && result == 0)
        journal->put(keyOf(Entry::GemUp, record.gemPortId), state::ByteWriter().add(record.enable != 0).take());
    return result;
}

void forgetGemPort(std::uint16_t gemPortId) {
    noteMark(false, Entry::GemUp, gemPortId);
}

}  // namespace kit
