// What the page shows of a board that runs: parts of HTML by name, recreated when the board has changed.
#ifndef VORN_ONU_PAGE_BOARD_VIEW_H
#define VORN_ONU_PAGE_BOARD_VIEW_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "living/Client.h"
#include "running/io/HeldJson.h"
#include "running/state/DeviceState.h"

namespace vorn_onu::page {

using Parts = std::map<std::string, std::string>;

class BoardView {
public:
    // newBoard: the state of a board that nothing has been done to. Throws what Client throws.
    BoardView(const std::string& board, const nlohmann::json& newBoard);
    // Takes what happens on the board within this time. Throws std::runtime_error when it is gone.
    void follow(std::chrono::milliseconds time);
    // The state is asked for again although the board has reported no change.
    void lookAgain() { changed_ = true; }
    // The parts that are not as they were at the last call.
    Parts changedParts();

private:
    using Clock = std::chrono::steady_clock;
    void begin();
    void take(nlohmann::json& event);
    void takeEntries(nlohmann::json& entries);
    void takeCounters(const nlohmann::json& counters);
    void look();

    living::Client client_;
    const nlohmann::json& newBoard_;
    DeviceState newState_;
    std::deque<Held<nlohmann::json>> entries_, failed_;  // of the trace, the latest
    Held<nlohmann::json> counters_;
    Clock::time_point counted_{}, looked_{};
    Clock::duration lookTime_{};  // that the last look took
    bool changed_ = true;
    bool hasOlt_ = false;
    Parts parts_, told_;
};

}  // namespace vorn_onu::page

#endif
