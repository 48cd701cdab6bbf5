// T-CONTs and GEM ports.
#include "omci/services/Numbers.h"
#include "omci/services/Plan.h"

namespace omci::services {

namespace {

constexpr std::uint16_t kNoAllocId = 0xFFFF;
constexpr std::uint16_t kNoAllocIdInGpon = 0x00FF;
constexpr std::uint8_t kRateControlled = 1;  // traffic management option of the ONU
constexpr std::uint16_t kQueuesPerTCont = 8;

bool hasAllocId(const Entity& tcont) {
    const std::uint16_t allocId = tcont.number16(attr::t_cont::kAllocId);
    return allocId != kNoAllocId && allocId != kNoAllocIdInGpon;
}

}  // namespace

void Planner::planTCont(InstanceId instance) {
    const Entity* tcont = reader_.find(class_id::kTCont, instance);
    if (tcont == nullptr || !hasAllocId(*tcont)) return;
    TContProvisioning record{};
    record.allocId = tcont->number16(attr::t_cont::kAllocId);
    record.tContIndex = static_cast<std::uint16_t>(context_.settings.firstTCont + reader_.placeOf(tcont->key()));
    // The HAL takes the policy with each GEM port: another one does not disturb the T-CONT.
    Piece made;
    made.key = {PieceKind::kTCont, instance};
    made.make = {{Operation::kTContSet, record}};
    made.undo = {{Operation::kTContReset, record}};
    want(std::move(made));
}

void Planner::planGemPort(InstanceId instance) {
    const Entity* port = reader_.find(class_id::kGemPort, instance);
    if (port == nullptr) return;
    XGEMConfig record{};
    record.xgemPortId = port->number16(attr::gem_port::kPortId);
    Piece made;
    made.key = {PieceKind::kGemPort, record.xgemPortId};
    if (port->number8(attr::gem_port::kDirection) == kDownstreamOnly) {
        record.tContAllocId = kNoAllocId;
    } else {
        const InstanceId pointer = port->number16(attr::gem_port::kTContPointer);
        const Entity* tcont = reader_.find(class_id::kTCont, pointer);
        if (tcont == nullptr || !hasAllocId(*tcont)) return;
        record.tContAllocId = tcont->number16(attr::t_cont::kAllocId);
        record.upstreamQueue = upstreamQueue(*port);
        record.schedPolicy = tcont->number8(attr::t_cont::kPolicy);
        record.priority = static_cast<std::uint8_t>(kQueuesPerTCont - 1);
        made.needs = PieceKey{PieceKind::kTCont, pointer};
        const Entity* queue =
            reader_.find(class_id::kPriorityQueue, port->number16(attr::gem_port::kUpstreamQueuePointer));
        if (queue != nullptr) {
            // In the standard 0 is the most urgent, in the HAL the greatest number.
            const unsigned urgency = number16(queue->bytes(attr::priority_queue::kRelatedPort), 2);
            record.priority = static_cast<std::uint8_t>(urgency < kQueuesPerTCont ? kQueuesPerTCont - 1 - urgency : 0);
            record.weight = queue->number8(attr::priority_queue::kWeight);
            const InstanceId scheduler = queue->number16(attr::priority_queue::kTrafficSchedulerPointer);
            const Entity* scheduled =
                isNull(scheduler) ? nullptr : reader_.find(class_id::kTrafficScheduler, scheduler);
            if (scheduled != nullptr) record.schedPolicy = scheduled->number8(attr::traffic_scheduler::kPolicy);
        }
    }
    made.make = {{Operation::kGemFlowAdd, record}};
    made.undo = {{Operation::kGemFlowDel, record}};
    want(std::move(made));
    planRateLimit(*port, attr::gem_port::kUpstreamDescriptorPointer);
    planRateLimit(*port, attr::gem_port::kDownstreamDescriptorPointer);
    if (port->number8(attr::gem_port::kEncryptionKeyRing) != 0)
        problem(port->key(), "encryption is not asked for: the HAL has no operation for it");
}

std::uint16_t Planner::upstreamQueue(const Entity& gemPort) {
    const Entity* onu = reader_.look(class_id::kOnuG, 0);
    // The pointer names the T-CONT itself, which has its first queue then.
    if (onu != nullptr && onu->number8(attr::onu_g::kTrafficManagementOption) == kRateControlled) return 0;
    const InstanceId queue = gemPort.number16(attr::gem_port::kUpstreamQueuePointer);
    const Entity* entity = queue == kNullPointer ? nullptr : reader_.look(class_id::kPriorityQueue, queue);
    if (entity == nullptr)
        return queue == kNullPointer ? std::uint16_t{0} : static_cast<std::uint16_t>(queue % kQueuesPerTCont);
    return static_cast<std::uint16_t>(reader_.placeAmongQueues(*entity) % kQueuesPerTCont);
}

void Planner::planRateLimit(const Entity& entity, AttributeNumber pointer) {
    const InstanceId instance = entity.number16(pointer);
    if (isNull(instance)) return;
    const Entity* descriptor = reader_.look(class_id::kTrafficDescriptor, instance);
    if (descriptor == nullptr) return;
    if (descriptor->number(attr::traffic_descriptor::kCir) != 0 ||
        descriptor->number(attr::traffic_descriptor::kPir) != 0)
        problem(entity.key(), "rates are not limited: the HAL has no operation for it");
}

}  // namespace omci::services
