#include "running/scenario/StepRecord.h"

#include <exception>
#include <utility>

#include <nlohmann/json.hpp>

#include "running/io/Printed.h"
#include "running/scenario/fields/FrameFields.h"
#include "running/state/Effects.h"

namespace vorn_onu {

void putOnLines(StepRecord& record) {
    record.answer = oneLine(record.answer);
    record.effects = oneLine(record.effects);
    for (std::string& warning : record.warnings) warning = oneLine(warning);
    for (Failure& failure : record.failures) {
        failure.what = oneLine(failure.what);
        for (auto* lines : {&failure.expected, &failure.actual})
            for (std::string& line : *lines) line = oneLine(line);
    }
}

StepResult runHere(const Step& step, RunContext& context) {
    try {
        return step.run(context);
    } catch (const std::exception& error) {
        StepResult result;
        result.failures.push_back({"the step", {"can be done"}, {error.what()}});
        return result;
    }
}

StepRecord performStep(const Step& step, RunContext& context) {
    StepRecord record;
    record.step = &step;
    const DeviceImage before = DeviceImage::of(context.onu);
    StepResult result = runHere(step, context);
    record.failures = std::move(result.failures);
    record.answer = std::move(result.answer);
    record.sent = std::move(result.sent);
    record.returned = *result.returned;
    record.effects = effects(before, DeviceImage::of(context.onu));
    putOnLines(record);
    return record;
}

nlohmann::json stepJson(const StepRecord& record) {
    auto failures = nlohmann::json::array();
    for (const Failure& failure : record.failures)
        failures.push_back({{"what", failure.what}, {"expected", failure.expected}, {"actual", failure.actual}});
    nlohmann::json step = {{"number", record.step->number}, {"kind", record.step->kind}, {"name", record.step->name},
                           {"words", record.step->words},   {"note", record.step->note}, {"answer", record.answer},
                           {"effects", record.effects},     {"passed", record.passed()}, {"failures", failures},
                           {"warnings", record.warnings}};
    if (!record.returned->is_null()) step.update(*record.returned);
    if (record.sent) {
        step["frame"] = frameJson(record.sent->input.frame);
        step["walk"] = walkJson(record.sent->walk);
    }
    return step;
}

}  // namespace vorn_onu
