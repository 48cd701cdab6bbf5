// What the MIB means for the HAL: watches a MIB and keeps the HAL as the entities say.
//
// After each message that may have changed the MIB, settle() plans what it touched, compares it with what was last
// asked of the HAL and asks for the difference. An entity that is not complete waits without an error; it may come in
// any order.
#ifndef OMCI_SERVICES_SERVICES_H
#define OMCI_SERVICES_SERVICES_H

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "omci/mib/Mib.h"
#include "omci/services/Difference.h"
#include "omci/services/Plan.h"

namespace omci::services {

// Not thread safe: belongs to the thread that changes the MIB, and the HAL is called on it.
class Services : private MibObserver {
public:
    using CallListener = std::function<void(const MadeCall&)>;
    using ProblemListener = std::function<void(const Problem&)>;

    // MIB and device have to live as long as this object. Entities that exist already are planned with the next
    // settle().
    Services(Mib& mib, Performer& performer, Settings settings = {});
    ~Services() override;
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    // Notified of every call, after it was made.
    void onCall(CallListener listener) { callListener_ = std::move(listener); }
    // Notified of what the HAL cannot do: once, however often it is asked for.
    void onProblem(ProblemListener listener) { problemListener_ = std::move(listener); }

    // Asks the HAL for what has changed.
    //   action       type of the message (MessageType); the HAL sends the gateway something else while it is a MIB
    //   reset transaction  transaction identifier of the message whose number was given to Mib::setCause()
    void settle(int action, std::uint16_t transaction);

    // What exists: pieces in the order in which they are made.
    std::vector<const Piece*> currentPieces() const { return difference_.currentPieces(); }
    // What the entities that exist ask for in vain, by entities.
    std::vector<Problem> problems() const;

private:
    void onChange(const Change& change) override;
    void noteBridgePort(const Change& change);
    void countUserPort(InstanceId bridge, ClassId kind, int by);
    void touch(EntityKey key);
    void note(EntityKey key, bool exists, std::optional<MessageRef> message);
    void planOne(EntityKey key);
    void report(const Problem& problem);
    Cause completed(Cause cause) const;

    Mib& mib_;
    Performer& performer_;
    CallListener callListener_;
    ProblemListener problemListener_;
    PlanContext context_;
    Readers readers_;
    History history_;
    Difference difference_;

    std::set<EntityKey> dirty_;                        // entities to be planned
    std::vector<std::pair<EntityKey, bool>> changed_;  // since the last settle(), and whether they exist
    std::uint64_t cause_ = 0;                          // number of the message behind the changes
    // Bridge of each port to the user's side, and the class that the port leads to.
    std::map<InstanceId, std::pair<InstanceId, ClassId>> userPorts_;
    std::map<EntityKey, std::vector<Problem>> problems_;
    std::set<Problem> late_;  // that stay
    std::set<Problem> told_;
};

}  // namespace omci::services

#endif
