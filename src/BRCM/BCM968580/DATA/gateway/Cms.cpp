// The OMCI side's end of the message bus that joins it to the residential-gateway side (RG) of the device: connection,
// listener thread, and the messages about WAN services with the wait for the gateway's answer.
#include "platform/cms.h"

#include <errno.h>
#include <pthread.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "hal/BackgroundThread.h"
#include "kit/DeviceNames.h"
#include "platform/kit_numbers.h"

void* msgHandle = nullptr;
void* tmrHandle = nullptr;
pthread_mutex_t syncOmciRgLock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t syncOmciRgCond = PTHREAD_COND_INITIALIZER;

namespace {

constexpr std::uint32_t kOmciEntity = 60;     // this process
constexpr std::uint32_t kGatewayEntity = 21;  // the gateway's system service (SSK)

constexpr std::uint32_t kMsgOmciAppIndication = 0x10003700;
constexpr std::uint32_t kMsgServiceDown = 0x10002250;     // a service goes down while the action code is kActionRemove
constexpr std::uint32_t kMsgServiceRequest = 0x10002251;  // the gateway asks for a service's state again
constexpr std::uint32_t kMsgServiceState = 0x10002254;    // every other service state

constexpr int kActionRemove = 15;
constexpr unsigned kStaleMessageWaitMs = 100;
constexpr unsigned kReceiveWaitMs = 500;
constexpr unsigned kTimerSlackMs = 10;

struct IndicationMessage {
    CmsMsgHeader header;
    std::uint32_t data;
};
static_assert(sizeof(IndicationMessage) == 36, "header and four bytes");

struct ServiceMessage {
    CmsMsgHeader header;
    OMCI_SERVICE_MAP_ENTRY service;
};
static_assert(sizeof(ServiceMessage) == 92, "header and one service");

CmsMsgHeader headerTo(std::uint32_t destination, std::uint32_t type, std::uint16_t flags, std::uint32_t dataLength) {
    CmsMsgHeader header{};
    header.type = type;
    header.source = kOmciEntity;
    header.destination = destination;
    header.flags = flags;
    header.dataLength = dataLength;
    return header;
}

// One wait of exactly one second, without a predicate, since the gateway's answers carry nothing to match: any signal
// ends it, and an answer that came before is lost. Kept as it is. Answers false when the time ran out.
bool waitForGateway() {
    pthread_mutex_lock(&syncOmciRgLock);
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += 1;
    const int ret = pthread_cond_timedwait(&syncOmciRgCond, &syncOmciRgLock, &deadline);
    pthread_mutex_unlock(&syncOmciRgLock);
    return ret != ETIMEDOUT;
}

void releaseWaitingSender() {
    pthread_mutex_lock(&syncOmciRgLock);
    pthread_cond_signal(&syncOmciRgCond);
    pthread_mutex_unlock(&syncOmciRgLock);
}

// Waits until the bus has a message or the next timer is due, at most. True when select() succeeded; *readable says
// whether the bus has a message.
bool waitForBus(int descriptor, bool* readable) {
    unsigned waitMs = 0;
    cmsTmr_getTimeToNextEvent(tmrHandle, &waitMs);
    if (waitMs < UINT32_MAX - kTimerSlackMs) waitMs += kTimerSlackMs;

    // A negative descriptor is never readable; the wait then serves the timers alone.
    const bool watched = descriptor >= 0 && descriptor < FD_SETSIZE;
    fd_set readSet;
    FD_ZERO(&readSet);
    if (watched) FD_SET(descriptor, &readSet);
    timeval timeout{};
    timeout.tv_sec = static_cast<time_t>(waitMs / 1000);
    timeout.tv_usec = static_cast<suseconds_t>((waitMs % 1000) * 1000);
    const int highest = watched ? descriptor : 0;
    if (select(highest + 1, &readSet, nullptr, nullptr, &timeout) < 0) return false;
    *readable = watched && FD_ISSET(descriptor, &readSet);
    return true;
}

void handleServiceRequest(EtherSwitchBcm380& engine, const CmsMsgHeader& message) {
    OMCI_SERVICE_MAP_ENTRY request{};
    if (message.dataLength < sizeof request) {
        ENGINE_LOG("omcid_cmsmsgHandler", kEngineSource, kLogError, "Service request of %u bytes is too short\n",
                   message.dataLength);
        return;
    }
    std::memcpy(&request, &message + 1, sizeof request);
    engine.handleWanServiceStatusUpdate(&request);
}

}  // namespace

