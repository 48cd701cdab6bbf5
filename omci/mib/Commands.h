// What the messages that name an entity do to the MIB: create, delete, set, set table, get, MIB reset.
#ifndef OMCI_MIB_COMMANDS_H
#define OMCI_MIB_COMMANDS_H

#include <cstddef>
#include <cstdint>

#include "omci/message/ValueText.h"
#include "omci/mib/Board.h"
#include "omci/mib/Mib.h"

namespace omci {

struct CreateOutcome {
    Result result = Result::kSuccess;
    AttributeMask failed = 0;  // with a parameter error: whose values were refused
};

struct SetOutcome {
    Result result = Result::kSuccess;
    AttributeMask unsupported = 0, failed = 0;  // with "attributes failed"
    bool done = false;                          // at least one attribute was set, to whatever value
};

struct GetOutcome {
    Result result = Result::kSuccess;
    AttributeMask mask = 0;  // of the values
    Bytes values;            // a table's is its length, four bytes
    AttributeMask unsupported = 0, failed = 0;
};

// Who may change what here is the OLT: the ONU itself changes its MIB without these.
class MibCommands {
public:
    // Both live as long as this object.
    MibCommands(Mib& mib, const Board& board) : mib_(mib), board_(board) {}

    // Makes the entities of the board in an empty MIB.
    void start();
    // Entities that the OLT made go; what the OLT can write takes its first value; the data sync counter becomes 0.
    void reset();

    // values are those of all set-by-create attributes in order; missing ones take their defaults, further bytes are
    // ignored. A pointer may name what does not exist (yet). With some classes come others, which the delete takes
    // along.
    CreateOutcome create(EntityKey key, ByteView values);
    Result erase(EntityKey key);
    // values of the mask's attributes in order; tables says how much of them a table's rows are. Nothing is changed
    // with a result other than success and "attributes failed"; with that one the attributes in neither mask are set.
    SetOutcome set(EntityKey key, AttributeMask mask, ByteView values, Tables tables);
    // At most room bytes of values.
    GetOutcome get(EntityKey key, AttributeMask mask, std::size_t room);

    // Brings values up to date that follow from others: counts and states of a bridge and its ports.
    void refresh(EntityKey key, AttributeMask mask);

    // Success when the class knows the message and the instance exists; else the result that says what is wrong.
    Result check(EntityKey key, MessageType type) const;

private:
    bool isFixed(const Entity& entity, AttributeNumber attribute) const;
    void addCompanions(const Entity& entity);
    std::uint8_t stateOf(const Entity& bridgePort) const;

    Mib& mib_;
    const Board& board_;
};

// Values of an entity that need not exist in a MIB, as a get answers them.
GetOutcome readAttributes(const Entity& entity, AttributeMask mask, std::size_t room);

}  // namespace omci

#endif
