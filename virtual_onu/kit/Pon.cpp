// The PON side: T-CONTs with their upstream queues, GEM ports, the link's administrative state.
#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "Core.h"
#include "Facilities.h"
#include "StateJson.h"
#include "kit/PonTables.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"

namespace virtual_onu {

namespace {

constexpr unsigned kGemPorts = 256;
using pon::kCounters;
using pon::kQueuesPerTcont;
using pon::kTconts;

struct PonState {
    std::map<unsigned, Tcont> tconts;      // by index: bound to an alloc-id or traffic-managed
    std::map<unsigned, GemPort> gemPorts;  // by port id
    std::optional<unsigned> adminState;
};

PonState& ponState() {
    static PonState& state = *new PonState;
    return state;
}

Tcont& tcontAt(unsigned index) {
    auto& tcont = ponState().tconts[index];
    tcont.index = index;
    persistence::changed(persistence::kTconts, index);
    return tcont;
}

void forgetIfUnused(unsigned index) {
    const auto& tcont = ponState().tconts[index];
    if (tcont.allocId == pon::kNoAllocId && !tcont.trafficManaged) ponState().tconts.erase(index);
}

GemPort* findGemPort(unsigned portId) {
    const auto found = ponState().gemPorts.find(portId);
    return found == ponState().gemPorts.end() ? nullptr : &found->second;
}

GemPort* findGemPortByIndex(unsigned index) {
    for (auto& entry : ponState().gemPorts) {
        if (entry.second.index == index) return &entry.second;
    }
    return nullptr;
}

// A query names the port by its index, or by its id when the index is unknown.
GemPort* queriedGemPort(unsigned index, unsigned portId) {
    return index == GPONCTL_GEM_INDEX_UNKNOWN ? findGemPort(portId) : findGemPortByIndex(index);
}

// A change names both.
GemPort* changedGemPort(unsigned index, unsigned portId) {
    GemPort* port = findGemPort(portId);
    return port != nullptr && port->index == index ? port : nullptr;
}

// The lowest free index from 1 on; index 0 is given out last. Nothing when all are taken.
std::optional<unsigned> freeGemIndex() {
    std::vector<bool> taken(kGemPorts, false);
    for (const auto& entry : ponState().gemPorts) {
        if (entry.second.index < kGemPorts) taken[entry.second.index] = true;
    }
    for (unsigned i = 1; i <= kGemPorts; ++i) {
        if (!taken[i % kGemPorts]) return i % kGemPorts;
    }
    return std::nullopt;
}

int configureGemPort(GponCtlGemPortConfig& record) {
    deviceChanged();
    // The record's index stays as it came in.
    if (findGemPort(record.gemPortId) != nullptr) return GPONCTL_ERROR_GEM_PORT_EXISTS;
    std::optional<unsigned> index = record.gemIndex;
    if (record.gemIndex == GPONCTL_GEM_INDEX_UNKNOWN) {
        index = freeGemIndex();
        if (!index) return ENOSPC;
    } else if (*index >= kGemPorts) {
        return EINVAL;
    } else if (findGemPortByIndex(*index) != nullptr) {
        return EBUSY;
    }
    persistence::changed(persistence::kGemPorts, record.gemPortId);
    ponState().gemPorts[record.gemPortId] = {*index,         record.gemPortId,
                                             record.allocId, record.downstreamOnly != 0,
                                             false,          std::vector<std::uint32_t>(kCounters)};
    record.gemIndex = static_cast<std::uint16_t>(*index);
    return 0;
}

int gponCall(const char* name, const std::string& argumentList, const std::function<int()>& work) {
    return platformCall(name, argumentList, [&] {
        const DeviceAccess lock(deviceMutex());
        deviceChanged();
        return work();
    });
}

// A traffic-management call on a T-CONT that portTmInit has prepared.
int queueCall(const char* name, int deviceType, const TmctlIf& interface, const std::string& argumentList,
              const std::function<int(Tcont&)>& work) {
    return gponCall(name, arguments(deviceType, interface.tcontIndex) + argumentList, [&] {
        if (deviceType != TMCTL_DEV_GPON) return EINVAL;
        const auto tcont = ponState().tconts.find(interface.tcontIndex);
        if (tcont == ponState().tconts.end() || !tcont->second.trafficManaged) return ENODEV;
        return work(tcont->second);
    });
}

std::vector<Queue>::iterator queueAt(Tcont& tcont, unsigned id) {
    return std::find_if(tcont.queues.begin(), tcont.queues.end(), [&](const Queue& queue) { return queue.id == id; });
}

std::string queueText(const TmctlQueueCfg& config) {
    return "queue " + std::to_string(config.queueId) + " priority " + std::to_string(config.priority) + " size " +
           std::to_string(config.queueSize) + " weight " + std::to_string(config.weight) + " mode " +
           std::to_string(config.schedMode) + " rate " + std::to_string(config.shapingRate) + " burst " +
           std::to_string(config.shapingBurst);
}

}  // namespace

namespace pon {

void reset() {
    const DeviceAccess lock(deviceMutex());
    ponState() = PonState{};
    deviceChanged();
}

std::map<unsigned, GemPort>& gemPortsInPlace() {
    return ponState().gemPorts;
}

std::map<unsigned, Tcont>& tcontsInPlace() {
    return ponState().tconts;
}

std::optional<unsigned>& adminStateInPlace() {
    return ponState().adminState;
}

nlohmann::json toJson() {
    const VirtualOnu& onu = VirtualOnu::instance();
    auto tconts = nlohmann::json::array(), ports = nlohmann::json::array();
    for (const Tcont& tcont : onu.tconts()) tconts.push_back(stateJson(tcont));
    for (const GemPort& port : onu.gemPorts()) ports.push_back(stateJson(port));
    const auto state = onu.adminState();
    return {{"tconts", std::move(tconts)},
            {"gemPorts", std::move(ports)},
            {"adminState", state ? nlohmann::json(*state) : nlohmann::json()}};
}

}  // namespace pon

bool GemPort::operator==(const GemPort& other) const {
    return sameFields(*this, other);
}
bool Queue::operator==(const Queue& other) const {
    return sameFields(*this, other);
}
bool Tcont::operator==(const Tcont& other) const {
    return sameFields(*this, other);
}

// ---- the facade's view ----

std::vector<Tcont> VirtualOnu::tconts() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<Tcont> result;
    for (const auto& entry : ponState().tconts) result.push_back(entry.second);
    return result;
}

