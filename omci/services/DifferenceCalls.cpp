// The calls that make plan and HAL equal.
#include <algorithm>
#include <utility>

#include "omci/services/Difference.h"
#include "omci/services/Numbers.h"
#include "omci/services/StandardRules.h"
#include "omci/services/contract/UniDifference.h"

namespace omci::services {

namespace {

constexpr std::uint8_t kPppoe = 2;

std::uint16_t gemPortOf(PieceKey key) {
    return static_cast<std::uint16_t>(key.number & 0xFFFFU);
}

}  // namespace

std::vector<Problem> Difference::settle(int action, std::optional<MessageRef> message) {
    if (touched_.empty()) return {};
    Change change;
    change.action = action;
    change.message = message;
    const Keys affected = spread();
    collect(change, affected);
    undoAll(change);
    makeAll(change);
    change.remove.insert(affected.begin(), affected.end());
    forgetEmpty(change.remove);
    return std::move(change.problems);
}

void Difference::forgetEmpty(const Keys& affected) {
    for (const PieceKey key : affected) {
        const auto found = slots_.find(key);
        if (found == slots_.end()) continue;
        const Slot& slot = found->second;
        if (!slot.wanted && !slot.current && slot.dependents.empty()) slots_.erase(found);
    }
    for (auto bridge = bridges_.begin(); bridge != bridges_.end();) {
        bridge = bridge->second.members.empty() && !bridge->second.current ? bridges_.erase(bridge) : std::next(bridge);
    }
}

// ---- Removing ----

void Difference::undoAll(Change& change) {
    for (auto key = change.remove.rbegin(); key != change.remove.rend() && PieceKind::kUni < key->kind; ++key)
        undo(change, *key);
    for (const PieceKey key : change.adjust) undoAdjusted(change, key);
    for (auto key = change.remove.rbegin(); key != change.remove.rend(); ++key) {
        if (key->kind == PieceKind::kUni || key->kind == PieceKind::kAniService) undo(change, *key);
    }
    for (const std::uint16_t number : change.bridges) undoBridge(change, number);
    for (auto key = change.remove.rbegin(); key != change.remove.rend(); ++key) {
        if (key->kind < PieceKind::kBridge) undo(change, *key);
    }
}

void Difference::undo(Change& change, PieceKey key) {
    Slot& slot = slots_[key];
    const Piece gone = std::move(*slot.current);
    slot.current.reset();
    if (key.kind != PieceKind::kUni || slot.asked) {
        for (const HalCall& call : gone.undo) ask(change, call, gone.cause);
    }
    slot.asked = false;
    slot.rules.clear();
    if (key.kind == PieceKind::kGemPort) gemIndexes_.removed(gemPortOf(key));
    if (gone.bridge) bridges_[*gone.bridge].later.erase({gone.place, key});
    veipServices_.erase(key);
    multicasts_.erase(key);
    unlink(key, gone);
}

void Difference::undoBridge(Change& change, std::uint16_t number) {
    Bridge& bridge = bridges_[number];
    for (const HalCall& call : bridge.current->undo) ask(change, call, bridge.current->cause);
    bridge.current.reset();
}

void Difference::undoAdjusted(Change& change, PieceKey key) {
    Slot& slot = slots_[key];
    UniChange uni = standard_ ? standardChange(slot.rules, *slot.wanted->rules)
                              : contract::uniChange(slot.rules, *slot.wanted->rules);
    if (uni.whole && slot.asked) {
        for (const HalCall& call : slot.current->undo) ask(change, call, slot.current->cause);
        slot.asked = false;
    }
    for (const auto& rule : uni.remove) {
        for (auto record = rule->records.rbegin(); record != rule->records.rend(); ++record) {
            const HalCall call{Operation::kFilterFlowAdd, removalOf(*record)};
            ask(change, call, causeOf(*rule, *slot.current));
            // The HAL has the row twice, for discovery and session.
            if (record->etherType == kPppoe && !standard_) ask(change, call, causeOf(*rule, *slot.current));
        }
    }
    change.unis[key] = std::move(uni);
}

// ---- Making ----

void Difference::makeAll(Change& change) {
    const auto makeKinds = [&](PieceKind first, PieceKind last, std::optional<AniPlace> place = {}) {
        for (const PieceKey key : change.add) {
            if (key.kind < first || last < key.kind) continue;
            if (!place || slots_[key].wanted->place == *place) make(change, key);
        }
    };
    makeKinds(PieceKind::kTCont, PieceKind::kGemPort);
    makeBridges(change);
    for (const AniPlace place : {AniPlace::kNamedVlans, AniPlace::kAnyVlan, AniPlace::kMulticast})
        makeKinds(PieceKind::kAniService, PieceKind::kAniService, place);
    makeKinds(PieceKind::kUni, PieceKind::kUni);
    for (const PieceKey key : change.adjust) makeAdjusted(change, key);
    makeKinds(PieceKind::kMulticast, PieceKind::kPort);
}

void Difference::makeBridges(Change& change) {
    for (const PieceKey key : change.add) {
        const Piece& wanted = *slots_[key].wanted;
        if (!wanted.makesBridge) continue;
        Bridge& bridge = bridges_[*wanted.bridge];
        if (bridge.current) continue;
        BridgeServiceProvisioning removal{};
        removal.bridgeId = *wanted.bridge;
        removal.trafficModel = kOneFilterModel;
        Piece made;
        made.key = {PieceKind::kBridge, *wanted.bridge};
        made.make = {{Operation::kConfigureBridge, BridgeSide{*wanted.bridge, 0}}};
        made.undo = {{Operation::kDeprovisionAniSideBridge, removal}};
        made.cause = wanted.cause;
        for (const HalCall& call : made.make) ask(change, call, made.cause);
        bridge.current = std::move(made);
    }
}

void Difference::make(Change& change, PieceKey key) {
    Slot& slot = slots_[key];
    slot.current = slot.wanted;
    const Piece& piece = *slot.current;
    link(key, piece);
    makeCalls(change, key, piece);
    if (key.kind == PieceKind::kUni) {
        slot.asked = !piece.make.empty();
        if (piece.rules != nullptr) {
            addRules(change, slot, *piece.rules);
            slot.rules = *piece.rules;
        }
    }
    if (key.kind == PieceKind::kGemPort) gemIndexes_.added(gemPortOf(key));
    if (key.kind == PieceKind::kAniService && !standard_) gemIndexes_.used(gemPortOf(key));
    if (key.kind == PieceKind::kAniService || key.kind == PieceKind::kMulticast) checkSteering(change, key, slot);
    if (key.kind == PieceKind::kMulticast) multicasts_.insert(key);
    if (AniPlace::kNamedVlans < piece.place) bridges_[*piece.bridge].later.insert({piece.place, key});
    if (piece.usesVeip) veipServices_.insert(key);
}

// The rule that leads a GEM port's frames to its bridge is never taken back, and the first one counts.
void Difference::checkSteering(Change& change, PieceKey key, const Slot& slot) {
    if (standard_) return;
    const std::uint16_t bridge = *slot.current->bridge;
    if (firstBridges_.emplace(gemPortOf(key), bridge).first->second == bridge) return;
    change.problems.push_back({slot.owner, "what comes down in GEM port " + std::to_string(gemPortOf(key)) +
                                               " may still go to the bridge that had the GEM port before"});
}

void Difference::makeCalls(Change& change, PieceKey key, const Piece& piece) {
    bool comes = piece.usesVeip && veipServices_.empty();  // the VEIP
    for (const HalCall& call : piece.make) {
        const bool announces = call.operation == Operation::kVeipCreateRules;
        // The gateway is informed of multicast where it has a VEIP.
        if (announces && key.kind == PieceKind::kMulticast && veipServices_.empty()) continue;
        ask(change, call, piece.cause);
        if (!announces || !std::exchange(comes, false)) continue;
        // The VEIP takes the default bridge away, and the next bridge that is made brings it back: it is brought back
        // now, so that the order of services does not matter.
        ask(change, {Operation::kConfigureBridge, BridgeSide{kVeipBridge, 0}}, piece.cause);
    }
}

void Difference::addRules(Change& change, Slot& slot, const std::vector<UniRulePtr>& rules) {
    for (const auto& rule : rules) {
        for (const auto& record : rule->records) {
            ask(change, {Operation::kFilterFlowAdd, record}, causeOf(*rule, *slot.current));
            slot.asked = true;
        }
    }
}

void Difference::makeAdjusted(Change& change, PieceKey key) {
    Slot& slot = slots_[key];
    UniChange& uni = change.unis[key];
    slot.current = slot.wanted;
    addRules(change, slot, uni.add);
    slot.rules = std::move(uni.after);
    // A port whose rows go all at once leaves its bridge and joins it again, as one that is not isolated.
    const auto isolation = slots_.find({PieceKind::kIsolation, key.number});
    if (uni.whole && isolation != slots_.end() && isolation->second.current)
        makeCalls(change, isolation->first, *isolation->second.current);
}

// A row's calls come from the message that set the row, not from those of its neighbours.
Cause Difference::causeOf(const UniRule& rule, const Piece& piece) const {
    Cause cause = piece.cause;
    if (rule.message.number != 0) cause.messages = {rule.message};
    return cause;
}

void Difference::ask(Change& change, const HalCall& call, const Cause& cause) {
    const bool veip = call.operation == Operation::kVeipCreateRules || call.operation == Operation::kVeipDeleteRules;
    if (veip && action_ != change.action) {
        action_ = change.action;
        ask(change, {Operation::kSetOmciAction, OmciAction{action_}}, cause);
    }
    MadeCall made{call, cause, 0};
    if (change.message) {
        auto& messages = made.cause.messages;
        const auto place = std::lower_bound(messages.begin(), messages.end(), *change.message);
        if (place == messages.end() || !(*place == *change.message)) messages.insert(place, *change.message);
    }
    made.result = performer_.perform(call);
    if (listener_) listener_(made);
}

}  // namespace omci::services
