#include "omci/mib/Board.h"

#include <algorithm>
#include <map>
#include <utility>

#include "omci/mib/Description.h"

namespace omci {

namespace {

constexpr std::uint8_t kIntegrated = 0x01;  // first byte of the slots of an ONU whose parts cannot be plugged
constexpr std::uint8_t kVeipType = 48;
constexpr std::uint8_t kPlugAndPlay = 255;
constexpr std::uint16_t kUpstream = 0x8000;  // bit of the queues' numbers

InstanceId inSlot(std::uint8_t slot, unsigned number) {
    return static_cast<InstanceId>(unsigned{slot} << 8 | (number & 0xFFU));
}

std::uint8_t slotOf(InstanceId instance) {
    return static_cast<std::uint8_t>(instance >> 8);
}

bool isUpstream(const BoardQueue& queue) {
    return (queue.instance & kUpstream) != 0;
}

std::size_t upstreamQueues(const Board& board) {
    const auto& queues = board.numbering.queues;
    if (queues.empty()) return std::size_t{board.tConts} * board.queues;
    return static_cast<std::size_t>(std::count_if(queues.begin(), queues.end(), isUpstream));
}

// The number at place, as far as the list goes; the usual one otherwise.
InstanceId numbered(const std::vector<InstanceId>& list, unsigned place, InstanceId usual) {
    return place < list.size() ? list[place] : usual;
}

// Makes the entities one after another.
class BoardMaker {
public:
    explicit BoardMaker(const Board& board) : board_(board) {}

    std::vector<Entity> make() {
        makeEquipment();
        makeImages();
        makeSlots();
        makePon();
        for (unsigned port = 0; port < board_.ethernetPorts; ++port) makeEthernetPort(port);
        for (unsigned veip = 0; veip < board_.veips; ++veip) makeVeip(veip);
        for (unsigned host = 0; host < board_.ipHosts; ++host) makeIpHost(host);
        makeQueues();
        if (board_.describesMib) addDescription(entities_);
        return std::move(entities_);
    }

private:
    // The entity, without those of its optional attributes that are named.
    Entity& add(ClassId classId, InstanceId instance, AttributeMask without = 0) {
        entities_.emplace_back(*findClass(classId), instance, Maker::kOnu);
        Entity& entity = entities_.back();
        entity.setImplemented(static_cast<AttributeMask>(entity.info().all() & ~without));
        return entity;
    }

    ByteView serial() const { return {board_.serialNumber.data(), board_.serialNumber.size()}; }
    unsigned ports() const { return unsigned{board_.ethernetPorts} + board_.veips; }

    void makeEquipment() {
        add(class_id::kOnuData, 0);
        const AttributeMask gponOnly = board_.isGpon ? AttributeMask{0} : maskOf(attr::onu_g::kExtendedTcLayerOptions);
        Entity& onu = add(class_id::kOnuG, 0, static_cast<AttributeMask>(maskOf(5) | gponOnly));
        onu.setBytes(attr::onu_g::kVendorId, serial().part(0, 4));
        onu.setText(attr::onu_g::kVersion, board_.version);
        onu.setBytes(attr::onu_g::kSerialNumber, serial());
        onu.setNumber(attr::onu_g::kTrafficManagementOption, board_.trafficManagement);
        onu.setText(attr::onu_g::kLogicalOnuId, board_.logicalOnuId);
        onu.setText(attr::onu_g::kLogicalPassword, board_.logicalPassword);

        Entity& onu2 = add(class_id::kOnu2G, 0);
        onu2.setText(attr::onu2_g::kEquipmentId, board_.equipmentId);
        onu2.setNumber(attr::onu2_g::kOmccVersion, board_.omccVersion);
        onu2.setNumber(attr::onu2_g::kVendorProductCode, board_.productCode);
        onu2.setNumber(attr::onu2_g::kTotalPriorityQueueNumber, upstreamQueues(board_));
        onu2.setNumber(attr::onu2_g::kTotalTrafficSchedulerNumber, board_.schedulers ? board_.tConts : 0);
        onu2.setNumber(attr::onu2_g::kTotalGemPortIdNumber, board_.gemPorts);
        onu2.setNumber(attr::onu2_g::kConnectivityCapability, board_.connectivity);
        onu2.setNumber(attr::onu2_g::kQosConfigurationFlexibility, board_.qosFlexibility);
        add(class_id::kOltG, 0, maskOf(4));
    }

