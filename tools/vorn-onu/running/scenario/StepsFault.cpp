// The step that lets calls into the device fail, and what is said of a fault that never came to it.
#include "running/scenario/StepsFault.h"

#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>

#include "running/scenario/MessageFaults.h"
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
    readFields(&setting, faultFields(), value);
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

// ---- between the ONU and its OLT ----

std::vector<Field> messageFaultFields() {
    using R = MessageFault;
    constexpr int kMaxCount = 65535, kMaxDelayMs = 60000, kMaxDataSync = 255;
    return {
        field("drop", &R::drop, Numbers{1, kMaxCount}, optional(), "so many answers, from the next on, are not sent"),
        field("delay", &R::delay, Numbers{1, kMaxCount}, optional(), "so many answers are sent later"),
        field("delayMs", &R::delayMs, Numbers{1, kMaxDelayMs}, otherwise(1000), "by so many milliseconds"),
        field("duplicate", &R::duplicate, Numbers{1, kMaxCount}, optional(), "so many answers are sent twice"),
        field("damage", &R::damage, Numbers{1, kMaxCount}, optional(),
              "so many answers have a wrong bit; their integrity code is that of the right ones"),
        field("unknownClass", &R::unknownClass, Numbers{1, kMaxCount}, optional(),
              "MIB uploads end with an entity of this class, which G.988 does not have"),
        field("dataSync", &R::dataSync, Numbers{1, kMaxDataSync}, optional(),
              "the MIB data sync counter goes on by so many, without a message of the OLT"),
        field("reboot", &R::reboot, Numbers{0, 1, {}, true}, optional(), "true: the ONU restarts by itself"),
    };
}

std::string messageFaultText(const MessageFault& fault) {
    std::vector<std::string> parts;
    const auto count = [&parts](unsigned number, const std::string& what) {
        if (number > 0)
            parts.push_back(
                (number == 1 ? "the next answer is " : "the next " + std::to_string(number) + " answers are ") + what);
    };
    count(fault.drop, "not sent");
    count(fault.delay, "sent " + std::to_string(fault.delayMs) + " ms later");
    count(fault.duplicate, "sent twice");
    count(fault.damage, "damaged");
    if (fault.unknownClass != 0)
        parts.push_back("uploads have an entity of class " + std::to_string(fault.unknownClass));
    if (fault.dataSync != 0) parts.push_back("the data sync counter goes on by " + std::to_string(fault.dataSync));
    if (fault.reboot != 0) parts.emplace_back("the ONU restarts");
    return joined(parts);
}

void parseMessageFault(Step& step, const Json& value) {
    const auto fault = std::make_shared<MessageFault>();
    inField("omci", [&] {
        readFields(fault.get(), messageFaultFields(), value.at("omci"));
        if (messageFaultText(*fault).empty()) throw Problem("asks for nothing");
        if (value["omci"].contains("delayMs") && fault->delay == 0) throw Problem("delayMs", "goes with delay");
    });
    if (value.size() != 1) throw Problem("omci", "goes without other fields beside it");
    step.words = messageFaultText(*fault);
    step.run = [fault](RunContext& context) {
        StepResult done;
        if (context.messageFaults == nullptr)
            done.failures.push_back(
                {"the board", {"an OLT's messages come to it"}, {"there is no OLT: use omci --listen --name"}});
        else
            context.messageFaults->arm(*fault);
        return done;
    };
}

void parseFault(Step& step, const Json& whole, ParseContext&) {
    const Json& value = whole["fault"];
    if (value.is_object() && value.contains("omci")) return inField("fault", [&] { parseMessageFault(step, value); });
    if (value == "clear") {
        step.words = "no fault any more";
        step.run = [](RunContext& context) {
            StepResult done;
            done.failures = faultsThatNeverFired(context);
            context.faults.clear();
            context.onu.clearFaults();
            if (context.messageFaults != nullptr) context.messageFaults->clear();
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
    Json properties = propertiesOf(faultFields());
    properties["omci"] = objectSchema(propertiesOf(messageFaultFields()));
    properties["omci"]["description"] = "instead: what goes wrong between the ONU and its OLT";
    return {{"anyOf", Json::array({Json{{"const", "clear"}}, objectSchema(properties)})}};
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
    return {{"fault",
             "lets a later call into the device kit or the kernel fail, or disturbs the answers to an OLT",
             {},
             faultSchema(),
             parseFault}};
}

}  // namespace vorn_onu
