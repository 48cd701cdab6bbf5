// What a scenario can change on the board and in the rest of the device.
#ifndef VORN_ONU_BOARD_SETTINGS_H
#define VORN_ONU_BOARD_SETTINGS_H

#include <functional>
#include <vector>

#include "VirtualOnu.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

using BoardSetting = std::function<void(virtual_onu::VirtualOnu&)>;

// The settings of {"optics": ..., "links": ..., ...}, checked. Throws a Problem.
std::vector<BoardSetting> boardSettings(const Json& value);
Json boardSchema();

}  // namespace vorn_onu

#endif