std::optional<Tcont> VirtualOnu::tcont(unsigned index) const {
    const DeviceAccess lock(deviceMutex());
    const auto found = ponState().tconts.find(index);
    return found == ponState().tconts.end() ? std::nullopt : std::optional<Tcont>(found->second);
}

std::vector<GemPort> VirtualOnu::gemPorts() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<GemPort> result;
    for (const auto& entry : ponState().gemPorts) result.push_back(entry.second);
    return result;
}

std::optional<GemPort> VirtualOnu::gemPort(unsigned portId) const {
    const DeviceAccess lock(deviceMutex());
    const GemPort* port = findGemPort(portId);
    return port == nullptr ? std::nullopt : std::optional<GemPort>(*port);
}

void VirtualOnu::addGemPort(unsigned portId, unsigned index, unsigned allocId) {
    const DeviceAccess lock(deviceMutex());
    if (index > 0xffff || portId > 0xffff) throw std::invalid_argument("addGemPort: out of range");
    if (findGemPort(portId) != nullptr || findGemPortByIndex(index) != nullptr) {
        throw std::invalid_argument("addGemPort: port id or index is taken");
    }
    deviceChanged();
    persistence::changed(persistence::kGemPorts, portId);
    ponState().gemPorts[portId] = {
        index, portId, allocId, allocId == pon::kNoAllocId, false, std::vector<std::uint32_t>(kCounters)};
}

void VirtualOnu::setGemCounter(unsigned portId, unsigned counter, std::uint32_t value) {
    const DeviceAccess lock(deviceMutex());
    GemPort* port = findGemPort(portId);
    if (port == nullptr || counter >= kCounters) throw std::invalid_argument("setGemCounter: no such port or counter");
    port->counters[counter] = value;
    persistence::changed(persistence::kGemPorts, portId);
}

