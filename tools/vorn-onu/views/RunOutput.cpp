#include "views/RunOutput.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "running/io/Words.h"
#include "running/scenario/fields/FrameFields.h"
#include "running/scenario/operations/Operations.h"

namespace vorn_onu {

namespace {

// "  ✓ 12  " in front of every step, and the indent of what is below one.
constexpr std::size_t kPrefixWidth = 8;
const std::string kMargin = "        ";

// The operation without what all names begin with.
std::string shortName(const Step& step) {
    return step.kind == "call" ? shortOperationName(step.name) : step.kind;
}

// What is behind the name: what the step does; where the author's words say it better, those.
std::string wordsOf(const Step& step) {
    const bool looks = step.kind == "expect" || step.words.empty();
    return looks && !step.note.empty() ? step.note : step.words;
}

// The author's words that are on a line of their own.
std::string noteBelow(const Step& step) {
    return wordsOf(step) == step.note ? "" : step.note;
}

bool isHeading(const Step& step) {
    return step.kind == "note" || step.kind == "show";
}
// Steps that change nothing, so that nothing is behind their words.
bool onlyLooks(const Step& step) {
    return step.kind == "expect" || step.kind == "mark" || step.kind == "end";
}

std::string padded(const std::string& text, std::size_t width) {
    const std::size_t used = widthOf(text);
    return used < width ? text + std::string(width - used, ' ') : text;
}

// What came of a step: its answer where that says something, and its effects.
std::string outcomeOf(const StepRecord& record) {
    const bool plainSuccess = record.step->changes && record.answer == "0";
    std::string text = record.answer.empty() || plainSuccess ? "" : "= " + record.answer;
    if (record.step->kind == "frame") text = record.answer;
    if (!record.effects.empty()) text += (text.empty() ? "→ " : " → ") + record.effects;
    if (text.empty() && record.step->changes) text = "→ nothing changed";
    return text;
}

}  // namespace

RunOutput::RunOutput(const Scenario& scenario, Terminal terminal) : scenario_(scenario), terminal_(terminal) {
    for (const Step& step : scenario.steps)
        if (!isHeading(step)) nameWidth_ = std::max(nameWidth_, widthOf(shortName(step)));
    // Outcomes line up behind the words that leave them two fifths of the line. Longer words have lines of their own.
    const std::size_t room = terminal_.width() > wordsAt() ? terminal_.width() - wordsAt() : 0;
    for (const Step& step : scenario.steps) {
        if (isHeading(step) || onlyLooks(step) || step.kind == "frame") continue;
        const std::size_t width = widthOf(wordsOf(step));
        if (width <= room * 3 / 5) wordsWidth_ = std::max(wordsWidth_, width);
    }
}

std::size_t RunOutput::wordsAt() const {
    return kPrefixWidth + nameWidth_ + 2;
}

std::string RunOutput::heading(const std::string& forwarding) const {
    std::string text;
    for (const auto& line : wrapped(scenario_.title, terminal_.width())) text += terminal_.bold(line) + "\n";
    if (!scenario_.description.empty())
        for (const auto& line : wrapped(scenario_.description, terminal_.width())) text += terminal_.dim(line) + "\n";
    text += terminal_.dim(forwarding) + "\n";
    return text + "\n";
}

std::string RunOutput::rule(const std::string& title) const {
    const std::size_t used = widthOf(title) + 4;
    std::string line;
    for (std::size_t i = used; i < terminal_.width(); ++i) line += "─";
    return "\n" + terminal_.dim("──") + " " + terminal_.bold(title) + " " + terminal_.dim(line) + "\n";
}

std::string RunOutput::step(const StepRecord& record) const {
    const Step& step = *record.step;
    if (step.kind == "show") return rule(step.words);
    if (step.kind == "note") {
        std::string text = step.number > 1 ? "\n" : "";
        for (const auto& line : wrapped(step.note, terminal_.width())) text += terminal_.bold(line) + "\n";
        return text;
    }
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "%3zu  ", step.number);
    const bool behindTables = step.number > 1 && scenario_.steps[step.number - 2].kind == "show";
    std::string line = (behindTables ? "\n  " : "  ") + (record.passed() ? terminal_.green("✓") : terminal_.red("✗")) +
                       terminal_.dim(number.data());
    line += padded(shortName(step), nameWidth_) + "  ";
    const std::string words = wordsOf(step), outcome = outcomeOf(record);
    const std::size_t width = widthOf(words), outcomeAt = std::max(width, wordsWidth_) + 2;
    const bool beside = step.kind != "frame" && wordsAt() + outcomeAt + widthOf(outcome) <= terminal_.width();
    line += hanging(words, terminal_.width(), wordsAt());
    if (words.empty() && !beside)
        line += terminal_.dim(hanging(outcome, terminal_.width(), wordsAt())) + "\n";
    else if (beside && !outcome.empty())
        line += std::string(outcomeAt - width, ' ') + terminal_.dim(outcome) + "\n";
    else
        line += "\n" + below(outcome);
    return line + below(noteBelow(step)) + failures(record);
}

