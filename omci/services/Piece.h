// Pieces of the plan: what is asked of the HAL, and taken back, as one.
#ifndef OMCI_SERVICES_PIECE_H
#define OMCI_SERVICES_PIECE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "omci/services/Cause.h"
#include "omci/services/HalCall.h"
#include "omci/services/UniRules.h"

namespace omci::services {

// In the order in which pieces are made; they are taken back in reverse.
enum class PieceKind : std::uint8_t {
    kTCont,
    kGemPort,
    kBridge,
    kAniService,
    kUni,
    kMulticast,
    kIpHost,
    kIsolation,
    kAgeing,
    kPort
};

struct PieceKey {
    PieceKind kind = PieceKind::kTCont;
    // T-CONT: instance; GEM port: its port-ID; bridge and ageing: number of the bridge in the HAL; ANI service and
    // multicast: bridge << 16 | GEM port; UNI, isolation and port: number of the port; IP host: instance.
    std::uint32_t number = 0;
};
constexpr bool operator==(PieceKey one, PieceKey other) {
    return one.kind == other.kind && one.number == other.number;
}
constexpr bool operator<(PieceKey one, PieceKey other) {
    return one.kind != other.kind ? one.kind < other.kind : one.number < other.number;
}

// Order of the ANI services of a bridge: an upstream frame goes into the GEM port of the first one that takes it.
enum class AniPlace : std::uint8_t { kNamedVlans, kAnyVlan, kMulticast };

using UniRulePtr = std::shared_ptr<const UniRule>;
using UniRules = std::vector<UniRulePtr>;

// From the rules of a port that the HAL has to those that are wanted.
struct UniChange {
    bool whole = false;  // rows cannot be taken back singly: everything goes, and all rules are recreated
    UniRules remove;     // in this order
    UniRules add;        // in this order
    UniRules after;      // the rules that exist then, in the order in which the HAL tries them
};

struct Piece {
    PieceKey key;
    std::vector<HalCall> make;  // of a UNI empty: its rules say it
    std::vector<HalCall> undo;
    std::optional<PieceKey> needs;        // that has to exist as long as this does
    std::optional<std::uint16_t> bridge;  // number of the HAL's bridge that it belongs to
    bool makesBridge = false;             // the bridge exists because of it; else it waits for the bridge
    AniPlace place = AniPlace::kNamedVlans;
    bool usesVeip = false;                  // the VEIP exists because of it
    bool takesBridgeAlong = false;          // when it is taken back the HAL takes away its bridge
    bool forgotten = false;                 // the HAL cannot take all of it back while the bridge exists
    std::shared_ptr<const UniRules> rules;  // of a UNI with tagging rows, in list order; else null
    Cause cause;

    // The same is asked for.
    bool sameAs(const Piece& other) const;
};

// What one entity contributes to the plan.
struct Wanted {
    std::vector<Piece> pieces;
    std::vector<Problem> problems;

    void problem(EntityKey entity, std::string reason) { problems.push_back({entity, std::move(reason)}); }
};

}  // namespace omci::services

#endif
