#include "living/Session.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "living/Metrics.h"
#include "living/Protocol.h"
#include "running/scenario/FrameReturn.h"
#include "running/scenario/MessageFaults.h"
#include "running/scenario/StepRecord.h"
#include "running/scenario/fields/FrameFields.h"
#include "running/state/DeviceState.h"
#include "running/state/WalkWords.h"

namespace vorn_onu::living {

namespace {

using nlohmann::json;
using virtual_onu::TraceEntry;
using virtual_onu::VirtualOnu;

constexpr std::size_t kMaxFailed = 1000;  // calls that are kept
constexpr std::size_t kAtOnce = 1000;     // entries of the trace that the board's threads wait for

std::uint64_t numberIn(const Json& request, const char* key, std::uint64_t otherwise, std::uint64_t highest) {
    if (!request.contains(key)) return otherwise;
    return inField(key, [&] { return numberOf(request[key], 0, highest); });
}

// The entries behind a number that are wanted.
template <typename Wanted>
std::vector<TraceEntry> entriesAfter(const VirtualOnu& onu, std::uint64_t number, std::size_t most, Wanted wanted) {
    std::vector<TraceEntry> found;
    while (found.size() < most) {
        std::vector<TraceEntry> some = onu.traceAfter(number, std::min(kAtOnce, most));
        if (some.empty()) break;
        number = some.back().number;
        for (TraceEntry& entry : some)
            if (found.size() < most && wanted(entry)) found.push_back(std::move(entry));
    }
    return found;
}

bool isFailure(const TraceEntry& entry) {
    return entry.kind == virtual_onu::CallKind::Platform && isFailedCall(entry.name, entry.result);
}

// For people: the hops with their tree, where copies left and why others did not.
json walkText(const virtual_onu::Walk& walk) {
    json hops = json::array(), leaves = json::array(), drops = json::array();
    for (const HopWords& hop : hopWords(walk))
        hops.push_back({{"tree", hop.tree},
                        {"where", hop.where},
                        {"what", hop.what},
                        {"to", hop.to},
                        {"frame", hop.frame},
                        {"fate", hop.fate},
                        {"drops", hop.dropped}});
    for (const auto& exit : walk.exits) leaves.push_back(exitWords(exit));
    for (const auto& drop : walk.drops) drops.push_back(dropWords(walk, drop));
    return {{"hops", hops}, {"leaves", leaves}, {"dropped", drops}};
}

}  // namespace

bool isCall(const Json& step) {
    return step.is_object() && step.contains("call");
}

Session::Session(VirtualOnu& onu, VornHal* hal, Held<Json> records) : onu_(onu), context_{onu, hal} {
    parsing_.records = std::move(records);
}

std::string Session::answer(const Json& request) {
    try {
        return replyText(done(request));
    } catch (const Refusal& refusal) {
        return refusalText(refusal);
    } catch (const Problem& problem) {
        return refusalText({"bad-request", problem.text()});
    } catch (const std::exception& error) {
        return refusalText({"failed", error.what()});
    }
}

json Session::done(const Json& request) {
    const std::string what = request.contains("do") ? inField("do", [&] { return textOf(request["do"]); }) : "";
    if (what == "show") return show(request);
    if (what == "step") return step(request);
    if (what == "send") return send(request);
    if (what == "trace") return trace(request);
    if (what == "counters") return counters();
    if (what == "news") return news(request);
    if (what == "metrics") {
        checkKeys(request, {"v", "id", "do"});
        return {{"ok", true}, {"metrics", boardMetrics().text()}};
    }
    if (what == "mib" || what == "messages")
        throw Refusal("not-here", "no OLT's messages come to this board; one of 'omci --listen --name' has a MIB");
    throw Refusal("bad-request", "there is no request '" + what + "'" +
                                     suggestion(what, {"hello", "show", "step", "send", "trace", "counters", "metrics",
                                                       "mib", "messages", "subscribe", "unsubscribe"}));
}

// Every entry is looked at once only: a trace is long, and the device's threads wait for each look at it.
std::vector<TraceEntry> Session::failedCalls() {
    const std::uint64_t traced = onu_.traced();
    if (traced < failedUpTo_) {  // it has started again
        failed_.clear();
        failedUpTo_ = 0;
    }
    for (TraceEntry& entry : entriesAfter(onu_, failedUpTo_, static_cast<std::size_t>(-1), isFailure))
        if (entry.number <= traced) failed_.push_back(std::move(entry));
    failedUpTo_ = traced;
    while (failed_.size() > kMaxFailed) failed_.pop_front();
    return {failed_.begin(), failed_.end()};
}

json Session::show(const Json& request) {
    checkKeys(request, {"v", "id", "do", "trace"});
    const std::string wanted =
        request.contains("trace") ? inField("trace", [&] { return textOf(request["trace"]); }) : "none";
    if (wanted != "none" && wanted != "failed" && wanted != "all")
        throw Problem("trace", "must be \"none\", \"failed\" or \"all\"");
    const std::uint64_t traced = onu_.traced();
    json device = onu_.toJsonWithoutTrace();
    if (wanted == "failed") device["trace"] = virtual_onu::traceJson(failedCalls());
    if (wanted == "all") {
        const auto any = [](const TraceEntry&) { return true; };
        device["trace"] = virtual_onu::traceJson(entriesAfter(onu_, 0, static_cast<std::size_t>(-1), any));
    }
    if (json faults = armedFaults(); !faults.empty()) device["faults"] = std::move(faults);
    return {{"ok", true},
            {"device", std::move(device)},
            {"changes", onu_.changes()},
            {"traced", traced},
            {"process", getpid()}};
}

json Session::step(const Json& request) {
    checkKeys(request, {"v", "id", "do", "step", "records"});
    if (!request.contains("step")) throw Problem("step", "is missing; it is a step as a scenario has it");
    if (context_.hal == nullptr && isCall(request["step"]))
        throw Refusal("not-here",
                      "the program owns its HAL and calls its operations by itself; a board of 'run --stay' or "
                      "'omci --listen' takes call steps");
    if (request["step"].is_object() && request["step"].contains("restart"))
        throw Refusal("not-here",
                      "the HAL lives in the process that is asked, which cannot be restarted; a scenario can");
    ParseContext parsing = parsing_;
    if (request.contains("records")) parsing.records = request["records"];
    const Json& whole = request["step"];
    // A name can be given to another moment: nobody knows what those before have marked.
    if (whole.is_object() && whole.contains("mark") && whole["mark"].is_string())
        parsing.marks.erase(whole["mark"].get<std::string>());
    Step one;
    try {
        one = parseStep(whole, steps_ + 1, parsing);
    } catch (const Problem& problem) {
        throw Refusal("bad-step", problem.text());
    }
    ++steps_;
    parsing_.marks = parsing.marks;
    const StepRecord record = performStep(one, context_);
    json reply = stepJson(record);
    if (record.sent) reply["way"] = walkText(record.sent->walk);
    return {{"ok", true}, {"step", std::move(reply)}};
}

// The frame really goes: addresses are learned and counters move, in the other direction too.
json Session::send(const Json& request) {
    checkKeys(request, {"v", "id", "do", "frame", "bothWays"});
    if (!request.contains("frame")) throw Problem("frame", "is missing; it is a frame as a scenario has it");
    const bool bothWays =
        request.contains("bothWays") && inField("bothWays", [&] { return truthOf(request["bothWays"]); });
    const FrameInput input = inField("frame", [&] { return frameInputOf(request["frame"]); });
    if (!canArrive(input, onu_)) throw Problem("frame.from", noSuchPlace(input, "", placesOn(onu_)));
    const auto sender = [this](const FrameInput& one) { return one.send(onu_, virtual_onu::Learning::On); };
    const SentFrame sent{input, sender(input)};
    std::vector<Return> returns;
    if (bothWays) returns = sendBack(sender, sent);
    json back = json::array();
    for (const Return& one : returns)
        back.push_back({{"frame", one.input.text()}, {"way", walkText(one.walk)}, {"against", one.against}});
    json reply = {{"ok", true},
                  {"sent", sentJson(sent, returns, bothWays)},
                  {"frame", input.text()},
                  {"way", walkText(sent.walk)}};
    if (bothWays) reply["back"] = std::move(back);
    return reply;
}

json Session::trace(const Json& request) const {
    checkKeys(request, {"v", "id", "do", "after", "most", "failed"});
    const std::uint64_t after = numberIn(request, "after", 0, UINT64_MAX);
    const auto most = static_cast<std::size_t>(numberIn(request, "most", 1000, kMaxTraceEntries));
    const bool failed = request.contains("failed") && inField("failed", [&] { return truthOf(request["failed"]); });
    const std::uint64_t traced = onu_.traced();  // before the entries: nobody is to think of one as seen that is not
    const auto entries =
        entriesAfter(onu_, after, most, [&](const TraceEntry& entry) { return !failed || isFailure(entry); });
    return {{"ok", true},
            {"entries", virtual_onu::traceJson(entries)},
            {"traced", traced},
            {"changes", onu_.changes()},
            {"process", getpid()}};
}

json Session::counters() const {
    json devices = json::object(), ports = json::object(), queues = json::array();
    for (const auto& device : onu_.devices()) devices[device.name] = device.statistics;
    for (const auto& port : onu_.gemPorts()) ports[std::to_string(port.portId)] = port.counters;
    for (const auto& tcont : onu_.tconts())
        for (const auto& queue : tcont.queues)
            queues.push_back(
                {{"tcont", tcont.index}, {"queue", queue.id}, {"frames", queue.frames}, {"octets", queue.octets}});
    json reply = {
        {"ok", true}, {"devices", std::move(devices)}, {"gemPorts", std::move(ports)}, {"queues", std::move(queues)}};
    if (json taps = onu_.tapsToJson(); !taps.empty()) reply["taps"] = std::move(taps);
    if (json faults = armedFaults(); !faults.empty()) reply["faults"] = std::move(faults);
    return reply;
}

json Session::armedFaults() const {
    json faults = onu_.faultsToJson();
    if (context_.messageFaults == nullptr) return faults;
    for (json& fault : context_.messageFaults->armed()) faults.push_back(std::move(fault));
    return faults;
}

// What has come since somebody looked last, for events.
json Session::news(const Json& request) const {
    const std::uint64_t traced = onu_.traced();
    const std::uint64_t after = numberIn(request, "after", traced, UINT64_MAX);
    const auto most = static_cast<std::size_t>(numberIn(request, "most", 0, kMaxTraceEntries));
    json reply = {{"ok", true},
                  {"process", getpid()},
                  {"traced", traced},
                  {"changes", onu_.changes()},
                  {"entries", json::array()}};
    if (most > 0)
        reply["entries"] =
            virtual_onu::traceJson(entriesAfter(onu_, after, most, [](const TraceEntry&) { return true; }));
    return reply;
}

}  // namespace vorn_onu::living