int EtherSwitchBcm380::omcid_initCms() {
    if (setsid() == -1) {
        std::printf("Could not detach from terminal");
    } else {
        std::puts("\nDetached from terminal");
    }

    const int ret = cmsMsg_init(kOmciEntity, &msgHandle);
    if (ret != 0) {
        std::printf("\nmsg initialization failed, ret=%d", ret);
        return ret;
    }
    // A message left over from the process before this one.
    CmsMsgHeader* stale = nullptr;
    if (cmsMsg_receiveWithTimeout(msgHandle, &stale, kStaleMessageWaitMs) == 0) cmsMem_free(stale);

    const int timerRet = cmsTmr_init(&tmrHandle);
    if (timerRet != 0) {
        std::printf("\ncmsTmr_init failed, ret=%d", timerRet);
        return -1;
    }
    pthread_t listener;
    startBackgroundThread(&listener, cmsListenerThread);
    return 0;
}

void* EtherSwitchBcm380::cmsListenerThread(void* /*unused*/) {
    int descriptor = -1;
    cmsMsg_getEventHandle(msgHandle, &descriptor);
    EtherSwitchBcm380* const engine = getInstance();
    engine->omcid_sendPostCmsMsg();
    for (;;) {
        bool readable = false;
        if (!waitForBus(descriptor, &readable)) continue;
        cmsTmr_executeExpiredEvents(tmrHandle);
        if (readable) engine->omcid_cmsmsgHandler();
    }
}

int EtherSwitchBcm380::omcid_sendPostCmsMsg() {
    IndicationMessage message{};
    message.header = headerTo(kGatewayEntity, kMsgOmciAppIndication, CMS_MSG_FLAG_EVENT, sizeof message.data);
    const int ret = cmsMsg_send(msgHandle, &message.header);
    if (ret != 0) return std::printf("\nSend message failure, cmsResult: %d", ret);
    return std::printf("\nSent OMCI App Indication to SSK");
}

int EtherSwitchBcm380::omcid_cmsmsgHandler() {
    CmsMsgHeader* message = nullptr;
    if (cmsMsg_receiveWithTimeout(msgHandle, &message, kReceiveWaitMs) != 0 || message == nullptr) return -1;
    switch (message->type) {
        case kMsgServiceRequest:
            handleServiceRequest(*this, *message);
            break;
        case kMsgServiceState:
        case kMsgServiceDown:
            releaseWaitingSender();
            break;
        default:
            std::printf("Invalid message type (%x)", message->type);
            break;
    }
    cmsMem_free(message);
    return 0;
}

int EtherSwitchBcm380::sendServiceInfoMsg(const OMCI_SERVICE_MAP_ENTRY* entry) {
    if (entry == nullptr) return -1;
    const bool goesDown = entry->serviceStatus == 0 && getOmciAction() == kActionRemove;
    ServiceMessage message{};
    message.header = headerTo(kGatewayEntity, goesDown ? kMsgServiceDown : kMsgServiceState, CMS_MSG_FLAG_REQUEST,
                              sizeof message.service);
    message.service = *entry;

    std::printf(
        "===> sendServiceInfoMsg, gemPortIndex=%d, pbits=%d, vlanId=%d, ifName=%s, serviceType=%d, serviceStatus=%d\n",
        entry->gemPortIndex, entry->pbits, entry->vlanId, serviceIfName(*entry).get(), entry->serviceType,
        entry->serviceStatus);
    const int ret = cmsMsg_send(msgHandle, &message.header);
    if (ret != 0) std::printf("Send CMS_MSG_OMCI_GPON_WAN_SERVICE_STATUS_CHANGE failed, ret=%d", ret);

    // Kept as it is: a failed send is followed by the wait as well.
    std::printf("\nWaiting for RG response");
    if (!waitForGateway()) std::printf("\nsendServiceInfoMsg: pthread_cond_timedwait timed out!!!");
    std::printf("\nRecived response from RG");
    return ret;
}

// Kept: on the listener thread the send below blocks for its full second, because the answer cannot be read meanwhile.
int EtherSwitchBcm380::handleWanServiceStatusUpdate(OMCI_SERVICE_MAP_ENTRY* request) {
    if (request == nullptr) return -1;
    std::printf("\nhandleWanServiceStatusUpdate : pService->l2Ifname=%s PhyId=%d VlanId=%d pbits=%d\n",
                serviceIfName(*request).get(), request->gemPortIndex, request->vlanId, request->pbits);

    OMCI_SERVICE_MAP_ENTRY stored{};
    if (!copyOmciServiceMapEntry(*request, &stored)) return 0;
    std::printf("\n %s Found success interface=%s VlanId=%d pbits=%d\n", "handleWanServiceStatusUpdate",
                serviceIfName(stored).get(), stored.vlanId, stored.pbits);
    const int ret = sendServiceInfoMsg(&stored);
    if (ret != 0) std::printf("\n Send service Message to RG failed!!!");
    return ret;
}
