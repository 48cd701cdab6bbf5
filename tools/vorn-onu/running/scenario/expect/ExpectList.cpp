#include "running/scenario/expect/ExpectList.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

Lines linesOf(const Json& value) {
    if (!value.is_array()) throw Problem("must be a list of texts, not " + shown(value));
    Lines lines;
    for (std::size_t i = 0; i < value.size(); ++i)
        inField("[" + std::to_string(i) + "]", [&] { lines.push_back(textOf(value[i])); });
    return lines;
}

bool isIn(const std::string& part, const std::string& line) {
    return line.find(part) != std::string::npos;
}

Lines orNone(const Lines& lines) {
    return lines.empty() ? Lines{"(none)"} : lines;
}

}  // namespace

ListExpectation::ListExpectation(const Json& value, bool withSince, const ParseContext& context) {
    if (value.is_array()) {
        are_ = linesOf(value);
        return;
    }
    if (!value.is_object())
        throw Problem("must be a list of texts, or an object with are, contain, inOrder, absent or count, not " +
                      shown(value));
    Lines known = {"are", "contain", "inOrder", "absent", "count"};
    if (withSince) known.emplace_back("since");
    checkKeys(value, known);
    if (value.empty()) throw Problem("must have one of the fields " + joined(known));
    const auto list = [&value](const char* key) {
        return inField(key, [&] { return value.contains(key) ? linesOf(value[key]) : Lines{}; });
    };
    if (value.contains("are")) are_ = list("are");
    contain_ = list("contain");
    inOrder_ = list("inOrder");
    absent_ = list("absent");
    if (value.contains("count"))
        count_ = inField("count", [&] { return static_cast<std::size_t>(numberOf(value["count"], 0, 1000000)); });
    if (value.contains("since")) {
        since_ = inField("since", [&] { return textOf(value["since"]); });
        if (context.marks.count(since_) == 0)
            throw Problem("since", "there is no mark '" + since_ + "' before this step");
    }
}

void ListExpectation::check(const std::string& what, const Lines& lines, std::vector<Failure>& failures) const {
    if (are_ && lines != *are_) failures.push_back({what, orNone(*are_), orNone(lines)});
    for (const auto& part : contain_) {
        if (std::none_of(lines.begin(), lines.end(), [&](const auto& line) { return isIn(part, line); }))
            failures.push_back({what + ", a line with", {part}, orNone(lines)});
    }
    auto next = lines.begin();
    for (const auto& part : inOrder_) {
        next = std::find_if(next, lines.end(), [&](const auto& line) { return isIn(part, line); });
        if (next == lines.end()) {
            failures.push_back({what + ", in this order", inOrder_, orNone(lines)});
            break;
        }
        ++next;
    }
    for (const auto& part : absent_) {
        const auto hit = std::find_if(lines.begin(), lines.end(), [&](const auto& line) { return isIn(part, line); });
        if (hit != lines.end()) failures.push_back({what + ", no line with", {part}, {*hit}});
    }
    if (count_ && lines.size() != *count_)
        failures.push_back({what + ", number of lines", {std::to_string(*count_)}, {std::to_string(lines.size())}});
}

Json ListExpectation::schema(bool withSince) {
    const Json texts = {{"type", "array"}, {"items", {{"type", "string"}}}};
    Json properties = {{"are", texts},
                       {"contain", texts},
                       {"inOrder", texts},
                       {"absent", texts},
                       {"count", {{"type", "integer"}, {"minimum", 0}}}};
    if (withSince) properties["since"] = {{"type", "string"}};
    Json object = objectSchema(properties);
    object["minProperties"] = 1;
    return {{"anyOf", Json::array({texts, object})}};
}

}  // namespace vorn_onu
