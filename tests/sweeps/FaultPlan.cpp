#include "FaultPlan.h"

#include <algorithm>
#include <regex>

namespace fault_sweep {

std::string FaultPlan::text() const {
    std::string text;
    for (const auto call : calls) text += (text.empty() ? "" : "+") + std::to_string(call);
    return onwards ? text + "-" : text;
}

std::optional<FaultPlan> FaultPlan::of(const std::string& text) {
    static const std::regex form(R"(([1-9]\d{0,8})(\+[1-9]\d{0,8})*(-?))");
    static const std::regex number(R"(\d+)");
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) return std::nullopt;
    FaultPlan plan;
    for (std::sregex_iterator at(text.begin(), text.end(), number), end; at != end; ++at)
        plan.calls.push_back(std::stoull(at->str()));
    std::sort(plan.calls.begin(), plan.calls.end());
    plan.onwards = parts[3].length() > 0;
    return plan;
}

}  // namespace fault_sweep
