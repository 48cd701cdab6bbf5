// The step that lets calls into the device fail, and what is said of a fault that never came to it.
#include "running/scenario/StepsFault.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "running/scenario/Scenario.h"
#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

struct FaultSetting {
    std::string function;
    std::int32_t nth = 1, code = 1;
    std::uint32_t call = 0;
    std::uint8_t may = 0;
    std::string words() const {
        return call != 0 ? "call number " + std::to_string(call) : "call " + std::to_string(nth) + " of " + function;
    }
};

std::vector<Field> faultFields() {
    using R = FaultSetting;
    return {
        field("function", &R::function, optional(),
              "name of the call that fails: \"tmctl_setQueueCfg\", \"ioctl:SIOCSIFMTU\""),
        field("nth", &R::nth, Numbers{1, 1000000}, otherwise(1), "which of its calls from now on: 1 is the next"),
        field("call", &R::call, Numbers{1, 0xFFFFFFFF}, optional(), "instead of a function: the number of the call"),
        field("code", &R::code, Numbers{-1000000, 1000000}, otherwise(1), "the call's result, or errno"),
        field("may", &R::may, Numbers{0, 1, {}, true}, otherwise(false), "true: no failure when it never comes to it"),
    };
}

// Names are checked as far as they are fixed: of "open:/dev/laser_dev" the function, of "ioctl:SIOCSIFMTU" all.
void checkFunction(const std::string& function) {
    const std::vector<std::string> known = virtual_onu::VirtualOnu::faultNames();
    const auto isKnown = [&known](const std::string& name) {
        return std::find(known.begin(), known.end(), name) != known.end();
    };
    const std::string ioctl = "ioctl:";
    const bool isRequest = function.compare(0, ioctl.size(), ioctl) == 0;
    const bool isNumber = isRequest && function.size() > ioctl.size() &&
                          function.find_first_not_of("0123456789xabcdef", ioctl.size()) == std::string::npos;
    const std::string name = isRequest ? function : function.substr(0, function.find(':'));
    if (isNumber || isKnown(name)) return;
    throw Problem("function",
                  "no call of the device kit or the C library has the name '" + name + "'" + suggestion(name, known));
}

FaultSetting settingOf(const Json& value) {
    FaultSetting setting;
    fill(&setting, faultFields(), value);
    if (value.contains("function") == value.contains("call"))
        throw Problem("must have one of the fields function and call, or be \"clear\"");
    if (value.contains("function")) checkFunction(setting.function);
    return setting;
}

StepResult arm(const FaultSetting& setting, std::size_t step, RunContext& context) {
    StepResult done;
    ArmedFault armed{step, setting.words(), 0, setting.call, setting.nth};
    if (setting.call == 0) {
        armed.fault = context.onu.failNext(setting.function, setting.nth, setting.code);
    } else if (setting.call <= context.onu.callCount()) {
        const std::string calls = std::to_string(context.onu.callCount());
        done.failures.push_back({setting.words(), {"is still to come"}, {"there have been " + calls + " calls"}});
        return done;
    } else {
        context.onu.failCall(setting.call, setting.code);
    }
    if (setting.may == 0) context.faults.push_back(std::move(armed));
    return done;
}

void parseFault(Step& step, const Json& whole, ParseContext&) {
    const Json& value = whole["fault"];
    if (value == "clear") {
        step.words = "no fault any more";
        step.run = [](RunContext& context) {
            StepResult done;
            done.failures = faultsThatNeverFired(context);
            context.faults.clear();
            context.onu.clearFaults();
            return done;
        };
        return;
    }
    const FaultSetting setting = inField("fault", [&] { return settingOf(value); });
    step.words = setting.words() + " will fail with " + std::to_string(setting.code);
    const std::size_t number = step.number;
    step.run = [setting, number](RunContext& context) { return arm(setting, number, context); };
}

Json faultSchema() {
    return {{"anyOf", Json::array({Json{{"const", "clear"}}, Json{{"type", "object"},
                                                                  {"additionalProperties", false},
                                                                  {"properties", propertiesOf(faultFields())}}})}};
}

}  // namespace

std::vector<Failure> faultsThatNeverFired(const RunContext& context) {
    std::vector<Failure> failures;
    for (const ArmedFault& armed : context.faults) {
        std::string calls;
        if (armed.call > context.onu.callCount()) {
            calls = std::to_string(context.onu.callCount()) + " calls into the device in all";
        } else if (const auto left = context.onu.callsUntilFault(armed.fault)) {
            calls = std::to_string(armed.nth - *left) + " such calls since";
        } else {
            continue;
        }
        failures.push_back(
            {"fault of step " + std::to_string(armed.step), {armed.words + " comes, and fails"}, {calls}});
    }
    return failures;
}

std::vector<StepKind> faultSteps() {
    return {{"fault", "lets a later call into the device kit or the kernel fail", {}, faultSchema(), parseFault}};
}

}  // namespace vorn_onu