// Lines below the words of a step.
std::string RunOutput::below(const std::string& what) const {
    if (what.empty()) return "";
    const std::size_t indent = wordsAt() + 2;
    std::string text;
    for (const auto& part : wrapped(what, terminal_.width() > indent ? terminal_.width() - indent : 1))
        text += std::string(indent, ' ') + terminal_.dim(part) + "\n";
    return text;
}

std::string RunOutput::failures(const StepRecord& record) const {
    std::string text;
    for (const std::string& warning : record.warnings)
        for (const std::string& line : wrapped(warning, terminal_.width() - kPrefixWidth - 2))
            text += kMargin + terminal_.yellow(line) + "\n";
    for (const Failure& failure : record.failures)
        text += kMargin + terminal_.red(failure.what) + "\n" + sideOf("expected", failure.expected) +
                sideOf("actual", failure.actual);
    return text;
}

// Lines of a failure with a label in front of the first. Only a window breaks them: in a file they are looked for.
std::string RunOutput::sideOf(const std::string& label, const std::vector<std::string>& all) const {
    const std::size_t indent = kPrefixWidth + 12;
    std::string text;
    for (std::size_t i = 0; i < std::max<std::size_t>(all.size(), 1); ++i) {
        const std::string line = all.empty() ? "(nothing)" : all[i];
        text += kMargin + "  " + padded(i == 0 ? label : "", 10) +
                (terminal_.isWindow() ? hanging(line, terminal_.width(), indent) : line) + "\n";
    }
    return text;
}

std::string RunOutput::trace(const StepRecord& record) const {
    std::string text;
    for (const auto& line : record.trace) text += kMargin + terminal_.dim(line) + "\n";
    return text;
}

std::string RunOutput::halOutput(const std::string& printed) const {
    std::string text, line;
    const auto end = [&] {
        if (!line.empty()) text += kMargin + terminal_.dim("│ " + line) + "\n";
        line.clear();
    };
    for (const char c : printed) {
        if (c == '\n')
            end();
        else
            line += c;
    }
    end();
    return text;
}

std::string RunOutput::closing(const std::vector<StepRecord>& records, std::size_t deviceCalls) const {
    std::size_t calls = 0, expectations = 0, frames = 0, failed = 0;
    for (const StepRecord& record : records) {
        calls += record.step->kind == "call" ? 1 : 0;
        expectations += record.step->kind == "expect" ? 1 : 0;
        frames += record.step->kind == "frame" ? 1 : 0;
        failed += record.passed() ? 0 : 1;
    }
    const std::string counts = counted(calls, "HAL call") + ", " + counted(expectations, "step") +
                               " of expectations, " + (frames > 0 ? counted(frames, "frame") + ", " : "") +
                               counted(deviceCalls, "call") + " into the device";
    const std::string verdict = failed == 0 ? "✓ everything as expected" : "✗ " + counted(failed, "step") + " failed";
    // The verdict has a colour of its own; the counts go on behind it, or below it.
    const std::string whole = hanging(verdict + ": " + counts, terminal_.width(), 2);
    return "\n" + (failed == 0 ? terminal_.green(verdict) : terminal_.red(verdict)) + whole.substr(verdict.size()) +
           "\n";
}

std::vector<RunStep> runSteps(const std::vector<StepRecord>& records) {
    std::vector<RunStep> steps;
    for (const StepRecord& record : records) {
        const Step& step = *record.step;
        steps.push_back({step.number, step.kind, shortName(step), step.words, record.lastTraceEntry});
    }
    return steps;
}

bool allPassed(const std::vector<StepRecord>& records) {
    return std::all_of(records.begin(), records.end(), [](const StepRecord& record) { return record.passed(); });
}

nlohmann::json runJson(const Scenario& scenario, const std::vector<StepRecord>& records) {
    auto steps = nlohmann::json::array();
    for (const StepRecord& record : records) steps.push_back(stepJson(record));
    return {{"scenario", scenario.file}, {"title", scenario.title}, {"passed", allPassed(records)}, {"steps", steps}};
}

}  // namespace vorn_onu
