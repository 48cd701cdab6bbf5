// The calls that make plan and HAL equal.
#include <algorithm>
#include <utility>

#include "omci/services/Difference.h"
#include "omci/services/Numbers.h"

namespace omci::services {

namespace {

constexpr std::uint8_t kPppoe = 2;

std::uint16_t gemPortOf(PieceKey key) {
    return static_cast<std::uint16_t>(key.number & 0xFFFFU);
}

}  // namespace

std::vector<Problem> Difference::settle(int action, std::optional<MessageRef> message) {
    if (touched_.empty()) return {};
    nextAction_ = action;
    message_ = message;
    const Keys affected = spread();
    collect(affected);
    undoAll();
    makeAll();
    Keys seen = affected;
    seen.insert(remove_.begin(), remove_.end());
    remove_.clear();
    add_.clear();
    adjust_.clear();
    removeBridges_.clear();
    uniChanges_.clear();
    forgetEmpty(seen);
    return std::exchange(problems_, {});
}

void Difference::forgetEmpty(const Keys& affected) {
    for (const PieceKey key : affected) {
        const auto found = slots_.find(key);
        if (found == slots_.end()) continue;
        const Slot& slot = found->second;
        if (!slot.wanted && !slot.standing && slot.dependents.empty()) slots_.erase(found);
    }
    for (auto bridge = bridges_.begin(); bridge != bridges_.end();) {
        bridge =
            bridge->second.members.empty() && !bridge->second.standing ? bridges_.erase(bridge) : std::next(bridge);
    }
}

// ---- Taking back ----

void Difference::undoAll() {
    for (auto key = remove_.rbegin(); key != remove_.rend() && PieceKind::kUni < key->kind; ++key) undo(*key);
    for (const PieceKey key : adjust_) undoAdjusted(key);
    for (auto key = remove_.rbegin(); key != remove_.rend(); ++key) {
        if (key->kind == PieceKind::kUni || key->kind == PieceKind::kAniService) undo(*key);
    }
    for (const std::uint16_t number : removeBridges_) undoBridge(number);
    for (auto key = remove_.rbegin(); key != remove_.rend(); ++key) {
        if (key->kind < PieceKind::kBridge) undo(*key);
    }
}

void Difference::undo(PieceKey key) {
    Slot& slot = slots_[key];
    const Piece gone = std::move(*slot.standing);
    slot.standing.reset();
    if (key.kind != PieceKind::kUni || slot.asked) {
        for (const HalCall& call : gone.undo) ask(call, gone.cause);
    }
    slot.asked = false;
    slot.rules.clear();
    if (key.kind == PieceKind::kGemPort) gemIndexes_.removed(gemPortOf(key));
    if (gone.bridge) bridges_[*gone.bridge].later.erase({gone.place, key});
    veipServices_.erase(key);
    multicasts_.erase(key);
    unlink(key, gone);
}

void Difference::undoBridge(std::uint16_t number) {
    Bridge& bridge = bridges_[number];
    for (const HalCall& call : bridge.standing->undo) ask(call, bridge.standing->cause);
    bridge.standing.reset();
}

void Difference::undoAdjusted(PieceKey key) {
    Slot& slot = slots_[key];
    UniChange change = uniChange(slot.rules, *slot.wanted->rules);
    if (change.whole && slot.asked) {
        for (const HalCall& call : slot.standing->undo) ask(call, slot.standing->cause);
        slot.asked = false;
    }
    for (const auto& rule : change.remove) {
        for (auto record = rule->records.rbegin(); record != rule->records.rend(); ++record) {
            const HalCall call{Operation::kFilterFlowAdd, removalOf(*record)};
            ask(call, causeOf(*rule, *slot.standing));
            // The row stands twice, for discovery and session.
            if (record->etherType == kPppoe) ask(call, causeOf(*rule, *slot.standing));
        }
    }
    uniChanges_[key] = std::move(change);
}

// ---- Making ----

void Difference::makeAll() {
    const auto makeKinds = [&](PieceKind first, PieceKind last, std::optional<AniPlace> place = {}) {
        for (const PieceKey key : add_) {
            if (key.kind < first || last < key.kind) continue;
            if (!place || slots_[key].wanted->place == *place) make(key);
        }
    };
    makeKinds(PieceKind::kTCont, PieceKind::kGemPort);
    makeBridges();
    for (const AniPlace place : {AniPlace::kNamedVlans, AniPlace::kAnyVlan, AniPlace::kMulticast})
        makeKinds(PieceKind::kAniService, PieceKind::kAniService, place);
    makeKinds(PieceKind::kUni, PieceKind::kUni);
    for (const PieceKey key : adjust_) makeAdjusted(key);
    makeKinds(PieceKind::kMulticast, PieceKind::kPort);
}

void Difference::makeBridges() {
    for (const PieceKey key : add_) {
        const Piece& wanted = *slots_[key].wanted;
        if (!wanted.makesBridge) continue;
        Bridge& bridge = bridges_[*wanted.bridge];
        if (bridge.standing) continue;
        BridgeServiceProvisioning removal{};
        removal.bridgeId = *wanted.bridge;
        removal.trafficModel = kOneFilterModel;
        Piece made;
        made.key = {PieceKind::kBridge, *wanted.bridge};
        made.make = {{Operation::kConfigureBridge, BridgeSide{*wanted.bridge, 0}}};
        made.undo = {{Operation::kDeprovisionAniSideBridge, removal}};
        made.cause = wanted.cause;
        for (const HalCall& call : made.make) ask(call, made.cause);
        bridge.standing = std::move(made);
    }
}

void Difference::make(PieceKey key) {
    Slot& slot = slots_[key];
    slot.standing = slot.wanted;
    const Piece& piece = *slot.standing;
    link(key, piece);
    makeCalls(key, piece);
    if (key.kind == PieceKind::kUni) {
        slot.asked = !piece.make.empty();
        if (piece.rules != nullptr) {
            addRules(slot, *piece.rules);
            slot.rules = *piece.rules;
        }
    }
    if (key.kind == PieceKind::kGemPort) gemIndexes_.added(gemPortOf(key));
    if (key.kind == PieceKind::kAniService) gemIndexes_.used(gemPortOf(key));
    if (key.kind == PieceKind::kAniService || key.kind == PieceKind::kMulticast) checkSteering(key, slot);
    if (key.kind == PieceKind::kMulticast) multicasts_.insert(key);
    if (AniPlace::kNamedVlans < piece.place) bridges_[*piece.bridge].later.insert({piece.place, key});
    if (piece.usesVeip) veipServices_.insert(key);
}

// The rule that leads a GEM port's frames to its bridge is never taken back, and the first one counts.
void Difference::checkSteering(PieceKey key, const Slot& slot) {
    const std::uint16_t bridge = *slot.standing->bridge;
    if (firstBridges_.emplace(gemPortOf(key), bridge).first->second == bridge) return;
    problems_.push_back({slot.owner, "what comes down in GEM port " + std::to_string(gemPortOf(key)) +
                                         " may still go to the bridge that had the GEM port before"});
}

void Difference::makeCalls(PieceKey key, const Piece& piece) {
    bool comes = piece.usesVeip && veipServices_.empty();  // the VEIP
    for (const HalCall& call : piece.make) {
        const bool announces = call.operation == Operation::kVeipCreateRules;
        // The gateway is told of multicast where it has a VEIP.
        if (announces && key.kind == PieceKind::kMulticast && veipServices_.empty()) continue;
        ask(call, piece.cause);
        if (!announces || !std::exchange(comes, false)) continue;
        // The VEIP takes the default bridge away, and the next bridge that is made brings it back: it is brought back
        // now, so that the order of services does not matter.
        ask({Operation::kConfigureBridge, BridgeSide{kVeipBridge, 0}}, piece.cause);
    }
}

void Difference::addRules(Slot& slot, const std::vector<UniRulePtr>& rules) {
    for (const auto& rule : rules) {
        for (const auto& record : rule->records) {
            ask({Operation::kFilterFlowAdd, record}, causeOf(*rule, *slot.standing));
            slot.asked = true;
        }
    }
}

void Difference::makeAdjusted(PieceKey key) {
    Slot& slot = slots_[key];
    UniChange& change = uniChanges_[key];
    slot.standing = slot.wanted;
    addRules(slot, change.add);
    slot.rules = std::move(change.after);
}

// A row's calls come from the message that set the row, not from those of its neighbours.
Cause Difference::causeOf(const UniRule& rule, const Piece& piece) const {
    Cause cause = piece.cause;
    if (rule.message.number != 0) cause.messages = {rule.message};
    return cause;
}

void Difference::ask(const HalCall& call, const Cause& cause) {
    const bool veip = call.operation == Operation::kVeipCreateRules || call.operation == Operation::kVeipDeleteRules;
    if (veip && action_ != nextAction_) {
        action_ = nextAction_;
        ask({Operation::kSetOmciAction, OmciAction{action_}}, cause);
    }
    MadeCall made{call, cause, 0};
    if (message_) {
        auto& messages = made.cause.messages;
        const auto place = std::lower_bound(messages.begin(), messages.end(), *message_);
        if (place == messages.end() || !(*place == *message_)) messages.insert(place, *message_);
    }
    made.result = performer_.perform(call);
    if (listener_) listener_(made);
}

}  // namespace omci::services
