#include "running/scenario/RecordedFile.h"

#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

namespace {

// A step has a line of its own, and few of them are rewritten at a time.
constexpr int kMaxLinesLost = 64;
constexpr const char* kClosingBrackets = "\n]}\n";

std::optional<std::size_t> callsIn(const std::string& text) {
    const Json whole = Json::parse(text, nullptr, false);
    if (!whole.is_object() || !whole.contains("steps")) return std::nullopt;
    return whole["steps"].size();
}

// Without what a list must not end with.
std::string withoutComma(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ',')) text.pop_back();
    return text;
}

std::string withoutLastLine(const std::string& text) {
    const auto line = text.rfind('\n');
    return text.substr(0, line == std::string::npos ? 0 : line);
}

}  // namespace

std::optional<RecordedFile> finishRecording(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream content;
    content << file.rdbuf();
    std::string text = content.str();
    if (const auto calls = callsIn(text)) return RecordedFile{*calls, false};
    for (int lost = 0; lost <= kMaxLinesLost; ++lost, text = withoutLastLine(text)) {
        text = withoutComma(text);
        const auto calls = callsIn(text + kClosingBrackets);
        if (!calls) continue;
        std::ofstream(path, std::ios::trunc) << text << kClosingBrackets;
        return RecordedFile{*calls, true};
    }
    return std::nullopt;
}

}  // namespace vorn_onu
