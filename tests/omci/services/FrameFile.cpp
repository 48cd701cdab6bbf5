#include "omci/services/FrameFile.h"

#include "hal/HALFactory.h"
#include "hal/HalForwarding.h"
#include "running/scenario/Scenario.h"

namespace {

bool firstBeginsWith(const std::vector<std::string>& lines, const std::string& text) {
    return !lines.empty() && lines.front().compare(0, text.size(), text) == 0;
}

}  // namespace

std::string wrongFrames(const std::string& name) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.forgetLearned();
    vorn_onu::RunContext context{onu, HALFactory::getInstance()->CreateHALObject(0)};
    std::string wrong;
    const auto scenario = vorn_onu::loadScenario(VORN_SCENARIO_DIR "/omci/" + name + ".frames.json");
    for (const auto& step : scenario.steps) {
        for (const auto& failure : step.run(context).failures) {
            // By G.988 a rule drops what by the contract no rule takes.
            if (vorn_hal_get_forwarding() == VORN_HAL_FORWARDING_G988 &&
                firstBeginsWith(failure.expected, "is dropped") && firstBeginsWith(failure.actual, "dropped"))
                continue;
            wrong += name + ", step " + std::to_string(step.number) + ": " + failure.what + "\n";
            for (const auto& line : failure.expected) wrong += "  expected: " + line + "\n";
            for (const auto& line : failure.actual) wrong += "  but: " + line + "\n";
        }
    }
    return wrong;
}
