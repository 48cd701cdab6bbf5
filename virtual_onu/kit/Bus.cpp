// The message bus with the gateway behind it, timers, message memory, persistent storage.
//
// The bus has a lock of its own, since its readers wait on it; the device lock is never taken under it.
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "OwnThread.h"
#include "Section.h"
#include "platform/cms.h"
#include "platform/kit_numbers.h"

namespace virtual_onu {

namespace {

using Clock = std::chrono::steady_clock;
using BusLock = std::unique_lock<std::mutex>;

constexpr std::uint32_t kOmciEntity = 60;
constexpr std::uint32_t kGatewayEntity = 21;
constexpr std::uint32_t kServiceClosing = 0x10002250;
constexpr std::uint32_t kServiceState = 0x10002254;
constexpr int kDefaultAnswerDelayMs = 10;
constexpr std::size_t kMaxPayload = 65536;
constexpr std::size_t kMaxValue = std::size_t{1} << 20U;  // of persistent storage in a board file
constexpr std::size_t kSentCapacity = 10000;              // a daemon that runs for days keeps the latest

struct Message {
    CmsMsgHeader header{};
    std::vector<std::uint8_t> payload;  // as many bytes as the header says
};

// An entity's end of the bus. The descriptor is readable while the inbox holds a message.
struct Mailbox {
    std::uint32_t entity = 0;
    int descriptor = -1;
    std::deque<Message> inbox;
};

struct Answer {
    Clock::time_point due;
    Message message;
};

struct BusState {
    std::mutex mutex;
    std::condition_variable arrived;    // readers of mailboxes
    std::condition_variable scheduled;  // the gateway's thread
    std::map<std::uint32_t, Mailbox> mailboxes;
    std::deque<Message> sent;
    std::uint64_t sentSoFar = 0;
    std::deque<Answer> answers;
    bool gatewayRuns = false;
    GatewayMode mode = GatewayMode::Answers;
    int answerDelayMs = kDefaultAnswerDelayMs;
    bool receiversWait = true;
    std::map<std::string, std::vector<std::uint8_t>> persistent;
};

BusState& busState() {
    static BusState& state = *new BusState;
    return state;
}

Mailbox& mailboxOf(std::uint32_t entity) {
    auto& mailbox = busState().mailboxes[entity];
    if (mailbox.descriptor < 0) {
        mailbox.entity = entity;
        mailbox.descriptor = eventfd(static_cast<unsigned>(mailbox.inbox.size()), EFD_CLOEXEC | EFD_NONBLOCK);
    }
    return mailbox;
}

void deliver(Message message) {
    auto& mailbox = mailboxOf(message.header.destination);
    mailbox.inbox.push_back(std::move(message));
    if (mailbox.inbox.size() == 1) eventfd_write(mailbox.descriptor, 1);
    busState().arrived.notify_all();
}

void emptied(const Mailbox& mailbox) {
    eventfd_t ignored = 0;
    eventfd_read(mailbox.descriptor, &ignored);
}

// Sends each answer when it is due. Sleeps for ever when there is none; it is never joined, since it holds nothing.
void gatewayLoop() {
    auto& state = busState();
    BusLock lock(state.mutex);
    while (true) {
        if (state.answers.empty()) {
            state.scheduled.wait(lock);
        } else if (const auto due = state.answers.front().due; Clock::now() < due) {
            state.scheduled.wait_until(lock, due);
        } else {
            Message message = std::move(state.answers.front().message);
            state.answers.pop_front();
            deliver(std::move(message));
        }
    }
}

// False where the system has no thread for it.
bool startGateway() {
    if (busState().gatewayRuns) return true;
    try {
        startThread(gatewayLoop).detach();
    } catch (const std::runtime_error&) {
        return false;
    }
    busState().gatewayRuns = true;
    return true;
}

bool isServiceRequest(const CmsMsgHeader& header) {
    return header.destination == kGatewayEntity && (header.flags & CMS_MSG_FLAG_REQUEST) != 0 &&
           (header.type == kServiceClosing || header.type == kServiceState);
}

// The gateway answers a service message with the same message. False when it cannot.
bool answerLater(const Message& request) {
    if (!startGateway()) return false;
    auto& state = busState();
    Answer answer{Clock::now() + std::chrono::milliseconds(state.answerDelayMs), request};
    std::swap(answer.message.header.source, answer.message.header.destination);
    state.answers.push_back(std::move(answer));
    state.scheduled.notify_one();
    return true;
}

// What is kept is written under the device lock, which is not taken under the bus's own.
template <typename... Key>
void keep(const char* section, const Key&... key) {
    if (!persistence::isOpen()) return;
    const DeviceAccess lock(deviceMutex());
    persistence::changed(section, key...);
}

// What other processes of the board have changed comes with the device lock.
void catchUp() {
    if (persistence::isOpen()) const DeviceAccess lock(deviceMutex());
}

// With the bus's lock. Answers the message's number.
std::uint64_t keepSent(Message message) {
    auto& state = busState();
    state.sent.push_back(std::move(message));
    if (state.sent.size() > kSentCapacity) state.sent.pop_front();
    return ++state.sentSoFar;
}

int send(const CmsMsgHeader& header) {
    if (header.dataLength > kMaxPayload) return EMSGSIZE;
    Message message;
    message.header = header;
    const auto* payload = reinterpret_cast<const std::uint8_t*>(&header + 1);
    message.payload.assign(payload, payload + header.dataLength);
    std::uint64_t number = 0;
    {
        auto& state = busState();
        const BusLock lock(state.mutex);
        const bool isAnswered = state.mode == GatewayMode::Answers && isServiceRequest(header);
        if (isAnswered && !answerLater(message)) return EAGAIN;
        number = keepSent(std::move(message));
    }
    keep(persistence::kRunMessages, number);
    return 0;
}

// Exactly as large as the message: who reads on behind it leaves the block.
CmsMsgHeader* blockOf(const Message& message) {
    void* block = std::malloc(sizeof(CmsMsgHeader) + message.payload.size());
    if (block == nullptr) return nullptr;
    std::memcpy(block, &message.header, sizeof(CmsMsgHeader));
    if (!message.payload.empty()) {
        std::memcpy(static_cast<char*>(block) + sizeof(CmsMsgHeader), message.payload.data(), message.payload.size());
    }
    return static_cast<CmsMsgHeader*>(block);
}

int receive(Mailbox& mailbox, CmsMsgHeader** message, unsigned timeoutMs) {
    auto& state = busState();
    BusLock lock(state.mutex);
    const bool nothingComes = !state.receiversWait && state.answers.empty();
    const auto waits = std::chrono::milliseconds(nothingComes ? 0 : timeoutMs);
    if (!state.arrived.wait_for(lock, waits, [&] { return !mailbox.inbox.empty(); })) return ETIMEDOUT;
    CmsMsgHeader* block = blockOf(mailbox.inbox.front());
    if (block == nullptr) return ENOMEM;
    mailbox.inbox.pop_front();
    if (mailbox.inbox.empty()) emptied(mailbox);
    *message = block;
    return 0;
}

// The mailbox behind a handle, or null for anything that cmsMsg_init never gave out.
Mailbox* mailboxBehind(const void* handle) {
    const BusLock lock(busState().mutex);
    for (auto& entry : busState().mailboxes) {
        if (&entry.second == handle) return &entry.second;
    }
    return nullptr;
}

std::string entityText(const Mailbox* mailbox) {
    return mailbox == nullptr ? "no handle" : std::to_string(mailbox->entity);
}

std::string messageText(const CmsMsgHeader& header) {
    char text[96];
    std::snprintf(text, sizeof text, "type 0x%08x to %u flags %u, %u bytes", header.type, header.destination,
                  unsigned{header.flags}, header.dataLength);
    return text;
}

BusMessage described(const Message& message) {
    BusMessage result;
    result.type = message.header.type;
    result.source = message.header.source;
    result.destination = message.header.destination;
    result.flags = message.header.flags;
    result.payload = message.payload;
    const auto* header = reinterpret_cast<const std::uint8_t*>(&message.header);
    result.raw.assign(header, header + sizeof message.header);
    result.raw.insert(result.raw.end(), message.payload.begin(), message.payload.end());
    return result;
}

// ---- as sections of a board file ----

struct GatewayRecord {
    GatewayMode mode = GatewayMode::Answers;
    int answerDelayMs = kDefaultAnswerDelayMs;
};

template <typename Record>
void describe(Record& record, GatewayRecord& gateway) {
    record.choice("gateway", gateway.mode, {"answers", "silent"});
    record.number("answerDelayMs", gateway.answerDelayMs, 0);
}

struct Values : persistence::Keyed<std::string, std::vector<std::uint8_t>> {
    template <typename Record>
    static void fields(Record& record, Thing& bytes) {
        record.bytes("bytes", bytes, kMaxValue);
    }
    static std::vector<std::string> keys() {
        const BusLock lock(busState().mutex);
        return persistence::keysOf(busState().persistent);
    }
    static std::optional<Thing> get(const std::string& key) {
        const BusLock lock(busState().mutex);
        const auto found = busState().persistent.find(key);
        return found == busState().persistent.end() ? std::nullopt : std::optional<Thing>(found->second);
    }
    static void put(const std::string& key, Thing bytes) {
        const BusLock lock(busState().mutex);
        busState().persistent[key] = std::move(bytes);
    }
    static void remove(const std::string& key) {
        const BusLock lock(busState().mutex);
        busState().persistent.erase(key);
    }
};

struct Gateway : persistence::Single<GatewayRecord> {
    static GatewayRecord get() {
        const BusLock lock(busState().mutex);
        return {busState().mode, busState().answerDelayMs};
    }
    static void put(GatewayRecord gateway) {
        const BusLock lock(busState().mutex);
        busState().mode = gateway.mode;
        busState().answerDelayMs = gateway.answerDelayMs;
    }
};

// Messages that were sent, header and payload. Those of other processes come behind.
struct SentMessages : persistence::OfRun<std::vector<std::uint8_t>> {
    template <typename Record>
    static void fields(Record& record, Thing& raw) {
        record.bytes("bytes", raw, sizeof(CmsMsgHeader) + kMaxPayload);
    }
    static std::optional<Thing> get(std::uint64_t number) {
        const BusLock lock(busState().mutex);
        auto& sent = busState().sent;
        const std::uint64_t fromEnd = busState().sentSoFar - number;
        if (fromEnd >= sent.size()) return std::nullopt;
        return described(sent[sent.size() - 1 - static_cast<std::size_t>(fromEnd)]).raw;
    }
    static void put(std::uint64_t /*number*/, const Thing& raw) {
        if (raw.size() < sizeof(CmsMsgHeader)) return;
        Message message;
        std::memcpy(&message.header, raw.data(), sizeof message.header);
        message.payload.assign(raw.begin() + sizeof message.header, raw.end());
        const BusLock lock(busState().mutex);
        keepSent(std::move(message));
    }
};

}  // namespace

namespace bus {

persistence::Sections sections() {
    return {persistence::section<Values>(persistence::kPersistent),
            persistence::section<Gateway>(persistence::kGateway),
            persistence::section<SentMessages>(persistence::kRunMessages)};
}

// Handles and descriptors stay good: the program under test keeps them for its life.
void reset() {
    auto& state = busState();
    const BusLock lock(state.mutex);
    for (auto& entry : state.mailboxes) {
        entry.second.inbox.clear();
        emptied(entry.second);
    }
    state.sent.clear();
    state.sentSoFar = 0;
    state.answers.clear();
    state.mode = GatewayMode::Answers;
    state.answerDelayMs = kDefaultAnswerDelayMs;
    state.receiversWait = true;
    state.persistent.clear();
}

void beforeFork() {
    busState().mutex.lock();
}
void afterForkInParent() {
    busState().mutex.unlock();
}
void afterForkInChild() {
    busState().mutex.unlock();
    new (&busState().arrived) std::condition_variable;
    new (&busState().scheduled) std::condition_variable;
    busState().gatewayRuns = false;
}

nlohmann::json toJson() {
    catchUp();
    auto& state = busState();
    BusLock lock(state.mutex);
    const auto messages = state.sent;
    const auto stored = state.persistent;
    const bool answers = state.mode == GatewayMode::Answers;
    const auto delayMs = state.answerDelayMs;
    lock.unlock();
    auto sent = nlohmann::json::array();
    for (const auto& message : messages) {
        sent.push_back({{"type", message.header.type},
                        {"source", message.header.source},
                        {"destination", message.header.destination},
                        {"flags", message.header.flags},
                        {"payload", hexText(message.payload)}});
    }
    auto persistent = nlohmann::json::object();
    for (const auto& [key, value] : stored) {
        persistent[escaped(key)] = escaped(std::string(value.begin(), value.end()));
    }
    return {{"gateway", answers ? "answers" : "silent"},
            {"answerDelayMs", delayMs},
            {"sent", std::move(sent)},
            {"persistent", std::move(persistent)}};
}

}  // namespace bus

// ---- the facade's view ----

void VirtualOnu::setGateway(GatewayMode mode, int answerDelayMs) {
    {
        const BusLock lock(busState().mutex);
        busState().mode = mode;
        busState().answerDelayMs = answerDelayMs;
    }
    keep(persistence::kGateway);
}

void VirtualOnu::letReceiversWait(bool on) {
    const BusLock lock(busState().mutex);
    busState().receiversWait = on;
}

std::vector<BusMessage> VirtualOnu::sentMessages() const {
    catchUp();
    const BusLock lock(busState().mutex);
    std::vector<BusMessage> result;
    for (const auto& message : busState().sent) result.push_back(described(message));
    return result;
}

void VirtualOnu::gatewaySends(std::uint32_t type, const std::vector<std::uint8_t>& payload, long dataLength) {
    Message message;
    message.header.type = type;
    message.header.source = kGatewayEntity;
    message.header.destination = kOmciEntity;
    message.header.flags = CMS_MSG_FLAG_REQUEST;
    // The bus cuts what is longer than any message; a claim beyond the bytes that were given is filled up with zeros,
    // since it hands over what the header says.
    const std::size_t length = dataLength < 0 ? payload.size() : static_cast<std::size_t>(dataLength);
    message.payload = payload;
    message.payload.resize(std::min(length, kMaxPayload));
    message.header.dataLength = static_cast<std::uint32_t>(message.payload.size());
    const BusLock lock(busState().mutex);
    deliver(std::move(message));
}

void VirtualOnu::setPersistent(const std::string& key, const std::string& value) {
    {
        const BusLock lock(busState().mutex);
        busState().persistent[key].assign(value.begin(), value.end());
    }
    keep(persistence::kPersistent, key);
}

std::optional<std::string> VirtualOnu::persistent(const std::string& key) const {
    catchUp();
    const BusLock lock(busState().mutex);
    const auto found = busState().persistent.find(key);
    if (found == busState().persistent.end()) return std::nullopt;
    return std::string(found->second.begin(), found->second.end());
}

}  // namespace virtual_onu