std::optional<unsigned> VirtualOnu::adminState() const {
    const DeviceAccess lock(deviceMutex());
    return ponState().adminState;
}

}  // namespace virtual_onu

// ---- the kit's functions ----

using namespace virtual_onu;

int gponCtl_configTcontAllocId(const GponCtlTcontAllocId* record) {
    const unsigned index = record->tcontIndex;
    const unsigned allocId = record->allocId;
    return gponCall("gponCtl_configTcontAllocId", arguments(index, allocId), [&] {
        if (index >= kTconts) return EINVAL;
        tcontAt(index).allocId = allocId;
        forgetIfUnused(index);
        return 0;
    });
}

int gponCtl_deconfigTcontAllocId(const GponCtlTcontAllocId* record) {
    const unsigned index = record->tcontIndex;
    return gponCall("gponCtl_deconfigTcontAllocId", arguments(index, unsigned{record->allocId}), [&] {
        const auto tcont = ponState().tconts.find(index);
        if (tcont == ponState().tconts.end() || tcont->second.allocId == pon::kNoAllocId) return ENOENT;
        tcont->second.allocId = pon::kNoAllocId;
        persistence::changed(persistence::kTconts, index);
        forgetIfUnused(index);
        return 0;
    });
}

int gponCtl_configGemPort(GponCtlGemPortConfig* record) {
    const auto asked = arguments(record->gemPortId, record->allocId, record->downstreamOnly);
    return platformCallWithOut(
        "gponCtl_configGemPort", [&] { return asked + ", " + arguments(out(record->gemIndex)); },
        [&] {
            const DeviceAccess lock(deviceMutex());
            return configureGemPort(*record);
        });
}

int gponCtl_deconfigGemPort(const GponCtlGemPortDeconfig* record) {
    return gponCall("gponCtl_deconfigGemPort", arguments(record->gemIndex, record->gemPortId), [&] {
        const GemPort* port = changedGemPort(record->gemIndex, record->gemPortId);
        if (port == nullptr) return ENOENT;
        persistence::changed(persistence::kGemPorts, port->portId);
        ponState().gemPorts.erase(port->portId);
        return 0;
    });
}

int gponCtl_getGemPort(GponCtlGemPort* record) {
    const auto asked = arguments(record->gemPortId);
    return platformCallWithOut(
        "gponCtl_getGemPort", [&] { return asked + ", " + arguments(out(record->gemIndex)); },
        [&] {
            const DeviceAccess lock(deviceMutex());
            const GemPort* port = queriedGemPort(record->gemIndex, record->gemPortId);
            if (port == nullptr) return ENOENT;
            record->gemIndex = static_cast<std::uint16_t>(port->index);
            record->gemPortId = static_cast<std::uint16_t>(port->portId);
            std::fill(std::begin(record->output), std::end(record->output), std::uint8_t{0});
            record->output[0] = static_cast<std::uint8_t>(port->allocId & 0xff);
            record->output[1] = static_cast<std::uint8_t>(port->allocId >> 8);
            record->output[GPONCTL_GEM_PORT_OUTPUT_ENABLED] = port->enabled ? 1 : 0;
            return 0;
        });
}

int gponCtl_enableGemPort(GponCtlGemPortEnable* record) {
    return gponCall("gponCtl_enableGemPort", arguments(record->gemIndex, record->gemPortId, record->enable), [&] {
        GemPort* port = changedGemPort(record->gemIndex, record->gemPortId);
        if (port == nullptr) return ENOENT;
        port->enabled = record->enable != 0;
        persistence::changed(persistence::kGemPorts, port->portId);
        return 0;
    });
}

int gponCtl_getGemPortCounters(GponCtlGemPortCounters* record) {
    return gponCall("gponCtl_getGemPortCounters", arguments(record->gemIndex, record->gemPortId), [&] {
        const GemPort* port = queriedGemPort(record->gemIndex, record->gemPortId);
        if (port == nullptr) return ENOENT;
        record->gemIndex = static_cast<std::uint16_t>(port->index);
        record->gemPortId = static_cast<std::uint16_t>(port->portId);
        std::copy(port->counters.begin(), port->counters.end(), record->counter);
        return 0;
    });
}

