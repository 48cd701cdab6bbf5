// What must hold between the records of a board, each of which has been found good by itself.
#ifndef VIRTUAL_ONU_BOARD_CHECK_H
#define VIRTUAL_ONU_BOARD_CHECK_H

#include <functional>
#include <map>
#include <string>

#include "Records.h"

namespace virtual_onu::persistence {

using RecordsOf = std::function<const std::map<std::string, Json>&(const char* section)>;

// Throws BadBoard.
void checkBoard(const RecordsOf& recordsOf);

}  // namespace virtual_onu::persistence

#endif