// ---- the kit's functions ----

using namespace virtual_onu;

int cmsMsg_init(unsigned int entityId, void** handle) {
    return platformCall("cmsMsg_init", arguments(entityId), [&] {
        const BusLock lock(busState().mutex);
        Mailbox& mailbox = mailboxOf(entityId);
        if (mailbox.descriptor < 0) return EMFILE;
        *handle = &mailbox;
        return 0;
    });
}

int cmsMsg_send(void* handle, const CmsMsgHeader* message) {
    const Mailbox* mailbox = mailboxBehind(handle);
    return platformCall("cmsMsg_send", entityText(mailbox) + ", " + messageText(*message),
                        [&] { return mailbox == nullptr ? EINVAL : virtual_onu::send(*message); });
}

int cmsMsg_receiveWithTimeout(void* handle, CmsMsgHeader** message, unsigned int timeoutMs) {
    Mailbox* mailbox = mailboxBehind(handle);
    std::optional<Out> received;
    return platformCallWithOut(
        "cmsMsg_receiveWithTimeout", [&] { return entityText(mailbox) + ", " + arguments(received, timeoutMs); },
        [&] {
            if (mailbox == nullptr) return EINVAL;
            const int result = receive(*mailbox, message, timeoutMs);
            if (result == 0) received = out((*message)->type);
            return result;
        });
}

