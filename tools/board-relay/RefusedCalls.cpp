// Call steps where a program owns the HAL: known by name, so that steps are distinguished, and refused.
#include <nlohmann/json.hpp>

#include "running/scenario/Scenario.h"

namespace vorn_onu {

std::vector<StepKind> callSteps() {
    const auto refuse = [](Step&, const Json&, ParseContext&) {
        throw Problem("call", "is not possible here: the program owns its HAL");
    };
    return {{"call", "calls a HAL operation", {}, Json{{"type", "string"}}, refuse}};
}

}  // namespace vorn_onu
