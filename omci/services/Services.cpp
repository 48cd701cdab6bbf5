#include "omci/services/Services.h"

#include <algorithm>
#include <utility>

#include "omci/mib/Relations.h"

namespace omci::services {

Services::Services(Mib& mib, Performer& performer, Settings settings)
    : mib_(mib), performer_(performer), difference_(performer, callListener_, settings.standardForwarding) {
    context_.settings = settings;
    for (const ClassInfo& info : managedEntities()) {
        for (const auto& [instance, entity] : mib_.instances(info.id()))
            Services::onChange({ChangeKind::kCreated, entity.key(), info.all(), &entity, 0});
    }
    mib_.addObserver(*this);
}

Services::~Services() {
    mib_.removeObserver(*this);
}

void Services::touch(EntityKey key) {
    if (Planner::plans(key.classId)) dirty_.insert(key);
    readers_.appendTo(dirty_, Subject::kEntity, key);
}

void Services::onChange(const Change& change) {
    const EntityKey key = change.key;
    cause_ = change.cause;
    touch(key);
    for (const Pointer& pointer : pointersOf(*change.entity))
        readers_.appendTo(dirty_, Subject::kPointers, pointer.target);
    changed_.emplace_back(key, change.kind != ChangeKind::kDeleted);
    if (key.classId == class_id::kBridgePort) noteBridgePort(change);
}

// Keeps what kinds of ports to the user's side each bridge has: it decides which of the HAL's bridges is meant.
void Services::noteBridgePort(const Change& change) {
    const Entity& port = *change.entity;
    const ClassId target = bridgePortTarget(port.number8(attr::bridge_port::kTpType));
    const bool veip = target == class_id::kVeip;
    const bool user = change.kind != ChangeKind::kDeleted &&
                      (veip || target == class_id::kEthernetUni || target == class_id::kIpHost);
    const std::pair<InstanceId, ClassId> now{port.number16(attr::bridge_port::kBridgeIdPointer), target};
    const auto old = userPorts_.find(port.instance());
    if (old != userPorts_.end()) {
        const auto before = old->second;
        if (user && before == now) return;
        userPorts_.erase(old);
        countUserPort(before.first, before.second, -1);
    }
    if (!user) return;
    userPorts_[port.instance()] = now;
    countUserPort(now.first, now.second, 1);
}

void Services::countUserPort(InstanceId bridge, ClassId kind, int by) {
    const UserPorts before = context_.usersOf(bridge);
    const UserPorts after{before.all + by, before.veips + (kind == class_id::kVeip ? by : 0),
                          before.ethernetPorts + (kind == class_id::kEthernetUni ? by : 0)};
    if (after.all == 0) {
        context_.userPorts.erase(bridge);
    } else {
        context_.userPorts[bridge] = after;
    }
    const bool others = (before.all == 0) != (after.all == 0) || (before.all > 1) != (after.all > 1) ||
                        (before.ethernetPorts > 1) != (after.ethernetPorts > 1);
    if (others || (before.veips == 0) != (after.veips == 0))
        readers_.appendTo(dirty_, Subject::kUsers, {class_id::kBridge, bridge});
}

void Services::settle(int action, std::uint16_t transaction) {
    if (dirty_.empty() && changed_.empty()) return;
    std::optional<MessageRef> message;
    if (cause_ != 0) message = MessageRef{cause_, transaction};
    for (const auto& [key, exists] : changed_) note(key, exists, message);
    changed_.clear();
    if (context_.hostMac.empty()) context_.hostMac = performer_.hostMac();
    // Planning one entity may free what another has waited for; it does not want anything back then.
    while (!dirty_.empty()) {
        const EntityKey key = *dirty_.begin();
        dirty_.erase(dirty_.begin());
        planOne(key);
    }
    for (Problem& problem : difference_.settle(action, message)) {
        report(problem);
        late_.insert(std::move(problem));
    }
}

void Services::report(const Problem& problem) {
    if (told_.insert(problem).second && problemListener_) problemListener_(problem);
}

void Services::note(EntityKey key, bool exists, std::optional<MessageRef> message) {
    if (exists && message) history_.add(key, *message);
    if (!exists) history_.forget(key);
    if (key.classId != class_id::kExtendedTagging) return;
    const Entity* entity = mib_.find(key);
    if (entity == nullptr) {
        context_.taggingTables.erase(key.instance);
    } else {
        context_.taggingTables[key.instance].update(entity->rows(attr::extended_tagging::kTaggingTable),
                                                    message.value_or(MessageRef{}));
    }
}

void Services::planOne(EntityKey key) {
    readers_.forget(key);
    Reader reader(mib_, readers_, key);
    Wanted wanted;
    Planner(reader, context_, wanted).plan(key);
    for (Piece& piece : wanted.pieces) piece.cause = completed(std::move(piece.cause));
    std::vector<EntityKey> again;
    difference_.replace(key, std::move(wanted.pieces), again, wanted.problems);
    dirty_.insert(again.begin(), again.end());
    if (wanted.problems.empty()) {
        problems_.erase(key);
        return;
    }
    for (const Problem& problem : wanted.problems) report(problem);
    problems_[key] = std::move(wanted.problems);
}

// With the messages that made the entities as they are.
Cause Services::completed(Cause cause) const {
    for (const EntityKey key : cause.entities) history_.appendTo(cause.messages, key);
    std::sort(cause.messages.begin(), cause.messages.end());
    cause.messages.erase(std::unique(cause.messages.begin(), cause.messages.end()), cause.messages.end());
    return cause;
}

std::vector<Problem> Services::problems() const {
    std::vector<Problem> all(late_.begin(), late_.end());
    for (const auto& [key, problems] : problems_) all.insert(all.end(), problems.begin(), problems.end());
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

}  // namespace omci::services
