#include "views/page/CallPart.h"

#include <nlohmann/json.hpp>

#include "running/io/Printed.h"
#include "running/state/DeviceState.h"
#include "views/Html.h"

namespace vorn_onu::page {

namespace {

using namespace html;
using nlohmann::json;

std::string mono(const std::string& text) {
    return text.empty() ? "" : element("span", escaped(oneLine(text)), "mono");
}

std::string resultOf(const json& entry) {
    const std::string kind = entry.value("kind", "");
    if (kind == "log" || kind == "wait") return "";
    const std::string result = std::to_string(entry.value("result", 0L));
    if (entry.value("injected", false)) return element("span", result + " by a fault", "fault");
    return isFailedEntry(entry) || (kind != "platform" && entry.value("result", 0L) < 0)
               ? element("span", result + " failed", "no")
               : result;
}

}  // namespace

bool isFailedEntry(const json& entry) {
    return entry.value("kind", "") == "platform" && isFailedCall(entry.value("name", ""), entry.value("result", 0L));
}

std::string callPart(const std::deque<Held<json>>& entries) {
    RowGroup rows;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
        rows.rows.push_back({std::to_string((*entry)->value("number", std::uint64_t{0})),
                             escaped((*entry)->value("kind", "")), mono((*entry)->value("name", "")),
                             mono((*entry)->value("arguments", "")), resultOf(**entry)});
    const std::string text = stackingTable({"number", "kind", "call", "arguments", "result"}, {rows}, "calls");
    if (text.empty()) return "";
    return card("<div class=\"tall\" role=\"region\" aria-label=\"Last calls, the newest first\" tabindex=\"0\">" +
                text + "</div>");
}

}  // namespace vorn_onu::page