    void makeImages() {
        for (std::size_t at = 0; at < board_.images.size(); ++at) {
            const BoardImage& image = board_.images[at];
            Entity& entity = add(class_id::kSoftwareImage, static_cast<InstanceId>(at));
            entity.setText(attr::software_image::kVersion, image.version);
            entity.setText(attr::software_image::kProductCode, image.productCode);
            entity.setNumber(attr::software_image::kIsCommitted, image.committed ? 1 : 0);
            entity.setNumber(attr::software_image::kIsActive, image.active ? 1 : 0);
            entity.setNumber(attr::software_image::kIsValid, image.valid ? 1 : 0);
        }
    }

    void makeSlots() {
        std::map<std::uint8_t, std::uint8_t> ethernet, veips;  // ports in each slot
        for (unsigned port = 0; port < board_.ethernetPorts; ++port)
            ++ethernet[slotOf(ethernetPortInstance(board_, port))];
        for (unsigned veip = 0; veip < board_.veips; ++veip) ++veips[slotOf(veipInstance(board_, veip))];
        for (const auto& [slot, count] : ethernet) makeSlot(slot, board_.ethernetType, count);
        for (const auto& [slot, count] : veips) {
            if (ethernet.count(slot) == 0) makeSlot(slot, kVeipType, count);
        }
        const bool apart = ethernet.count(board_.ponSlot) == 0 && veips.count(board_.ponSlot) == 0;
        if (apart) makeSlot(board_.ponSlot, board_.ponType, 1);
    }

    void makeSlot(std::uint8_t slot, std::uint8_t type, std::uint8_t portCount) {
        const InstanceId instance = inSlot(kIntegrated, slot);
        const AttributeMask protection =
            maskOf(attr::cardholder::kProtectionProfilePointer) | maskOf(attr::cardholder::kInvokeProtectionSwitch);
        Entity& holder = add(class_id::kCardholder, instance, protection);
        holder.setNumber(attr::cardholder::kActualPlugInUnitType, type);
        holder.setNumber(attr::cardholder::kExpectedPlugInUnitType, kPlugAndPlay);
        holder.setNumber(attr::cardholder::kExpectedPortCount, portCount);

        const bool pon = slot == board_.ponSlot;
        const AttributeMask buffers = maskOf(attr::circuit_pack::kTotalTContBufferNumber) |
                                      maskOf(attr::circuit_pack::kTotalPriorityQueueNumber) |
                                      maskOf(attr::circuit_pack::kTotalTrafficSchedulerNumber);
        const AttributeMask others =
            maskOf(attr::circuit_pack::kCardConfiguration) | maskOf(attr::circuit_pack::kPowerShedOverride);
        Entity& pack = add(class_id::kCircuitPack, instance, static_cast<AttributeMask>(others | (pon ? 0 : buffers)));
        pack.setNumber(attr::circuit_pack::kType, type);
        pack.setNumber(attr::circuit_pack::kNumberOfPorts, portCount);
        pack.setBytes(attr::circuit_pack::kSerialNumber, serial());
        pack.setText(attr::circuit_pack::kVersion, board_.version);
        pack.setBytes(attr::circuit_pack::kVendorId, serial().part(0, 4));
        pack.setNumber(attr::circuit_pack::kOperationalState, 0);
        pack.setText(attr::circuit_pack::kEquipmentId, board_.equipmentId);
        pack.setNumber(attr::circuit_pack::kTotalTContBufferNumber, board_.tConts);
        pack.setNumber(attr::circuit_pack::kTotalPriorityQueueNumber, 0);
    }

    void makePon() {
        Entity& ani = add(class_id::kAniG, aniInstance(board_));
        ani.setNumber(attr::ani_g::kSrIndication, 1);
        ani.setNumber(attr::ani_g::kTotalTContNumber, board_.tConts);
        for (unsigned tCont = 0; tCont < board_.tConts; ++tCont) {
            Entity& entity = add(class_id::kTCont, tContInstance(board_, tCont));
            entity.setNumber(attr::t_cont::kPolicy, 1);
            if (!board_.schedulers) continue;
            Entity& scheduler = add(class_id::kTrafficScheduler, tContInstance(board_, tCont));
            scheduler.setNumber(attr::traffic_scheduler::kTContPointer, tContInstance(board_, tCont));
            scheduler.setNumber(attr::traffic_scheduler::kPolicy, 1);
        }
    }

    void makeUni(InstanceId instance) { add(class_id::kUniG, instance); }

    void makeEthernetPort(unsigned port) {
        const InstanceId instance = ethernetPortInstance(board_, port);
        Entity& uni = add(class_id::kEthernetUni, instance,
                          maskOf(attr::ethernet_uni::kPauseTime) | maskOf(attr::ethernet_uni::kPowerControl));
        uni.setNumber(attr::ethernet_uni::kSensedType, board_.ethernetType);
        makeUni(instance);
        if (board_.portAccessControl) add(class_id::kDot1x, instance);
    }

