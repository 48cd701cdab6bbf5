#include "views/MessageOutput.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

#include "omci/message/ValueText.h"
#include "running/io/Words.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kBelow = 10;  // columns in front of what is below a message

// Messages that come by the hundred and say little one by one.
bool isPart(const Played& played) {
    using omci::MessageType;
    const MessageType type = played.message.type;
    return !played.fromOnu && !played.repeated && played.refusal == RefusalKind::kNone &&
           played.code != CodeState::kWrong && played.capturedCode != CodeState::kWrong && played.calls.empty() &&
           (type == MessageType::kMibUploadNext || type == MessageType::kGetAllAlarmsNext ||
            type == MessageType::kDownloadSection);
}

std::string resultOf(const Played& played) {
    if (played.fromOnu) return "";
    if (!played.answer) return "no answer: " + played.whyNoAnswer;
    std::string text = played.answer->result.empty() ? "answered" : played.answer->result;
    return played.repeated ? text + ", repeated" : text;
}

nlohmann::json textJson(const omci::MessageText& text) {
    auto values = nlohmann::json::array();
    for (const auto& value : text.values) values.push_back({{"name", value.name}, {"value", value.value}});
    nlohmann::json json = {{"type", text.type}, {"entity", text.entity}, {"values", values}};
    if (!text.result.empty()) json["result"] = text.result;
    if (!text.error.empty()) json["error"] = text.error;
    return json;
}

}  // namespace

std::string valueWords(const omci::MessageText& text) {
    std::string words;
    for (const auto& value : text.values) words += (words.empty() ? "" : ", ") + value.name + " " + value.value;
    if (!text.error.empty()) words += (words.empty() ? "" : ", ") + text.error;
    return words;
}

std::string entityNames(const HalStep& call) {
    std::string names;
    for (const omci::EntityKey entity : call.entities) names += (names.empty() ? "" : ", ") + omci::entityText(entity);
    return names;
}

