// The plan beside what was last asked of the HAL, and the calls that make the two equal.
#ifndef OMCI_SERVICES_DIFFERENCE_H
#define OMCI_SERVICES_DIFFERENCE_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "omci/services/GemIndexes.h"
#include "omci/services/Performer.h"
#include "omci/services/Piece.h"

namespace omci::services {

// A call as it was made.
struct MadeCall {
    HalCall call;
    Cause cause;
    int result = 0;  // the HAL's answer
};

class Difference {
public:
    using Listener = std::function<void(const MadeCall&)>;

    // standardForwarding: the HAL forwards as G.988 says, in whatever order it was asked.
    Difference(Performer& performer, Listener& listener, bool standardForwarding)
        : performer_(performer), listener_(listener), standard_(standardForwarding) {}

    // What the entity wants from now on, in the place of what it wanted. Appends to again the entities that are to be
    // planned again because of it, and to problems what cannot be because another entity has it.
    void replace(EntityKey owner, std::vector<Piece> pieces, std::vector<EntityKey>& again,
                 std::vector<Problem>& problems);

    // Asks the HAL for the difference. Only what replace() touched is looked at, and what hangs on it.
    //   action   type of the message that is answered; the HAL sends the gateway something else on a MIB reset
    //   message  joined to the cause of every call
    // Answers what turned out not to be done.
    std::vector<Problem> settle(int action, std::optional<MessageRef> message);

    // What the HAL has been asked for, in the order in which it is made.
    std::vector<const Piece*> currentPieces() const;

private:
    struct Slot {
        std::optional<Piece> wanted;
        EntityKey owner;
        std::set<EntityKey> contenders;  // that want it too
        std::optional<Piece> current;
        std::vector<UniRulePtr> rules;  // of a current UNI, in the order in which the HAL tries them
        bool asked = false;             // of a current UNI: the HAL knows of it
        bool effective = false;         // wanted, and all that it needs is
        std::set<PieceKey> dependents;  // pieces that need it, wanted or current
    };
    struct Bridge {
        std::set<PieceKey> makers;   // effective pieces that need it
        std::set<PieceKey> members;  // pieces on it, wanted or current
        // Current ANI services, but for those with named VLANs.
        std::set<std::pair<AniPlace, PieceKey>> later;
        std::optional<Piece> current;
    };
    using Keys = std::set<PieceKey>;
    // What one settle() has to do, and what came of it.
    struct Change {
        Keys remove, add, adjust;
        std::set<std::uint16_t> bridges;  // that are removed
        std::map<PieceKey, UniChange> unis;
        int action = 0;
        std::optional<MessageRef> message;
        std::vector<Problem> problems;
    };

    void link(PieceKey key, const Piece& piece);
    void unlink(PieceKey key, const Piece& piece);
    void drop(PieceKey key, Slot& slot);

    // What has to be done.
    Keys spread();
    bool isEffective(const Slot& slot) const;
    bool updateMakers(PieceKey key, const Slot& slot);
    void collect(Change& change, const Keys& affected);
    void markForRemoval(Change& change, PieceKey key);
    void markBridge(Change& change, std::uint16_t number);
    void markLaterServices(Change& change);
    void markMulticast(Change& change);

    // Doing it.
    void undoAll(Change& change);
    void undo(Change& change, PieceKey key);
    void undoBridge(Change& change, std::uint16_t number);
    void makeAll(Change& change);
    void makeBridges(Change& change);
    void make(Change& change, PieceKey key);
    void makeCalls(Change& change, PieceKey key, const Piece& piece);
    void checkSteering(Change& change, PieceKey key, const Slot& slot);
    void addRules(Change& change, Slot& slot, const std::vector<UniRulePtr>& rules);
    void undoAdjusted(Change& change, PieceKey key);
    void makeAdjusted(Change& change, PieceKey key);
    Cause causeOf(const UniRule& rule, const Piece& piece) const;
    void ask(Change& change, const HalCall& call, const Cause& cause);
    void forgetEmpty(const Keys& affected);

    Performer& performer_;
    Listener& listener_;
    const bool standard_;
    std::map<PieceKey, Slot> slots_;
    std::map<std::uint16_t, Bridge> bridges_;
    std::map<EntityKey, std::vector<PieceKey>> owned_;
    GemIndexes gemIndexes_;
    std::map<std::uint16_t, std::uint16_t>
        firstBridges_;                              // of the GEM ports: the HAL steers their frames there for good
    std::set<PieceKey> veipServices_, multicasts_;  // current ones
    int action_ = 0;                                // last given to the HAL

    Keys touched_;
};

}  // namespace omci::services

#endif
