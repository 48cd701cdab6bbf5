#include "views/RunReport.h"

#include <filesystem>

#include "running/scenario/fields/FrameFields.h"
#include "running/state/WalkWords.h"
#include "views/AuditWords.h"
#include "views/audit/Audit.h"

namespace vorn_onu {

namespace {

ReportStep stepOf(const StepRecord& record) {
    const Step& step = *record.step;
    ReportStep shown;
    shown.number = step.number;
    shown.kind = step.kind;
    shown.name = step.name;
    shown.words = step.words;
    shown.note = step.note;
    const bool plainSuccess = step.changes && record.answer == "0";
    if (!plainSuccess) shown.answer = record.answer;
    shown.effects = record.effects;
    for (const std::string& warning : record.warnings) shown.effects += (shown.effects.empty() ? "" : "; ") + warning;
    shown.passed = record.passed();
    shown.lastTraceEntry = record.lastTraceEntry;
    for (const Failure& failure : record.failures) {
        std::string text = failure.what;
        for (const std::string& line : failure.expected) text += "\nexpected  " + line;
        for (const std::string& line : failure.actual) text += "\nactual    " + line;
        shown.failures.push_back(std::move(text));
    }
    return shown;
}

ReportWalk walkOf(const StepRecord& record) {
    const SentFrame& sent = *record.sent;
    ReportWalk walk;
    walk.step = record.step->number;
    walk.title = sent.input.text();
    walk.note = record.step->note;
    walk.verdict = verdictOf(sent.walk);
    walk.passed = record.passed();
    for (const Failure& failure : record.failures)
        walk.expected.insert(walk.expected.end(), failure.expected.begin(), failure.expected.end());
    walk.walk = sent.walk;
    return walk;
}

}  // namespace

RunReport::RunReport(const Scenario& scenario, DeviceState newBoard, std::optional<audit::Untaken> audit)
    : steps_(scenario.steps.size()), audit_(audit), file_(scenario.file) {
    input_.title = scenario.title;
    input_.description = scenario.description;
    input_.source = std::filesystem::path(scenario.file).filename().string();
    input_.newBoard = std::move(newBoard);
    input_.state = input_.newBoard;
}

void RunReport::add(const StepRecord& record, const virtual_onu::VirtualOnu& onu) {
    input_.steps.push_back(stepOf(record));
    input_.steps.back().asked = audit::askedText(*record.step);
    input_.steps.back().rules = origins_.take(onu.ruleTables(), record.step->number);
    if (record.sent) {
        input_.walks.push_back(walkOf(record));
        input_.walks.back().origins = origins_.of(record.sent->walk);
    }
    if (audit_) asked_.take(*record.step);
    if (!fullest_.isNow(onu)) return;
    if (audit_) {
        askedThen_ = asked_;
        pathThen_ = onu.freezeDataPath();
    }
    input_.state = stateNow(onu);  // what comes of the trace is set in the end
    input_.moment = "after step " + std::to_string(record.step->number) + " of " + std::to_string(steps_);
    if (record.step->number >= steps_) input_.moment.clear();
}

ReportInput RunReport::finish(const DeviceState& atEnd) && {
    input_.state.messages = atEnd.messages;
    input_.state.strangeCommands = atEnd.strangeCommands;
    input_.state.failedCalls = atEnd.failedCalls;
    input_.state.calls = atEnd.calls;
    if (pathThen_)
        input_.audit = auditPart(audit::auditOf(askedThen_, *pathThen_, *audit_), audit::commandFor("send", file_));
    return std::move(input_);
}

Capture captureOf(const std::vector<StepRecord>& records) {
    Capture capture;
    for (const StepRecord& record : records) {
        if (!record.sent) continue;
        const SentFrame& sent = *record.sent;
        const std::string step = "step " + std::to_string(record.step->number);
        const bool leaves = !sent.walk.exits.empty();
        capture.add(sent.input.from, Capture::Direction::In, sent.input.frame.bytes(),
                    step + (leaves ? "" : ": " + verdictOf(sent.walk)));
        for (const auto& exit : sent.walk.exits)
            capture.add(exit.gemPort ? "gem " + std::to_string(*exit.gemPort) : exit.device, Capture::Direction::Out,
                        exit.frame.bytes(), step + ": " + exitWords(exit));
    }
    return capture;
}

}  // namespace vorn_onu
