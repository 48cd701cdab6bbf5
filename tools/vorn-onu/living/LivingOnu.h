// A whole ONU on the process's virtual ONU: agent, services and HAL.
#ifndef VORN_ONU_LIVING_ONU_H
#define VORN_ONU_LIVING_ONU_H

#include <cstdint>
#include <string>
#include <vector>

#include "living/BoardDevice.h"
#include "living/BoardStart.h"
#include "omci/agent/Agent.h"
#include "omci/services/Services.h"
#include "running/io/HeldJson.h"
#include "running/scenario/fields/Problem.h"
#include "running/state/RuleOrigins.h"

class VornHal;

namespace vorn_onu {

// A call of the HAL with what it came from.
struct HalStep {
    std::size_t number = 0;         // from 1
    Held<Json> step;                // as a scenario has it
    std::string name;               // "gemflow_add"
    std::string words;              // its fields
    std::string effects;            // what it has changed on the device
    std::vector<MergedRule> rules;  // that it has put into the device
    int result = 0;
    std::vector<omci::EntityKey> entities;
    std::vector<std::uint64_t> messages;  // by the agent's numbers; in Played by those that are shown
};

// What one message has done.
struct Handling {
    omci::Handled handled;
    std::vector<HalStep> calls;
    std::vector<omci::services::Problem> problems;
    std::vector<omci::Message> autonomous;  // that the ONU sent since the last message
};

class LivingOnu {
public:
    // Makes the board, with a gateway that answers after 10 ms, and initialises the HAL. numbering: instance numbers of
    // another ONU, where they are not the usual ones. Throws where the board's file cannot be used.
    explicit LivingOnu(const omci::BoardNumbering& numbering = {}, const BoardStart& start = {});
    ~LivingOnu();
    LivingOnu(const LivingOnu&) = delete;
    LivingOnu& operator=(const LivingOnu&) = delete;

    Handling handle(const omci::Message& request);
    // Lets a moment's work be done: once a second. What the ONU sends because of it comes out.
    std::vector<omci::Message> tick();

    // The data sync counter goes on by so many, without a message of the OLT.
    void moveDataSync(unsigned count);
    // Restarts as after a loss of power. What the HAL is asked for because of it is in the next message's handling.
    void reboot();

    omci::Agent& agent() { return agent_; }
    const omci::Mib& mib() { return agent_.mib(); }
    // What services exist: in the order in which the pieces are made.
    std::vector<const omci::services::Piece*> currentPieces() const { return services_.currentPieces(); }
    const RuleOrigins& origins() const { return origins_; }  // calls by their numbers
    // What was done before the first message, as steps of a scenario.
    static Json startSteps(const BoardStart& start);

private:
    class EffectPerformer : public omci::services::Performer {
    public:
        explicit EffectPerformer(VornHal& hal);
        int perform(const omci::services::HalCall& call) override;
        std::string hostMac() override { return hal_.hostMac(); }
        std::string effects;  // of the last call

    private:
        omci::services::HalPerformer hal_;
    };

    VornHal& hal_;
    omci::Board board_;
    BoardDevice device_;
    omci::SteadyClock clock_;
    omci::Agent agent_;
    EffectPerformer performer_;
    omci::services::Services services_;
    RuleOrigins origins_;
    Handling now_;
    std::size_t calls_ = 0;
};

}  // namespace vorn_onu

#endif
