#include "commands/OmciFiles.h"

#include <nlohmann/json.hpp>

#include "living/CallStep.h"
#include "omci/message/ValueText.h"
#include "running/io/Files.h"
#include "running/scenario/Scenario.h"
#include "running/scenario/fields/Field.h"
#include "running/state/WalkWords.h"
#include "views/AuditWords.h"
#include "views/Capture.h"
#include "views/MessageOutput.h"
#include "views/Report.h"

namespace vorn_onu {

namespace {

constexpr auto kReplace = nlohmann::json::error_handler_t::replace;

std::string placeOf(const virtual_onu::Exit& exit) {
    return exit.gemPort ? "gem " + std::to_string(*exit.gemPort) : exit.device;
}

void addTo(Capture& capture, const SentFrame& sent) {
    capture.add(sent.input.from, Capture::Direction::In, sent.input.frame.bytes(), verdictOf(sent.walk));
    for (const auto& exit : sent.walk.exits)
        capture.add(placeOf(exit), Capture::Direction::Out, exit.frame.bytes(), exitWords(exit));
}

ReportWalk walkOf(const SentFrame& sent, bool passed, const std::string& note,
                  const std::vector<std::size_t>& origins) {
    ReportWalk walk;
    walk.title = sent.input.text();
    walk.verdict = verdictOf(sent.walk);
    walk.walk = sent.walk;
    walk.passed = passed;
    walk.note = note;
    walk.origins = origins;
    return walk;
}

ReportStep stepOf(const HalStep& call) {
    ReportStep step;
    step.number = call.number;
    step.kind = "call";
    step.name = call.name;
    step.words = call.words;
    step.answer = call.result == 0 ? "" : std::to_string(call.result);
    step.effects = call.effects;
    step.passed = call.result == 0;
    step.note = entityNames(call);
    step.asked = audit::askedText(asStep(*call.step, call.number));
    step.rules = call.rules;
    step.messages.assign(call.messages.begin(), call.messages.end());
    return step;
}

ReportMessage messageOf(const Played& played) {
    ReportMessage message;
    message.number = played.number;
    message.from = played.fromOnu ? "ONU" : "OLT";
    message.transaction = played.text.transaction;
    message.type = played.text.type;
    message.entity = played.text.entity;
    message.values = valueWords(played.text);
    if (played.answer)
        message.result = played.answer->result.empty() ? "answered" : played.answer->result;
    else if (!played.fromOnu)
        message.result = "no answer: " + played.whyNoAnswer;
    if (played.answer) message.answer = valueWords(*played.answer);
    message.differences = played.differences;
    for (const auto& problem : played.problems)
        message.problems.push_back(omci::entityText(problem.entity) + ": " + problem.reason);
    for (const HalStep& call : played.calls) message.calls.emplace_back(call.number, call.name);
    message.passed = isAsExpected(played);
    return message;
}

std::string reportOf(const OmciRun& run, const nlohmann::json& device) {
    ReportInput input;
    input.title = "The messages in " + run.name + ", and what the ONU does with them";
    input.source = run.name;
    input.state = readState(device);
    input.newBoard = run.newBoard;
    for (const auto& played : run.messages) input.messages.push_back(messageOf(*played));
    for (const HalStep& call : run.calls()) input.steps.push_back(stepOf(call));
    if (run.sent) input.walks.push_back(walkOf(*run.sent, !run.sent->walk.exits.empty(), "", run.origins));
    for (std::size_t i = 0; i < run.returns.size(); ++i) {
        const Return& back = run.returns[i];
        input.walks.push_back(
            walkOf({back.input, back.walk}, back.against.empty(), back.against, run.returnOrigins.at(i)));
    }
    if (run.audit) input.audit = auditPart(*run.audit, run.sendCommand);
    return htmlReport(input);
}

}  // namespace

std::vector<HalStep> OmciRun::calls() const {
    std::vector<HalStep> calls;
    for (const auto& played : messages) calls.insert(calls.end(), played->calls.begin(), played->calls.end());
    return calls;
}

std::string omciJson(const OmciRun& run, const nlohmann::json& device) {
    nlohmann::json json = {{"file", run.name}, {"messages", nlohmann::json::array()}, {"device", device}};
    if (run.before != 0) json["messagesBefore"] = run.before;
    for (const auto& played : run.messages) json["messages"].push_back(playedJson(*played));
    if (run.sent) json["frame"] = nlohmann::json::parse(sentJson(*run.sent, run.returns, !run.returns.empty()).dump());
    if (run.audit) json["audit"] = auditJson(*run.audit, run.sendCommand);
    return json.dump(2, ' ', true, kReplace) + "\n";
}

CallRecording::CallRecording(const std::string& path, const std::string& name, const std::string& forwarding,
                             const BoardStart& start)
    : path_(path) {
    if (path_.empty()) return;
    file_.reset(std::fopen(path_.c_str(), "wbe"));
    if (!file_) throw FileProblem(path_, "cannot be written");
    Json head = {{"version", kFormatVersion}, {"title", "What the messages in " + name + " asked of the HAL"}};
    if (forwarding == kByG988) head["forwarding"] = forwarding;  // the contract holds where nothing is said
    head["steps"] = LivingOnu::startSteps(start);
    // Without the ends of list and object, behind which calls are to follow.
    const std::string text = head.dump(2, ' ', false, kReplace);
    write(text.substr(0, text.rfind("\n  ]")));
}

void CallRecording::add(const HalStep& call) {
    if (!file_) return;
    Json step = *call.step;
    if (step["call"].get<std::string>().find("EthernetUni") != std::string::npos) step.erase("result");  // none
    if (const std::string numbers = messageNumbers(call); !numbers.empty())
        step["note"] =
            "from " + std::string(numbers.find(',') == std::string::npos ? "message " : "messages ") + numbers;
    // Indented as a part of the whole.
    const std::string text = Json{{"steps", Json::array({step})}}.dump(2, ' ', false, kReplace);
    const std::size_t begin = text.find("[\n") + 1;
    write("," + text.substr(begin, text.rfind("\n  ]") - begin));
}

void CallRecording::finish() {
    if (!file_) return;
    write("\n  ]\n}\n");
    if (std::fclose(file_.release()) != 0) throw FileProblem(path_, "cannot be written");
}

void CallRecording::write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size())
        throw FileProblem(path_, "cannot be written");
}

void writeOmciFiles(const OmciCommand& command, const OmciRun& run, const nlohmann::json& device) {
    if (!command.jsonFile.empty() && command.jsonFile != "-") writeFile(command.jsonFile, omciJson(run, device));
    if (!command.reportFile.empty()) writeFile(command.reportFile, reportOf(run, device));
    if (command.pcapFile.empty()) return;
    Capture capture;
    if (run.sent) addTo(capture, *run.sent);
    for (const Return& back : run.returns) addTo(capture, {back.input, back.walk});
    const auto bytes = capture.bytes();
    writeFile(command.pcapFile, {bytes.begin(), bytes.end()});
}

}  // namespace vorn_onu
