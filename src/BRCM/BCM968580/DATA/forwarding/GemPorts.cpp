#include "BRCM/BCM968580/DATA/forwarding/GemPorts.h"

#include <optional>
#include <string>

#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"
#include "hal/BridgeRecords.h"
#include "kit/Asked.h"
#include "kit/Devices.h"
#include "kit/GemPorts.h"
#include "kit/Tconts.h"
#include "xpon/GemPortSettings.h"
#include "xpon/PonMaps.h"

namespace forwarding {

namespace {

std::string nameOf(std::uint16_t gemPortId) {
    return "GEM port " + std::to_string(gemPortId);
}

std::optional<std::uint16_t> find(const std::map<std::uint16_t, std::uint16_t>& map, std::uint16_t key) {
    const auto found = map.find(key);
    if (found == map.end()) return std::nullopt;
    return found->second;
}

bool setEnabled(std::uint16_t gemPortId, std::uint16_t gemIndex, bool enable) {
    return kit::enableGemPort(gemPortId, &gemIndex, enable) == 0;
}

class GemPortToAdd {
public:
    explicit GemPortToAdd(const XGEMConfig& record) : record_(record), id_(record.xgemPortId) {
        if (record.tContAllocId != kit::kNoAllocId) tContIndex_ = find(ponAdapter().allocIdMap, record.tContAllocId);
    }
    // What is refused; "": nothing was.
    std::string make() {
        std::string problem = findOrCreate();
        if (problem.empty()) problem = setQueue();
        if (problem.empty() && !setEnabled(id_, index_, true)) problem = nameOf(id_) + " cannot be enabled";
        if (problem.empty() && isNew_ && g_GemCnt == 0 && !kit::raisePonDevice())
            problem = "gpondef cannot be brought up";
        if (problem.empty()) note();
        return problem;
    }
    void undo(Rollback& rollback) {
        if (queueBefore_ && !kit::setTcontQueue(*tContIndex_, *queueBefore_))
            rollback.cannotRestore("queue " + std::to_string(record_.upstreamQueue));
        if (isCreated_) {
            GponCtlGemPort port{};
            port.gemIndex = index_;
            port.gemPortId = id_;
            if (!kit::removeGemPort(port, id_)) rollback.stays(nameOf(id_));
        } else if (isNew_ && !wasEnabled_) {
            setEnabled(id_, index_, false);
        }
    }

private:
    std::string findOrCreate() {
        if (const auto known = find(ponAdapter().gemPortMap, id_)) {
            kit::noteIncomplete();
            index_ = *known;
            isNew_ = false;
            return "";
        }
        GponCtlGemPortConfig config = gemPortConfig(id_, record_.tContAllocId);
        const int result = kit::createGemPort(config);
        if (result == 0) {
            isCreated_ = true;
            index_ = config.gemIndex;
            return "";
        }
        const kit::GemPortAnswer answer = kit::gemPortById(id_);
        if (result != GPONCTL_ERROR_GEM_PORT_EXISTS || !answer.known())
            return nameOf(id_) + ": the driver answers " + std::to_string(result);
        index_ = answer.port.gemIndex;
        wasEnabled_ = answer.enabled();
        return "";
    }

    std::string setQueue() {
        const std::uint16_t queue = record_.upstreamQueue;
        if (!tContIndex_ || queue > kMaxGemQueue) return "";
        const std::string refusal = nameOf(id_) + ": queue " + std::to_string(queue) + " of T-CONT " +
                                    std::to_string(*tContIndex_) + " is refused";
        queueBefore_ = kit::tcontQueue(*tContIndex_, queue);
        const GemPortScheduling scheduling{record_.schedPolicy, record_.priority, record_.weight};
        const bool isSet = queueBefore_ && setGemPortQueue(*tContIndex_, queue, *queueBefore_, scheduling);
        return isSet ? "" : refusal;
    }

    void note() {
        kit::noteNeed(kit::Entry::PonGem, id_);
        if (!isNew_) return;
        ponAdapter().insertGemPortMapEntry(id_, index_);
        if (tContIndex_) ponAdapter().insertTcontIdxToGemPortMapEntry(*tContIndex_, index_);
        countGemPorts(1);
    }

    const XGEMConfig& record_;
    const std::uint16_t id_;
    std::optional<std::uint16_t> tContIndex_;
    std::optional<TmctlQueueCfg> queueBefore_;
    std::uint16_t index_ = kit::kNoGemIndex;
    bool isNew_ = true;  // to this process
    bool isCreated_ = false, wasEnabled_ = false;
};

}  // namespace

bool addGemPort(const XGEMConfig& record) {
    if (record.xgemPortId == vorn_tagging::kNoGemPort)  // a p-bit that has it has none
        return isDone("gemflow_add", {false, "a GEM port has no id 65535"});
    const state::Operation operation;
    GemPortToAdd port(record);
    const std::string problem = port.make();
    if (problem.empty()) return true;
    Rollback rollback(problem);
    port.undo(rollback);
    return rollback.report("gemflow_add");
}

// The device goes down first: nothing is to undo when that is refused, and the port goes last.
bool removeGemPort(std::uint16_t gemPortId) {
    constexpr const char* kOperation = "gemflow_del";
    const std::string name = nameOf(gemPortId);
    if (!find(ponAdapter().gemPortMap, gemPortId)) return true;
    const kit::BegunStep step(kit::Step::RemoveGemPort, gemPortId);
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    if (!answer.known()) return isDone(kOperation, {false, name + ": the driver does not say what it has"});
    const bool isLast = g_GemCnt == 1;
    if (isLast && !kit::setPonDeviceUp(false)) return isDone(kOperation, {false, "gpondef cannot be taken down"});
    if (!kit::removeGemPort(answer.port, gemPortId)) {
        Rollback rollback(name + " cannot be removed");
        if (answer.enabled() && !setEnabled(gemPortId, answer.port.gemIndex, true)) rollback.cannotRestore(name);
        if (isLast && !kit::setPonDeviceUp(true)) rollback.cannotRestore("gpondef");
        return rollback.report(kOperation);
    }
    ponAdapter().deleteGemPortMapEntry(gemPortId);
    ponAdapter().deleteGemPortFromTcontIdxToGemPortMap(answer.port.gemIndex);
    countGemPorts(-1);
    return true;
}

bool enableGemPort(std::uint16_t gemPortId, bool enable) {
    constexpr const char* kOperation = "set_gemPortStatus";
    const auto index = find(ponAdapter().gemPortMap, gemPortId);
    if (!index) return isDone(kOperation, {false, nameOf(gemPortId) + " is not known"});
    return setEnabled(gemPortId, *index, enable) ||
           isDone(kOperation, {false, nameOf(gemPortId) + ": the driver refuses"});
}

}  // namespace forwarding
