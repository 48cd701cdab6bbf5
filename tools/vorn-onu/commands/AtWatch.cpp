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
        bool hasNews = changes != changes_ || watched_.device->is_null();
        for (bool more = true; more;) {
            const nlohmann::json reply =
                client_.ask({{"do", "trace"}, {"after", failedUpTo_}, {"most", kMaxFailed}, {"failed", true}});
            for (const nlohmann::json& entry : reply.at("entries")) failed_.push_back(entry);
            more = reply.at("entries").size() == kMaxFailed;
            failedUpTo_ = more ? reply.at("entries").back().at("number").get<std::uint64_t>()
                               : reply.at("traced").get<std::uint64_t>();
            hasNews = hasNews || !reply.at("entries").empty();
        }
        while (failed_.size() > kMaxFailed) failed_.erase(failed_.begin());
        if (!hasNews) return;
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

void draw(const Screen& screen, const Watch& watch, WatchChoice& choice) {
    const Screen::Size size = screen.size();
    screen.draw(watchLines(watch.watched(), choice, size.rows, size.columns, wantsColour()));
}

// The keys that the last line of the view names. An arrow is three characters.
class Keys {
public:
    WatchChoice& choice() { return choice_; }
    // False where the key ends the view.
    bool take(char key) {
        if (choice_.isTyping) {
            type(key);
            return true;
        }
        const bool isArrow = before_ == "\x1b[";
        before_ = key == '\x1b' ? "\x1b" : before_ == "\x1b" && key == '[' ? "\x1b[" : "";
        if (isArrow ? key == 'B' : key == 'j') ++choice_.scrolled;
        if ((isArrow ? key == 'A' : key == 'k') && choice_.scrolled > 0) --choice_.scrolled;
        if (key == '/') choice_.isTyping = true;
        if (key == 's') choice_.byTraffic = !choice_.byTraffic;
        return key != 'q' && key != 'Q';
    }

private:
    void type(char key) {
        constexpr std::size_t kMaxFilter = 60;
        if (key == '\r' || key == '\n' || key == '\x1b') choice_.isTyping = false;
        if (key == '\x1b') choice_.filter.clear();
        if ((key == '\b' || key == '\x7f') && !choice_.filter.empty()) choice_.filter.pop_back();
        if (static_cast<unsigned char>(key) >= ' ' && key != '\x7f' && choice_.filter.size() < kMaxFilter)
            choice_.filter += key;
    }
    WatchChoice choice_;
    std::string before_;  // of an arrow's characters
};

}  // namespace

int AtWatchCommand::run() const {
    return tried("watch", [this] {
        Watch watch(name);
        Screen screen;
        Keys keys;
        while (true) {
            watch.look();
            draw(screen, watch, keys.choice());
            const auto end = Clock::now() + std::chrono::milliseconds(kRefreshMs);
            while (Clock::now() < end) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
                const Screen::Event event = screen.wait(static_cast<int>(left) + 1);
                if (event == Screen::Event::End || !lostOutput().empty()) return kHeld;
                if (event == Screen::Event::Key && !keys.take(screen.key())) return kHeld;
                if (event != Screen::Event::Nothing) draw(screen, watch, keys.choice());
            }
        }
    });
}

}  // namespace vorn_onu
