#include "show/RunOutput.h"

#include <algorithm>
#include <array>

#include "scenario/fields/FrameFields.h"

namespace vorn_onu {

namespace {

// "  ✓ 12  " in front of every step, and the indent of what stands below one.
constexpr std::size_t kPrefixWidth = 8;
const std::string kBelow = "        ";

// The operation without what all names begin with.
std::string shortName(const Step& step) {
    if (step.kind != "call") return step.kind;
    for (const char* prefix : {"vorn_omci_hal_", "vorn_hal_", "vorn_", "VornBrcmHal::", "EtherSwitchBcm380::"}) {
        const std::string text = prefix;
        if (step.name.compare(0, text.size(), text) == 0) return step.name.substr(text.size());
    }
    return step.name;
}

std::string wordsOf(const Step& step) {
    return step.note.empty() ? step.words : step.note;
}

bool isHeading(const Step& step) {
    return step.kind == "note" || step.kind == "show";
}
// Steps that change nothing, so that nothing stands behind their words.
bool onlyLooks(const Step& step) {
    return step.kind == "expect" || step.kind == "mark";
}

std::string padded(const std::string& text, std::size_t width) {
    const std::size_t used = widthOf(text);
    return used < width ? text + std::string(width - used, ' ') : text;
}

// What came of a step: its effects, and its answer where that says something.
std::string outcomeOf(const StepRecord& record) {
    std::string text = record.effects;
    const bool plainSuccess = record.step->changes && record.answer == "0";
    if (!record.answer.empty() && !plainSuccess) text = "= " + record.answer + (text.empty() ? "" : ", " + text);
    if (text.empty() && record.step->changes) text = "nothing changed";
    return text;
}

std::string plural(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string lines(const std::string& label, const std::vector<std::string>& all) {
    std::string text;
    for (std::size_t i = 0; i < all.size(); ++i)
        text += kBelow + "  " + padded(i == 0 ? label : "", 10) + all[i] + "\n";
    if (all.empty()) text += kBelow + "  " + padded(label, 10) + "(nothing)\n";
    return text;
}

}  // namespace

RunOutput::RunOutput(const Scenario& scenario, Terminal terminal) : scenario_(scenario), terminal_(terminal) {
    for (const Step& step : scenario.steps) {
        if (isHeading(step)) continue;
        nameWidth_ = std::max(nameWidth_, widthOf(shortName(step)));
        if (!onlyLooks(step) && step.kind != "frame") wordsWidth_ = std::max(wordsWidth_, widthOf(wordsOf(step)));
    }
    // The outcome gets at least a third of the window.
    const std::size_t room =
        terminal_.width() > kPrefixWidth + nameWidth_ ? terminal_.width() - kPrefixWidth - nameWidth_ : 0;
    wordsWidth_ = std::min(wordsWidth_, std::max<std::size_t>(room * 3 / 5, 16));
}

std::string RunOutput::heading() const {
    std::string text = terminal_.bold(scenario_.title) + "\n";
    if (!scenario_.description.empty())
        for (const auto& line : wrapped(scenario_.description, terminal_.width())) text += terminal_.dim(line) + "\n";
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
    if (step.kind == "note") return (step.number > 1 ? "\n" : "") + terminal_.bold(step.note) + "\n";
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "%3zu  ", step.number);
    std::string line =
        "  " + (record.passed() ? terminal_.green("✓") : terminal_.red("✗")) + terminal_.dim(number.data());
    line += padded(shortName(step), nameWidth_) + "  ";
    if (onlyLooks(step))
        return line + cut(wordsOf(step), terminal_.width() - kPrefixWidth - nameWidth_ - 2) + "\n" + failures(record);
    if (step.kind == "frame") return line + frameLines(record) + failures(record);
    const std::string words = cut(wordsOf(step), wordsWidth_);
    const std::string outcome = outcomeOf(record);
    const std::size_t indent = kPrefixWidth + nameWidth_ + 2;
    const std::size_t used = indent + wordsWidth_ + 2;
    line += words;
    if (used + widthOf(outcome) <= terminal_.width())
        line += std::string(wordsWidth_ - widthOf(words) + 2, ' ') + terminal_.dim(outcome);
    else  // an outcome that is too long for its column gets lines of its own
        for (const auto& part : wrapped(outcome, terminal_.width() - indent))
            line += "\n" + std::string(indent, ' ') + terminal_.dim(part);
    return line + "\n" + failures(record);
}

// The frame, where it went, and the author's words, a line each.
std::string RunOutput::frameLines(const StepRecord& record) const {
    const std::size_t indent = kPrefixWidth + nameWidth_ + 2;
    std::string text = record.step->words + "\n";
    for (const std::string& part : {record.answer, record.step->note})
        for (const auto& one : wrapped(part, terminal_.width() - indent - 2))
            if (!one.empty()) text += std::string(indent + 2, ' ') + terminal_.dim(one) + "\n";
    return text;
}

std::string RunOutput::failures(const StepRecord& record) const {
    std::string text;
    for (const Failure& failure : record.failures)
        text += kBelow + terminal_.red(failure.what) + "\n" + lines("expected", failure.expected) +
                lines("actual", failure.actual);
    return text;
}

std::string RunOutput::trace(const StepRecord& record) const {
    std::string text;
    for (const auto& line : record.trace) text += kBelow + terminal_.dim(line) + "\n";
    return text;
}

std::string RunOutput::halOutput(const std::string& printed) const {
    std::string text, line;
    const auto end = [&] {
        if (!line.empty()) text += kBelow + terminal_.dim("│ " + line) + "\n";
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
    const std::string counts = plural(calls, "HAL call") + ", " + plural(expectations, "step") + " of expectations, " +
                               (frames > 0 ? plural(frames, "frame") + ", " : "") + plural(deviceCalls, "call") +
                               " into the device";
    if (failed == 0) return "\n" + terminal_.green("✓ everything as expected") + ": " + counts + "\n";
    return "\n" + terminal_.red("✗ " + plural(failed, "step") + " failed") + ": " + counts + "\n";
}

bool allPassed(const std::vector<StepRecord>& records) {
    return std::all_of(records.begin(), records.end(), [](const StepRecord& record) { return record.passed(); });
}

nlohmann::json runJson(const Scenario& scenario, const std::vector<StepRecord>& records) {
    auto steps = nlohmann::json::array();
    for (const StepRecord& record : records) {
        auto failures = nlohmann::json::array();
        for (const Failure& failure : record.failures)
            failures.push_back({{"what", failure.what}, {"expected", failure.expected}, {"actual", failure.actual}});
        nlohmann::json step = {
            {"number", record.step->number}, {"kind", record.step->kind}, {"name", record.step->name},
            {"words", record.step->words},   {"note", record.step->note}, {"answer", record.answer},
            {"effects", record.effects},     {"passed", record.passed()}, {"failures", failures}};
        if (record.sent) {
            step["frame"] = frameJson(record.sent->input.frame);
            step["walk"] = walkJson(record.sent->walk);
        }
        steps.push_back(std::move(step));
    }
    return {{"scenario", scenario.file}, {"title", scenario.title}, {"passed", allPassed(records)}, {"steps", steps}};
}

}  // namespace vorn_onu
