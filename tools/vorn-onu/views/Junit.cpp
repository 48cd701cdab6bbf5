#include "views/Junit.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "running/io/Printed.h"

namespace vorn_onu {

namespace {

// Text for XML, which cannot hold control characters even when they are escaped in its own way.
std::string xml(const std::string& text) {
    std::string result;
    for (const char c : unpainted(text)) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + xml(value) + "\"";
}

std::string seconds(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f", value);
    return text.data();
}

std::string testCase(const ScenarioResult& result) {
    std::string text = "    <testcase" + attribute("classname", "vorn-onu") + attribute("name", result.file) +
                       attribute("time", seconds(result.seconds)) + ">\n";
    if (!result.problem.empty()) {
        text += "      <error" + attribute("message", oneLine(result.problem)) + "/>\n";
    } else if (!result.failures.empty()) {
        text += "      <failure" + attribute("message", failureWords(result)) + ">";
        for (const std::string& failure : result.failures) text += xml(failure);
        text += "</failure>\n";
    }
    return text + "    </testcase>\n";
}

}  // namespace

std::string failureWords(const ScenarioResult& result) {
    return std::to_string(result.failures.size()) + " of " + std::to_string(result.steps) +
           (result.steps == 1 ? " step failed" : " steps failed");
}

std::string junitReport(const std::vector<ScenarioResult>& results) {
    double time = 0;
    for (const ScenarioResult& result : results) time += result.seconds;
    const auto errors = std::count_if(results.begin(), results.end(), [](const auto& r) { return !r.problem.empty(); });
    const auto bad = std::count_if(results.begin(), results.end(), [](const auto& r) { return !r.passed(); });
    const std::string counts = attribute("tests", std::to_string(results.size())) +
                               attribute("failures", std::to_string(bad - errors)) +
                               attribute("errors", std::to_string(errors)) + attribute("time", seconds(time));
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts + ">\n  <testsuite" +
                       attribute("name", "vorn-onu") + counts + ">\n";
    for (const ScenarioResult& result : results) text += testCase(result);
    return text + "  </testsuite>\n</testsuites>\n";
}

}  // namespace vorn_onu
