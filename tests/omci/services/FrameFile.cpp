#include "omci/services/FrameFile.h"

#include "hal/HALFactory.h"
#include "running/scenario/Scenario.h"

std::string wrongFrames(const std::string& name) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.forgetLearned();
    vorn_onu::RunContext context{onu, HALFactory::getInstance()->CreateHALObject(0)};
    std::string wrong;
    const auto scenario = vorn_onu::loadScenario(VORN_SCENARIO_DIR "/omci/" + name + ".frames.json");
    for (const auto& step : scenario.steps) {
        for (const auto& failure : step.run(context).failures) {
            wrong += name + ", step " + std::to_string(step.number) + ": " + failure.what + "\n";
            for (const auto& line : failure.expected) wrong += "  expected: " + line + "\n";
            for (const auto& line : failure.actual) wrong += "  but: " + line + "\n";
        }
    }
    return wrong;
}
