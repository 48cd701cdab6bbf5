// What the daemon has asked for: each operation that provisions, by its arguments, with what it has made or found on
// the device. So a daemon that starts again may ask for all that it wants as after a boot: what was restored and is
// asked for again is claimed and does nothing, and what nobody has claimed can be taken away.
//
// An operation is known by its arguments alone. It is forgotten with the first of the things it needs that goes.
// Without a state file each function here costs one atomic load.
#ifndef KIT_ASKED_H
#define KIT_ASKED_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/StateEntries.h"

namespace kit {

enum class Ask : std::uint8_t {
    Tcont = 1,
    GemPort = 2,
    Bridge = 3,
    PonRules = 4,
    UniRow = 5,  // and its removal
    IpHost = 6,
    Veip = 7,
    ClearPbits = 16,
    RemovePonSide = 17,
    RemoveUniSide = 18,
    RemoveIpHost = 19,
};

enum class AskKind {
    Provision,
    // The two that are finished when a file is opened within them: noted with their arguments before they begin.
    ProvisionWhole,
    Remove,
};

// The time of one operation of the daemon's. Within another one it is nothing of its own.
class AskedOperation : public state::Operation {
public:
    // The arguments are a record that addPart() writes.
    template <typename Arguments>
    AskedOperation(Ask ask, AskKind kind, const Arguments& arguments) {
        if (journal_ == nullptr || !journal_->isOutermost()) return;
        state::ByteWriter bytes;
        bytes.add(static_cast<std::uint8_t>(ask));
        addPart(bytes, arguments);
        begin(kind, bytes.bytes());
    }
    ~AskedOperation() {
        if (begun_) end();
    }
    AskedOperation(const AskedOperation&) = delete;
    AskedOperation& operator=(const AskedOperation&) = delete;

    // Its effect was restored when the file was opened: there is nothing to do.
    bool isDone() const { return done_; }
    // It has failed and left nothing behind: nobody counts on it after a restart.
    void rolledBack() { rolledBack_ = true; }
    // Of one whose effect was restored: whether there is something that it needs, by its key, of which `is` says so.
    bool needs(const std::function<bool(std::string_view effect)>& is) const;
    // Of such a one: after a boot it would do more than was restored. It is run again when claims end.
    void runAgain() const;

private:
    void begin(AskKind kind, std::string_view askAndArguments);
    void end();

    std::string restoredEntry_;  // of one that is done
    AskKind kind_ = AskKind::Provision;
    bool begun_ = false;
    bool done_ = false;
    bool rolledBack_ = false;
};

// While one exists, what is removed is replaced by what is asked for: whoever has asked for it still has.
class Replacement {
public:
    Replacement();
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
};

// ---- what the running operation needs ----

// An effect is the key of an entry of the state file; a rule has that of a loose one.
void noteNeed(const std::string& effect);
template <typename... Parts>
void noteNeed(Entry kind, const Parts&... parts) {
    if (state::journal() != nullptr) noteNeed(keyOf(kind, parts...));
}
// It is on a bridge, which says that it is there.
void noteNeedOfMember(const char* device);
// The effect has gone: so are the operations that needed it.
void noteLoss(const std::string& effect);
template <typename... Parts>
void noteLoss(Entry kind, const Parts&... parts) {
    if (state::journal() != nullptr) noteLoss(keyOf(kind, parts...));
}
// What was there before kept the running operation from doing all that it does after a boot.
void noteIncomplete();
// What was there before, and is not claimed yet, has let the running operation do more than it does after a boot.
void noteAhead();

// ---- after the file was opened ----

// Every restored operation waits to be claimed.
void expectClaims();
// So does one that was finished at the open.
void expectClaim(std::string_view askAndArguments);
// A removal that was finished at the open: called again as the very first operation it does nothing.
void noteFinished(std::string_view askAndArguments);
bool isAskedAgain();  // an operation has been claimed
bool isClaimed(const std::string& effect);
bool isClaimed(Ask ask);  // one of them at least
// Operations that were ahead no longer need these.
void forgetNeedsAhead(const std::function<bool(std::string_view effect)>& is);
// Forgets what nobody has claimed, and, with what they have done, the operations that were incomplete. These, to be run
// again, in their order.
std::vector<std::string> endClaims();
void forgetAsked();  // all of it

}  // namespace kit

#endif
