#include "living/News.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "living/Protocol.h"

namespace vorn_onu::living {

namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenReports{100};
constexpr std::size_t kInOneEvent = 500;

std::string event(json fields) {
    fields["v"] = kProtocolVersion;
    return replyText(fields);
}

}  // namespace

// Of several listeners only the first one in a while makes the board answer.
void News::look(bool withTrace) {
    const auto now = Clock::now();
    if (now - looked_ < kBetweenReports && (!withTrace || known_ == traced_)) return;
    looked_ = now;
    Json request = {{"do", "news"}, {"most", withTrace ? kMaxTraceEntries : 0}};
    request["after"] = known_;
    json reply = json::parse(board_.ask(request), nullptr, false);
    if (!reply.is_object() || !reply.value("ok", false)) return;  // no board at the moment
    const long process = reply.value("process", 0L);
    const std::uint64_t traced = reply.value("traced", std::uint64_t{0});
    if (process != process_ || traced < traced_) {
        process_ = process;
        ++boards_;
        const bool another = known_ > 0;
        known_ = 0;
        entries_.clear();
        if (another && withTrace) {  // what came was behind a number of the board before
            request["after"] = traced > kMaxTraceEntries ? traced - kMaxTraceEntries : 0;
            reply = json::parse(board_.ask(request), nullptr, false);
            if (!reply.is_object() || !reply.value("ok", false)) return;
        }
    }
    traced_ = reply.value("traced", std::uint64_t{0});
    changes_ = reply.value("changes", std::uint64_t{0});
    if (withTrace) takeEntries(reply);
}

void News::takeEntries(json& reply) {
    for (json& entry : reply["entries"]) {
        known_ = entry.value("number", std::uint64_t{0});
        entries_.push_back(std::move(entry));
    }
    while (entries_.size() > kMaxTraceEntries) entries_.pop_front();
}

void News::begin(Listening& listening, std::optional<std::uint64_t> after) {
    const std::lock_guard<std::mutex> lock(mutex_);
    looked_ = {};
    look(false);
    if (listening.trace && (entries_.empty() || traced_ - known_ > kMaxTraceEntries)) {
        entries_.clear();
        known_ = std::min(after.value_or(traced_), traced_);
    }
    listening.traced = after.value_or(traced_);
    listening.changed = changes_;
    listening.boards = boards_;
}

void News::addTrace(Listening& listening, std::vector<std::string>& events) const {
    if (entries_.empty() || known_ <= listening.traced) return;
    const std::uint64_t first = entries_.front()->value("number", std::uint64_t{0});
    if (listening.traced + 1 < first) {
        events.push_back(event({{"event", "missed"}, {"entries", first - 1 - listening.traced}}));
        listening.traced = first - 1;
    }
    auto one = entries_.begin() + static_cast<std::ptrdiff_t>(listening.traced + 1 - first);
    while (one != entries_.end()) {
        json some = json::array();
        for (; one != entries_.end() && some.size() < kInOneEvent; ++one) some.push_back(**one);
        events.push_back(event({{"event", "trace"}, {"entries", std::move(some)}}));
    }
    listening.traced = known_;
}

void News::addCounters(Listening& listening, std::vector<std::string>& events) {
    const auto now = Clock::now();
    if (now - listening.counted < listening.every) return;
    if (now - counted_ >= kBetweenReports) {
        json reply = json::parse(board_.ask({{"do", "counters"}}), nullptr, false);
        if (!reply.is_object() || !reply.value("ok", false)) return;
        counted_ = now;
        reply.erase("ok");
        counters_ = std::move(reply);
    }
    listening.counted = now;
    json fields = *counters_;
    fields["event"] = "counters";
    events.push_back(event(std::move(fields)));
}

std::vector<std::string> News::next(Listening& listening) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> events;
    look(listening.trace);
    if (boards_ != listening.boards) {
        listening.boards = boards_;
        listening.traced = 0;
        listening.changed = 0;
        events.push_back(event({{"event", "board"}, {"process", process_}}));
    }
    if (listening.trace) addTrace(listening, events);
    if (listening.changes && changes_ != listening.changed) {
        listening.changed = changes_;
        events.push_back(event({{"event", "change"}, {"changes", changes_}, {"traced", traced_}}));
    }
    if (listening.counters) addCounters(listening, events);
    return events;
}

}  // namespace vorn_onu::living