    void makeVeip(unsigned veip) {
        const InstanceId instance = veipInstance(board_, veip);
        add(class_id::kVeip, instance);
        makeUni(instance);
    }

    void makeIpHost(unsigned host) {
        Entity& entity = add(class_id::kIpHost, static_cast<InstanceId>(host));
        entity.setBytes(attr::ip_host::kMacAddress, {board_.ipHostMac.data(), board_.ipHostMac.size()});
    }

    void makeQueues() {
        for (const BoardQueue& queue : board_.numbering.queues)
            makeQueue(queue.instance, queue.related, queue.priority);
        if (!board_.numbering.queues.empty()) return;
        for (unsigned tCont = 0; tCont < board_.tConts; ++tCont) {
            for (unsigned queue = 0; queue < board_.queues; ++queue) {
                Entity& entity =
                    makeQueue(upstreamQueueInstance(board_, tCont, queue), tContInstance(board_, tCont), queue);
                const InstanceId scheduler = board_.schedulers ? tContInstance(board_, tCont) : InstanceId{0};
                entity.setNumber(attr::priority_queue::kTrafficSchedulerPointer, scheduler);
            }
        }
        for (unsigned port = 0; port < ports(); ++port) {
            const InstanceId related = port < board_.ethernetPorts ? ethernetPortInstance(board_, port)
                                                                   : veipInstance(board_, port - board_.ethernetPorts);
            for (unsigned queue = 0; queue < board_.queues; ++queue) {
                makeQueue(downstreamQueueInstance(board_, port, queue), related, queue);
            }
        }
    }

    Entity& makeQueue(InstanceId instance, InstanceId related, unsigned priority) {
        Entity& entity = add(class_id::kPriorityQueue, instance);
        entity.setNumber(attr::priority_queue::kMaximumQueueSize, board_.maxQueueSize);
        entity.setNumber(attr::priority_queue::kAllocatedQueueSize, board_.maxQueueSize);
        entity.setNumber(attr::priority_queue::kRelatedPort, std::uint32_t{related} << 16 | priority);
        std::uint64_t thresholds = 0;
        for (int at = 0; at < 4; ++at) thresholds = thresholds << 16 | board_.maxQueueSize;
        entity.setNumber(attr::priority_queue::kPacketDropQueueThresholds, thresholds);
        return entity;
    }

    const Board& board_;
    std::vector<Entity> entities_;
};

}  // namespace

std::vector<Entity> boardEntities(const Board& board) {
    return BoardMaker(board).make();
}

bool knowsExtendedSet(const Board& board) {
    constexpr std::uint8_t kFirstWithIt = 0x96, kG988WithIt = 0xB0;
    return board.omccVersion == kFirstWithIt || board.omccVersion >= kG988WithIt;
}

void setNumbering(Board& board, BoardNumbering numbering) {
    const auto use = [](const std::vector<InstanceId>& list, std::uint8_t& count, std::uint8_t& slot) {
        if (list.empty()) return;
        count = static_cast<std::uint8_t>(std::min<std::size_t>(list.size(), 254));
        slot = slotOf(list.front());
    };
    use(numbering.ethernetPorts, board.ethernetPorts, board.ethernetSlot);
    use(numbering.veips, board.veips, board.veipSlot);
    use(numbering.tConts, board.tConts, board.ponSlot);
    if (numbering.ani) board.ponSlot = slotOf(*numbering.ani);
    board.numbering = std::move(numbering);
}

InstanceId ethernetPortInstance(const Board& board, unsigned port) {
    return numbered(board.numbering.ethernetPorts, port, inSlot(board.ethernetSlot, port + 1));
}

InstanceId veipInstance(const Board& board, unsigned veip) {
    return numbered(board.numbering.veips, veip, inSlot(board.veipSlot, veip + 1));
}

InstanceId aniInstance(const Board& board) {
    return board.numbering.ani.value_or(inSlot(board.ponSlot, 1));
}

InstanceId tContInstance(const Board& board, unsigned tCont) {
    return numbered(board.numbering.tConts, tCont, inSlot(board.ponSlot, tCont));
}

InstanceId upstreamQueueInstance(const Board& board, unsigned tCont, unsigned queue) {
    return static_cast<InstanceId>(kUpstream + tCont * board.queues + queue);
}

InstanceId downstreamQueueInstance(const Board& board, unsigned port, unsigned queue) {
    return static_cast<InstanceId>(port * board.queues + queue);
}

}  // namespace omci