int gponCtl_startAdminState(const GponCtlAdminState* record) {
    const unsigned state = record->state;
    return gponCall("gponCtl_startAdminState", arguments(state), [&] {
        ponState().adminState = state;
        persistence::changed(persistence::kPonLink);
        return 0;
    });
}

const char* gponCtl_getMsgError(int error) {
    record(CallKind::Platform, "gponCtl_getMsgError", arguments(error), 0);
    static constexpr std::pair<int, const char*> kWords[] = {
        {0, "no error"},
        {GPONCTL_ERROR_GEM_PORT_EXISTS, "GEM port exists already"},
        {EACCES, "permission denied"},
        {EBUSY, "busy"},
        {EINVAL, "invalid argument"},
        {EIO, "input/output error"},
        {EMFILE, "too many open files"},
        {ENODEV, "no such device"},
        {ENOENT, "no such entry"},
        {ENOSPC, "no space left"},
        {ENXIO, "no such device or address"},
    };
    for (const auto& [number, words] : kWords)
        if (number == error) return words;
    return "unknown error";
}

int tmctl_portTmInit(int deviceType, const TmctlIf* interface, unsigned int configFlags, int queueCount) {
    const unsigned index = interface->tcontIndex;
    return gponCall("tmctl_portTmInit", arguments(deviceType, index, configFlags, queueCount), [&] {
        if (deviceType != TMCTL_DEV_GPON || index >= kTconts) return EINVAL;
        tcontAt(index).trafficManaged = true;
        return 0;
    });
}

int tmctl_portTmUninit(int deviceType, const TmctlIf* interface) {
    return queueCall("tmctl_portTmUninit", deviceType, *interface, "", [](Tcont& tcont) {
        persistence::changed(persistence::kTconts, tcont.index);
        tcont.trafficManaged = false;
        tcont.queues.clear();
        forgetIfUnused(tcont.index);
        return 0;
    });
}

int tmctl_getQueueCfg(int deviceType, const TmctlIf* interface, int queueId, TmctlQueueCfg* config) {
    return queueCall("tmctl_getQueueCfg", deviceType, *interface, ", " + arguments(queueId), [&](Tcont& tcont) {
        const auto queue = queueAt(tcont, static_cast<unsigned>(queueId));
        if (queue == tcont.queues.end()) return ENOENT;
        *config = {queue->id,        queue->priority,    queue->size,         queue->weight,
                   queue->schedMode, queue->shapingRate, queue->shapingBurst, 0};
        return 0;
    });
}

int tmctl_setQueueCfg(int deviceType, const TmctlIf* interface, const TmctlQueueCfg* config) {
    return queueCall("tmctl_setQueueCfg", deviceType, *interface, ", " + queueText(*config), [&](Tcont& tcont) {
        if (config->queueId >= kQueuesPerTcont) return EINVAL;
        if (config->schedMode != TMCTL_SCHED_STRICT_PRIORITY && config->schedMode != TMCTL_SCHED_WEIGHTED_ROUND_ROBIN) {
            return EINVAL;
        }
        persistence::changed(persistence::kTconts, tcont.index);
        Queue wanted{config->queueId,   config->priority,    config->queueSize,   config->weight,
                     config->schedMode, config->shapingRate, config->shapingBurst};
        const auto queue = queueAt(tcont, wanted.id);
        if (queue != tcont.queues.end()) {
            wanted.frames = queue->frames;
            wanted.octets = queue->octets;
            *queue = wanted;
            return 0;
        }
        const auto after = std::find_if(tcont.queues.begin(), tcont.queues.end(),
                                        [&](const Queue& other) { return other.id > wanted.id; });
        tcont.queues.insert(after, wanted);
        return 0;
    });
}

int tmctl_delQueueCfg(int deviceType, const TmctlIf* interface, int queueId) {
    return queueCall("tmctl_delQueueCfg", deviceType, *interface, ", " + arguments(queueId), [&](Tcont& tcont) {
        const auto queue = queueAt(tcont, static_cast<unsigned>(queueId));
        if (queue == tcont.queues.end()) return ENOENT;
        persistence::changed(persistence::kTconts, tcont.index);
        tcont.queues.erase(queue);
        return 0;
    });
}