std::string messageNumbers(const HalStep& call) {
    std::string text;
    for (const std::uint64_t number : call.messages) text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

std::string MessageOutput::rule(const std::string& title) const {
    std::string line;
    for (std::size_t i = widthOf(title) + 4; i < terminal_.width(); ++i) line += "─";
    return "\n" + terminal_.dim("──") + " " + terminal_.bold(title) + " " + terminal_.dim(line) + "\n";
}

std::string MessageOutput::head(const Played& played, const std::string& number, const std::string& result) const {
    char time[24] = "";
    if (hasTimes_) std::snprintf(time, sizeof time, "%8.3f", played.seconds.value_or(0));
    const std::string in =
        "  " + number + time + "  " + played.text.transaction +
        (played.text.transaction.size() < 6 ? std::string(6 - played.text.transaction.size(), ' ') : "") +
        (played.fromOnu ? "  ONU  " : "  OLT  ");
    const std::size_t indent = 3 + widthOf(in) + widthOf(played.text.type) + 2;
    const bool tolerated = isAsExpected(played) && played.refusal == RefusalKind::kAsInCapture;
    const std::string mark = tolerated              ? terminal_.yellow("!")
                             : isAsExpected(played) ? terminal_.green("✓")
                                                    : terminal_.red("✗");
    std::string text = "  " + mark + terminal_.dim(in) + terminal_.bold(played.text.type) + "  ";
    const std::string& entity = played.text.entity;
    if (indent + widthOf(entity) + 2 + widthOf(result) <= terminal_.width())
        return text + entity + "  " + terminal_.dim(result) + "\n";
    text += hanging(entity, terminal_.width(), indent) + "\n";
    return result.empty() ? text : text + std::string(indent, ' ') + terminal_.dim(result) + "\n";
}

std::string MessageOutput::below(const std::string& what,
                                 std::string (Terminal::*paint)(const std::string&) const) const {
    std::string text;
    bool first = true;
    for (const std::string& line : wrapped(what, terminal_.width() - kBelow - 2)) {
        text += std::string(first ? kBelow : kBelow + 2, ' ') + (terminal_.*paint)(line) + "\n";
        first = false;
    }
    return text;
}

std::string MessageOutput::outcome(const Played& played) const {
    std::string text;
    if (played.code == CodeState::kWrong)
        text += below("! wrong integrity code: an ONU drops the message", &Terminal::yellow);
    if (played.capturedCode == CodeState::kWrong)
        text += below("! the capture's answer has a wrong integrity code", &Terminal::yellow);
    if (played.answer && !played.answer->values.empty())
        text += below("answer: " + valueWords(*played.answer), &Terminal::dim);
    if (!played.fault.empty()) text += below("! by a fault the answer is " + played.fault, &Terminal::yellow);
    for (const std::string& entity : played.madeUp)
        text += below("made with values of 0, from before the capture begins: " + entity, &Terminal::yellow);
    for (const std::string& difference : played.differences)
        text += below("≠ " + difference, played.otherResult ? &Terminal::red : &Terminal::yellow);
    for (const HalStep& call : played.calls) {
        std::string line = "→ " + call.name;
        if (call.result != 0) line += " = " + std::to_string(call.result);
        if (!call.effects.empty()) line += ": " + call.effects;
        text += below(line, call.result != 0 ? &Terminal::red : &Terminal::green);
    }
    for (const auto& problem : played.problems)
        text += below("! " + omci::entityText(problem.entity) + ": " + problem.reason, &Terminal::yellow);
    for (const auto& message : played.autonomous)
        text +=
            below("ONU tells: " + message.type + "  " + message.entity + "  " + valueWords(message), &Terminal::dim);
    return text;
}

std::string MessageOutput::message(const Played& played) {
    std::string text;
    const bool part = isPart(played);
    if (!part || (firstPart_ && firstPart_->message.type != played.message.type)) text = flush();
    if (part) {
        if (!firstPart_) firstPart_ = played;
        ++parts_;
        captured_ += played.captured ? 1 : 0;
        differing_ += played.differences.empty() ? 0 : 1;
        firstPart_->otherResult = firstPart_->otherResult || played.otherResult;
        return text;
    }
    char number[24];
    std::snprintf(number, sizeof number, "%3zu", played.number);
    text += head(played, number, resultOf(played));
    const std::string values = valueWords(played.text);
    if (!values.empty()) text += below(values, &Terminal::dim);
    return text + outcome(played);
}

std::string MessageOutput::flush() {
    if (!firstPart_) return "";
    Played first = *std::exchange(firstPart_, std::nullopt);
    const std::size_t parts = std::exchange(parts_, 0), captured = std::exchange(captured_, 0);
    const std::size_t differ = std::exchange(differing_, 0);
    if (parts > 1) first.text.type += " × " + std::to_string(parts);
    char number[24];
    std::snprintf(number, sizeof number, "%3zu", first.number);
    std::string text = head(first, number, "answered");
    if (differ > 0)
        text += below("≠ " + std::to_string(differ) + " of " + counted(captured, "answer") +
                          " of the capture are others: that ONU has another MIB",
                      &Terminal::yellow);
    return text;
}

std::string MessageOutput::calls(const std::vector<HalStep>& calls) const {
    if (calls.empty()) return "\n  None: no service is complete, or nothing has changed.\n";
    std::size_t nameWidth = 0;
    for (const HalStep& call : calls) nameWidth = std::max(nameWidth, widthOf(call.name));
    std::string text = "\n", last;
    for (const HalStep& call : calls) {
        char number[24];
        std::snprintf(number, sizeof number, "%3zu  ", call.number);
        const std::size_t indent = 8 + nameWidth + 2;
        text += "  " + (call.result == 0 ? terminal_.green("✓") : terminal_.red("✗")) + terminal_.dim(number) +
                call.name + std::string(nameWidth - widthOf(call.name) + 2, ' ') +
                hanging(call.words, terminal_.width(), indent) + "\n";
        const std::string numbers = messageNumbers(call);
        std::string from = numbers.empty() ? "" : "from " + numbers;
        if (const std::string entities = entityNames(call); !entities.empty())
            from += (from.empty() ? "from " : ": ") + entities;
        if (from == last) from = from.empty() ? "" : "from the same";
        if (from != "from the same") last = from;
        if (!from.empty())
            text += std::string(indent, ' ') + terminal_.dim(hanging(from, terminal_.width(), indent)) + "\n";
    }
    return text;
}

std::string MessageOutput::closing(const MessageTally& all) const {
    std::vector<std::string> faults;
    if (all.otherResults > 0)
        faults.push_back(counted(all.otherResults, "answer") + " with another result than in the capture");
    if (all.refused > 0) faults.push_back(counted(all.refused, "message") + " refused");
    if (all.failedCalls > 0) faults.push_back(counted(all.failedCalls, "HAL call") + " failed");
    std::string verdict =
        all.problems > 0 ? "✓ every message was answered with success" : "✓ every message had its effect";
    if (!faults.empty())
        verdict = "✗ " + joined(faults);
    else if (all.captured > 0)
        verdict = "✓ answered as in the capture";
    std::string counts = counted(all.requests, "message") + " of the OLT, ";
    if (all.captured > 0) counts += std::to_string(all.same) + " of " + counted(all.captured, "answer") + " the same, ";
    if (all.wrongCodes > 0) counts += counted(all.wrongCodes, "wrong integrity code") + ", ";
    if (all.refusedAsCaptured > 0) counts += std::to_string(all.refusedAsCaptured) + " refused as in the capture, ";
    counts += counted(all.calls, "HAL call");
    if (all.problems > 0) counts += ", " + counted(all.problems, "piece") + " that the HAL cannot do";
    const std::string whole = hanging(verdict + ": " + counts, terminal_.width(), 2);
    std::string text =
        "\n" + (faults.empty() ? terminal_.green(verdict) : terminal_.red(verdict)) +
        (whole.size() >= verdict.size() && whole.compare(0, verdict.size(), verdict) == 0 ? whole.substr(verdict.size())
                                                                                          : ": " + counts) +
        "\n";
    for (const std::string& refused : all.firstRefused)
        text += "  " + hanging("refused: " + refused, terminal_.width(), 4) + "\n";
    const std::size_t more = all.refused + all.refusedAsCaptured - all.firstRefused.size();
    return more == 0 ? text : text + "  and " + std::to_string(more) + " more\n";
}

nlohmann::json playedJson(const Played& played) {
    nlohmann::json json = textJson(played.text);
    json["number"] = played.number;
    json["place"] = played.place;
    json["from"] = played.fromOnu ? "onu" : "olt";
    json["transaction"] = played.message.transaction;
    if (played.seconds) json["seconds"] = *played.seconds;
    json["answer"] = played.answer ? textJson(*played.answer) : nlohmann::json();
    if (played.captured) json["captured"] = textJson(*played.captured);
    if (!played.whyNoAnswer.empty()) json["whyNoAnswer"] = played.whyNoAnswer;
    if (!played.fault.empty()) json["fault"] = played.fault;
    json["repeated"] = played.repeated;
    if (played.code != CodeState::kNotJudged) json["integrity"] = played.code == CodeState::kRight ? "right" : "wrong";
    json["refused"] = played.refusal != RefusalKind::kNone;
    json["differences"] = played.differences;
    json["madeUp"] = played.madeUp;
    auto calls = nlohmann::json::array();
    for (const HalStep& call : played.calls) {
        auto messages = nlohmann::json::array(), entities = nlohmann::json::array();
        for (const std::uint64_t message : call.messages) messages.push_back(message);
        for (const omci::EntityKey entity : call.entities) entities.push_back(omci::entityText(entity));
        calls.push_back({{"number", call.number},
                         {"call", *call.step},
                         {"result", call.result},
                         {"effects", call.effects},
                         {"messages", messages},
                         {"entities", entities}});
    }
    json["calls"] = std::move(calls);
    auto problems = nlohmann::json::array();
    for (const auto& problem : played.problems)
        problems.push_back({{"entity", omci::entityText(problem.entity)}, {"reason", problem.reason}});
    json["problems"] = std::move(problems);
    auto autonomous = nlohmann::json::array();
    for (const auto& message : played.autonomous) autonomous.push_back(textJson(message));
    json["autonomous"] = std::move(autonomous);
    return json;
}

}  // namespace vorn_onu
