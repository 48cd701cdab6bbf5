// A board that outlives the program.
#ifndef VORN_ONU_KEPT_BOARD_H
#define VORN_ONU_KEPT_BOARD_H

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu {

// The state of the board that is open, which lacks nothing, with what the program has reported of its calls: its trace,
// the messages and frames that it sent, its shell commands. A program that is killed is behind with those by its last
// moments. Without a state of the program's (discarded) the board's alone.
nlohmann::json boardAndCalls(const nlohmann::json& program);

}  // namespace vorn_onu

#endif
