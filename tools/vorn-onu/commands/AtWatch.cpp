// vorn-onu at NAME watch: the board on one screen, refreshed.
#include <chrono>
#include <cstdlib>
#include <deque>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "commands/AtTrying.h"
#include "commands/Commands.h"
#include "living/Client.h"
#include "running/io/Screen.h"
#include "views/WatchView.h"

namespace vorn_onu {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRefreshMs = 500;
constexpr std::chrono::milliseconds kBetweenCounters{1000};  // rates over less jump
constexpr int kReplyMs = 15000;                              // a program that is stopped is reported after ten seconds
constexpr std::size_t kMaxCalls = 200;
constexpr std::size_t kMaxFailed = 100;

std::string titleOf(const std::string& name, const nlohmann::json& hello) {
    std::string title = name + ": " + hello.value("kind", "");
    for (const nlohmann::json& word : hello.value("program", nlohmann::json::array()))
        title += " " + word.get<std::string>();
    return title;
}

// What is asked of the board, and kept between two looks.
class Watch {
public:
    explicit Watch(const std::string& name) : client_(name, kReplyMs) {
        watched_.title = titleOf(name, client_.ask({{"do", "hello"}}));
    }

    void look() {
        try {
            lookAtTrace();
            lookAtCounters();
            watched_.problem.clear();
        } catch (const living::Refusal& refusal) {
            watched_.problem = refusal.what();
        }
    }
    const Watched& watched() const { return watched_; }

private:
    void lookAtTrace() {
        const nlohmann::json reply = client_.ask({{"do", "trace"}, {"after", known_}, {"most", kMaxCalls}});
        const auto traced = reply.at("traced").get<std::uint64_t>();
        const auto process = reply.at("process").get<long>();
        if (process != process_ || traced < known_) {  // another board, or one that started again
            process_ = process;
            forget(traced);
            return lookAtDevice(0);
        }
        if (traced > known_ + kMaxCalls) {
            keep(client_.ask({{"do", "trace"}, {"after", traced - kMaxCalls}, {"most", kMaxCalls}}).at("entries"));
        } else {
            keep(reply.at("entries"));
        }
        known_ = traced;
        watched_.calls.assign(calls_.begin(), calls_.end());
        lookAtDevice(reply.at("changes").get<std::uint64_t>());
    }

    void forget(std::uint64_t traced) {
        calls_.clear();
        failed_ = nlohmann::json::array();
        failedUpTo_ = 0;
        known_ = traced > kMaxCalls ? traced - kMaxCalls : 0;
        changes_ = 0;
    }

    void keep(const nlohmann::json& entries) {
        for (const nlohmann::json& entry : entries) {
            const std::string kind = entry.value("kind", "");
            if (kind != "wait" && kind != "log") calls_.push_back(callText(entry));
        }
        while (calls_.size() > kMaxCalls) calls_.pop_front();
    }

    // The state is asked for when something has changed on the board, or was called and has failed.
    void lookAtDevice(std::uint64_t changes) {
        bool anew = changes != changes_ || watched_.device->is_null();
        for (bool more = true; more;) {
            const nlohmann::json reply =
                client_.ask({{"do", "trace"}, {"after", failedUpTo_}, {"most", kMaxFailed}, {"failed", true}});
            for (const nlohmann::json& entry : reply.at("entries")) failed_.push_back(entry);
            more = reply.at("entries").size() == kMaxFailed;
            failedUpTo_ = more ? reply.at("entries").back().at("number").get<std::uint64_t>()
                               : reply.at("traced").get<std::uint64_t>();
            anew = anew || !reply.at("entries").empty();
        }
        while (failed_.size() > kMaxFailed) failed_.erase(failed_.begin());
        if (!anew) return;
        changes_ = changes;
        watched_.device = client_.ask({{"do", "show"}}).at("device");
        (*watched_.device)["trace"] = failed_;
    }

    void lookAtCounters() {
        const auto now = Clock::now();
        if (now - counted_ < kBetweenCounters) return;
        watched_.before = std::move(watched_.counters);
        watched_.counters = client_.ask({{"do", "counters"}});
        watched_.seconds = watched_.before->is_null() ? 0 : std::chrono::duration<double>(now - counted_).count();
        counted_ = now;
    }

    living::Client client_;
    Watched watched_;
    std::deque<std::string> calls_;
    nlohmann::json failed_ = nlohmann::json::array();
    std::uint64_t known_ = 0, failedUpTo_ = 0, changes_ = 0;
    long process_ = 0;
    Clock::time_point counted_{};
};

bool wantsColour() {
    const char* noColour = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
    return noColour == nullptr || *noColour == '\0';
}

void draw(const Screen& screen, const Watch& watch) {
    const Screen::Size size = screen.size();
    screen.draw(watchLines(watch.watched(), size.rows, size.columns, wantsColour()));
}

}  // namespace

int AtWatchCommand::run() const {
    return tried("watch", [this] {
        Watch watch(name);
        Screen screen;
        while (true) {
            watch.look();
            draw(screen, watch);
            const auto end = Clock::now() + std::chrono::milliseconds(kRefreshMs);
            while (Clock::now() < end) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
                const Screen::Event event = screen.wait(static_cast<int>(left) + 1);
                if (event == Screen::Event::End || !lostOutput().empty()) return kHeld;
                if (event == Screen::Event::Resized) draw(screen, watch);
            }
        }
    });
}

}  // namespace vorn_onu
