#include "views/page/BoardView.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "views/Html.h"
#include "views/MibText.h"
#include "views/Report.h"
#include "views/page/CallPart.h"
#include "views/page/ControlPart.h"
#include "views/page/CounterPart.h"
#include "views/page/MibPart.h"

namespace vorn_onu::page {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxEntries = 40;
constexpr std::size_t kMaxFailed = 100;
constexpr int kReplyMs = 15000;
constexpr int kCountersMs = 1000;
constexpr std::chrono::milliseconds kBetweenLooks{250};
// The optical levels and the gateway change without an event.
constexpr std::chrono::milliseconds kLookAnyway{3000};

json request(const char* what, json fields = json::object()) {
    fields["do"] = what;
    return fields;
}

std::string fact(std::size_t number, const std::string& what) {
    return html::element("li", html::element("b", std::to_string(number)) + html::element("span", what));
}

std::string facts(const DeviceState& state) {
    return fact(state.bridges.size(), "bridges") + fact(state.ruleCount(), "tag rules") +
           fact(state.gemPorts.size(), "GEM ports") + fact(state.calls, "calls into the device");
}

}  // namespace

BoardView::BoardView(const std::string& board, const json& newBoard)
    : client_(board, kReplyMs), newBoard_(newBoard), newState_(readState(newBoard)) {
    begin();
}

// The whole state, and from there on what happens.
void BoardView::begin() {
    entries_.clear();
    failed_.clear();
    counters_ = nullptr;
    hasOlt_ = client_.ask(request("hello")).value("kind", "") == "omci";
    const json subscribed =
        client_.ask(request("subscribe", {{"to", {"trace", "changes", "counters"}}, {"everyMs", kCountersMs}}));
    const auto traced = subscribed.value("traced", std::uint64_t{0});
    json before = client_.ask(
        request("trace", {{"after", traced > kMaxEntries ? traced - kMaxEntries : 0}, {"most", kMaxEntries}}));
    takeEntries(before["entries"]);
    failed_.clear();
    json whole = client_.ask(request("show", {{"trace", "failed"}}));
    for (json& entry : whole["device"]["trace"]) failed_.push_back(std::move(entry));
    takeCounters(client_.ask(request("counters")));
    changed_ = true;
}

void BoardView::takeEntries(json& entries) {
    for (json& entry : entries) {
        const auto number = entry.value("number", std::uint64_t{0});
        // What has happened between the subscription and the first look comes twice.
        if (!entries_.empty() && number <= entries_.back()->value("number", std::uint64_t{0})) continue;
        if (isFailedEntry(entry) && (failed_.empty() || failed_.back()->value("number", std::uint64_t{0}) < number))
            failed_.push_back(entry);
        entries_.push_back(std::move(entry));
    }
    while (entries_.size() > kMaxEntries) entries_.pop_front();
    while (failed_.size() > kMaxFailed) failed_.pop_front();
    parts_["calls"] = callPart(entries_);
}

void BoardView::takeCounters(const json& counters) {
    const Clock::time_point now = Clock::now();
    parts_["counters"] = counterPart(counters, *counters_, std::chrono::duration<double>(now - counted_).count());
    counters_ = counters;
    counted_ = now;
}

void BoardView::take(json& event) {
    const std::string what = event.value("event", "");
    if (what == "end") throw std::runtime_error(event.value("why", "the board is gone"));
    if (what == "change") changed_ = true;
    if (what == "counters") takeCounters(event);
    if (what == "trace") takeEntries(event["entries"]);
    // What was missed may have failed, and another board's trace is another one.
    if (what == "board" || what == "missed") begin();
}

void BoardView::follow(std::chrono::milliseconds time) {
    const Clock::time_point end = Clock::now() + time;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        std::optional<json> event = client_.next(static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (event) take(*event);
        if (left <= 0) return;
    }
}

// A large board that changes all the time is not asked all the time.
void BoardView::look() {
    const Clock::time_point begin = Clock::now();
    if (begin - looked_ < (changed_ ? std::max<Clock::duration>(kBetweenLooks, 4 * lookTime_) : kLookAnyway)) return;
    json device = client_.ask(request("show")).at("device");
    json& trace = device["trace"] = json::array();
    for (const Held<json>& entry : failed_) trace.push_back(*entry);
    ReportInput input;
    input.state = readState(device);
    parts_["facts"] = facts(input.state);
    parts_["warnings"] = warningsPart(input);
    parts_["picture"] = picturePart(input.state);
    parts_["services"] = servicesPart(input.state);
    parts_["pon"] = ponPart(input.state);
    parts_["devices"] = devicesPart(input.state, newState_);
    parts_["lists"] = listsPart(input.state);
    parts_["controls"] = controlPart(device, newBoard_, hasOlt_);
    parts_["places"] = placePart(device);
    parts_["mib"] = hasOlt_ ? mibPart(mibNodes(client_.ask(request("mib")).at("mib"))) : "";
    changed_ = false;
    looked_ = Clock::now();
    lookTime_ = looked_ - begin;
}

Parts BoardView::changedParts() {
    look();
    Parts changed;
    for (const auto& [name, text] : parts_)
        if (const auto known = told_.find(name); known == told_.end() || known->second != text) changed[name] = text;
    for (const auto& [name, text] : changed) told_[name] = text;
    return changed;
}

}  // namespace vorn_onu::page