int cmsMsg_getEventHandle(void* handle, int* descriptor) {
    const Mailbox* mailbox = mailboxBehind(handle);
    return platformCall("cmsMsg_getEventHandle", entityText(mailbox), [&] {
        if (mailbox == nullptr) return EINVAL;
        *descriptor = mailbox->descriptor;
        return 0;
    });
}

void cmsMem_free(void* block) {
    record(CallKind::Platform, "cmsMem_free", arguments(), 0);
    std::free(block);
}

int cmsTmr_init(void** handle) {
    return platformCall("cmsTmr_init", arguments(), [&] {
        static char timers;
        *handle = &timers;
        return 0;
    });
}

// Nobody sets a timer on this bus.
int cmsTmr_getTimeToNextEvent(void* /*handle*/, unsigned int* milliseconds) {
    return platformCall("cmsTmr_getTimeToNextEvent", arguments(), [&] {
        *milliseconds = UINT32_MAX;
        return 0;
    });
}

void cmsTmr_executeExpiredEvents(void* /*handle*/) {
    record(CallKind::Platform, "cmsTmr_executeExpiredEvents", arguments(), 0);
}

int cmsPsp_get(const char* key, void* buffer, unsigned int size) {
    return platformCall("cmsPsp_get", arguments(key, size), [&] {
        const BusLock lock(busState().mutex);
        const auto found = busState().persistent.find(key);
        if (found == busState().persistent.end()) return 0;
        const auto bytes = std::min<std::size_t>(size, found->second.size());
        if (bytes > 0) std::memcpy(buffer, found->second.data(), bytes);
        return static_cast<int>(bytes);
    });
}

int cmsPsp_set(const char* key, const void* buffer, unsigned int size) {
    return platformCall("cmsPsp_set", arguments(key, size), [&] {
        const auto* bytes = static_cast<const std::uint8_t*>(buffer);
        {
            const BusLock lock(busState().mutex);
            busState().persistent[key].assign(bytes, bytes + size);
        }
        keep(persistence::kPersistent, std::string(key));
        return 0;
    });
}
