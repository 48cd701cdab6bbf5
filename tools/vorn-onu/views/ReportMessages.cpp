#include "views/Html.h"
#include "views/Report.h"

namespace vorn_onu {

namespace {

using namespace html;

// As a list item that looks as a step does.
std::string messageItem(const ReportMessage& message) {
    std::string body = element("span", escaped(message.type), "name") + " " + escaped(message.entity) + " " +
                       element("span", escaped(message.values), "args");
    if (!message.result.empty())
        body += " <span class=\"answer\">= " + escaped(message.result) +
                (message.answer.empty() ? "" : ": " + escaped(message.answer)) + "</span>";
    body += element("div", escaped(message.from + ", transaction " + message.transaction), "note");
    for (const std::string& difference : message.differences)
        body += element("div", "≠ " + escaped(difference), message.passed ? "note" : "fail mono");
    for (const std::string& problem : message.problems) body += element("div", escaped(problem), "fail mono");
    std::string calls;
    for (const auto& [number, name] : message.calls)
        calls += (calls.empty() ? "→ " : ", ") + link(stepAnchor(number), std::to_string(number) + " " + name);
    if (!calls.empty()) body += element("div", calls, "effects");
    return "<li id=\"" + messageAnchor(message.number) + "\">" + mark(message.passed) +
           element("span", std::to_string(message.number), "number") + element("div", body) + "</li>\n";
}

}  // namespace

std::string messageAnchor(std::size_t number) {
    return "message-" + std::to_string(number);
}

std::string stepAnchor(std::size_t number) {
    return "step-" + std::to_string(number);
}

std::string messagesPart(const std::vector<ReportMessage>& messages) {
    if (messages.empty()) return "";
    std::string items;
    for (const ReportMessage& message : messages) items += messageItem(message);
    return card("<ol class=\"steps\">\n" + items + "</ol>");
}

}  // namespace vorn_onu
