// What a board that runs has answered to a step, for people.
#ifndef VORN_ONU_STEP_REPLY_H
#define VORN_ONU_STEP_REPLY_H

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "views/Terminal.h"

namespace vorn_onu {

// step: as stepJson() writes it.
std::string stepReplyText(const nlohmann::json& step, const Terminal& terminal);

// The path of a frame in words: hops, and where it left or why not.
std::string wayText(const nlohmann::json& way, const Terminal& terminal);

}  // namespace vorn_onu

#endif
