// What has to be done; DifferenceCalls.cpp does it.
#include "omci/services/Difference.h"

#include <algorithm>
#include <utility>

namespace omci::services {

bool Piece::sameAs(const Piece& other) const {
    const bool sameRules =
        rules == other.rules || (rules != nullptr && other.rules != nullptr && *rules == *other.rules);
    return sameRules && make == other.make && needs == other.needs && bridge == other.bridge;
}

void Difference::link(PieceKey key, const Piece& piece) {
    if (piece.needs) slots_[*piece.needs].dependents.insert(key);
    if (piece.bridge) bridges_[*piece.bridge].members.insert(key);
}

// Of a piece that its slot no longer holds.
void Difference::unlink(PieceKey key, const Piece& piece) {
    const Slot& slot = slots_[key];
    const auto stillHas = [&](auto member) {
        return (slot.wanted && (*slot.wanted).*member == piece.*member) ||
               (slot.current && (*slot.current).*member == piece.*member);
    };
    if (piece.needs && !stillHas(&Piece::needs)) slots_[*piece.needs].dependents.erase(key);
    if (piece.bridge && !stillHas(&Piece::bridge)) bridges_[*piece.bridge].members.erase(key);
}

// Nobody wants it any more, or not like this.
void Difference::drop(PieceKey key, Slot& slot) {
    const Piece gone = std::move(*slot.wanted);
    slot.wanted.reset();
    touched_.insert(key);
    if (gone.makesBridge) {
        Bridge& bridge = bridges_[*gone.bridge];
        if (bridge.makers.erase(key) != 0 && bridge.makers.empty())
            touched_.insert(bridge.members.begin(), bridge.members.end());
    }
    unlink(key, gone);
}

void Difference::replace(EntityKey owner, std::vector<Piece> pieces, std::vector<EntityKey>& again,
                         std::vector<Problem>& problems) {
    std::vector<PieceKey> keys;
    for (const Piece& piece : pieces) keys.push_back(piece.key);
    auto& owned = owned_[owner];
    for (const PieceKey key : owned) {
        if (std::find(keys.begin(), keys.end(), key) != keys.end()) continue;
        Slot& slot = slots_[key];
        drop(key, slot);
        again.insert(again.end(), slot.contenders.begin(), slot.contenders.end());
        slot.contenders.clear();
    }
    owned.clear();
    for (Piece& piece : pieces) {
        const PieceKey key = piece.key;
        Slot& slot = slots_[key];
        if (slot.wanted && slot.owner != owner) {
            slot.contenders.insert(owner);
            problems.push_back({owner, "left out: another entity has the same GEM port"});
            continue;
        }
        owned.push_back(key);
        if (slot.wanted && slot.wanted->sameAs(piece)) {
            if (slot.current && slot.current->sameAs(piece)) slot.current->cause = piece.cause;
            slot.wanted->cause = std::move(piece.cause);
            continue;
        }
        if (slot.wanted) drop(key, slot);
        slot.owner = owner;
        slot.wanted = std::move(piece);
        link(key, *slot.wanted);
        touched_.insert(key);
    }
    if (owned.empty()) owned_.erase(owner);
}

bool Difference::isEffective(const Slot& slot) const {
    if (!slot.wanted) return false;
    const Piece& piece = *slot.wanted;
    if (piece.needs) {
        const auto needed = slots_.find(*piece.needs);
        if (needed == slots_.end() || !needed->second.effective) return false;
    }
    if (!piece.bridge || piece.makesBridge) return true;
    const auto bridge = bridges_.find(*piece.bridge);
    return bridge != bridges_.end() && !bridge->second.makers.empty();
}

// True when the bridge begins or ceases to be wanted by it.
bool Difference::updateMakers(PieceKey key, const Slot& slot) {
    if (!slot.wanted || !slot.wanted->makesBridge) return false;
    Bridge& bridge = bridges_[*slot.wanted->bridge];
    const bool wasEmpty = bridge.makers.empty();
    if (slot.effective) {
        bridge.makers.insert(key);
    } else {
        bridge.makers.erase(key);
    }
    return wasEmpty != bridge.makers.empty();
}

// Which pieces become effective or cease to be, with those that were touched.
Difference::Keys Difference::spread() {
    Keys affected;
    std::vector<PieceKey> open(touched_.begin(), touched_.end());
    touched_.clear();
    while (!open.empty()) {
        const PieceKey key = open.back();
        open.pop_back();
        affected.insert(key);
        Slot& slot = slots_[key];
        const bool was = std::exchange(slot.effective, isEffective(slot));
        if (was != slot.effective) open.insert(open.end(), slot.dependents.begin(), slot.dependents.end());
        if (!updateMakers(key, slot)) continue;
        for (const PieceKey member : bridges_[*slot.wanted->bridge].members) {
            const Slot& other = slots_[member];
            if (other.wanted && !other.wanted->makesBridge) open.push_back(member);
        }
    }
    return affected;
}

void Difference::collect(Change& change, const Keys& affected) {
    for (const PieceKey key : affected) {
        const Slot& slot = slots_[key];
        const auto unwanted = [&](const std::optional<Piece>& piece) {
            if (piece && piece->bridge && bridges_[*piece->bridge].makers.empty()) markBridge(change, *piece->bridge);
        };
        unwanted(slot.current);
        unwanted(slot.wanted);
        if (!slot.current) {
            if (slot.effective) change.add.insert(key);
            continue;
        }
        if (slot.effective && slot.current->sameAs(*slot.wanted)) continue;
        const bool adjustable = key.kind == PieceKind::kUni && slot.effective &&
                                slot.current->bridge == slot.wanted->bridge && slot.current->make.empty() &&
                                slot.wanted->make.empty();
        if (adjustable) {
            change.adjust.insert(key);
        } else {
            markForRemoval(change, key);
        }
    }
    markLaterServices(change);
    markMulticast(change);
    for (const PieceKey key : change.remove) {
        change.adjust.erase(key);
        if (slots_[key].effective) change.add.insert(key);
    }
}

// The piece is to be removed, and with it what hangs on it or what the HAL takes along.
void Difference::markForRemoval(Change& change, PieceKey key) {
    if (!slots_[key].current || !change.remove.insert(key).second) return;
    const Slot& slot = slots_[key];
    for (const PieceKey dependent : slot.dependents) markForRemoval(change, dependent);
    const Piece& piece = *slot.current;
    if (!piece.bridge) return;
    const bool notFound =
        key.kind == PieceKind::kAniService && !gemIndexes_.certain(static_cast<std::uint16_t>(key.number & 0xFFFFU));
    if (piece.takesBridgeAlong || piece.forgotten || notFound) markBridge(change, *piece.bridge);
}

void Difference::markBridge(Change& change, std::uint16_t number) {
    Bridge& bridge = bridges_[number];
    if (!bridge.current || !change.bridges.insert(number).second) return;
    for (const PieceKey member : bridge.members) markForRemoval(change, member);
}

// ANI services stay behind those that are added and have an earlier place.
void Difference::markLaterServices(Change& change) {
    std::map<std::uint16_t, AniPlace> first;  // place of what is added, by bridge
    const auto note = [&](PieceKey key) {
        const Slot& slot = slots_[key];
        if (key.kind != PieceKind::kAniService || !slot.effective) return;
        const auto [at, isNew] = first.emplace(*slot.wanted->bridge, slot.wanted->place);
        if (!isNew) at->second = std::min(at->second, slot.wanted->place);
    };
    for (const PieceKey key : change.add) note(key);
    for (const PieceKey key : change.remove) note(key);
    for (const auto& [number, place] : first) {
        const auto later = bridges_[number].later;
        for (const auto& [other, key] : later) {
            if (place < other) markForRemoval(change, key);
        }
    }
}

// Multicast is led to the VEIP, if there is one: it is made again when the VEIP comes or goes.
void Difference::markMulticast(Change& change) {
    if (multicasts_.empty()) return;
    const auto stays = [&](PieceKey key) { return change.remove.count(key) == 0; };
    const auto uses = [&](PieceKey key) {
        const Slot& slot = slots_[key];
        return slot.effective && slot.wanted->usesVeip;
    };
    const bool before = !veipServices_.empty();
    const bool meanwhile = std::any_of(veipServices_.begin(), veipServices_.end(), stays);
    const bool after = meanwhile || std::any_of(change.add.begin(), change.add.end(), uses);
    if ((before && !meanwhile) || (!before && after)) {
        for (const PieceKey key : Keys(multicasts_)) markForRemoval(change, key);
    }
}

std::vector<const Piece*> Difference::currentPieces() const {
    std::vector<const Piece*> pieces;
    bool bridges = false;
    const auto addBridges = [&] {
        for (const auto& [number, bridge] : bridges_) {
            if (bridge.current) pieces.push_back(&*bridge.current);
        }
        bridges = true;
    };
    for (const auto& [key, slot] : slots_) {
        if (!bridges && PieceKind::kBridge < key.kind) addBridges();
        if (slot.current) pieces.push_back(&*slot.current);
    }
    if (!bridges) addBridges();
    return pieces;
}

}  // namespace omci::services
