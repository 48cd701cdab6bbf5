// Options that say which board it is.
#ifndef VORN_ONU_BOARD_OPTIONS_H
#define VORN_ONU_BOARD_OPTIONS_H

#include "commands/BoardChoice.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vorn_onu {

// --serial, --serial-from-hostname, --mac.
void addIdentityOptions(CLI::App& command, BoardChoice& board);
// --board; whose: "the program", who finds the board and leaves it.
CLI::Option* addBoardFile(CLI::App& command, BoardChoice& board, const char* whose);

}  // namespace vorn_onu

#endif
