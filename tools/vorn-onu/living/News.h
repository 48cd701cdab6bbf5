// What happens on a board, looked up once for all who listen.
#ifndef VORN_ONU_NEWS_H
#define VORN_ONU_NEWS_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "living/LiveBoard.h"
#include "running/io/HeldJson.h"

namespace vorn_onu::living {

// What one listener wants to hear of, and has been sent so far.
struct Listening {
    bool trace = false, changes = false, counters = false;
    std::chrono::milliseconds every{1000};  // counters
    std::uint64_t traced = 0;               // number of the last entry that it knows
    std::uint64_t changed = 0;
    std::uint64_t boards = 0;
    std::chrono::steady_clock::time_point counted{};
    bool any() const { return trace || changes || counters; }
};

// From any thread.
class News {
public:
    explicit News(LiveBoard& board) : board_(board) {}
    // From now on; of the trace from the entry behind this number on, as far as it is still known.
    void begin(Listening& listening, std::optional<std::uint64_t> after);
    // The events since then, a line each; looks at the board when the last look is a while ago.
    std::vector<std::string> next(Listening& listening);

private:
    void look(bool withTrace);
    void takeEntries(nlohmann::json& reply);
    void addTrace(Listening& listening, std::vector<std::string>& events) const;
    void addCounters(Listening& listening, std::vector<std::string>& events);

    LiveBoard& board_;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point looked_{}, counted_{};
    long process_ = 0;           // whose board it is
    std::uint64_t boards_ = 0;   // so many times it was another one, or started again
    std::uint64_t traced_ = 0;   // entries of the trace that there are
    std::uint64_t changes_ = 0;  // of the board
    std::uint64_t known_ = 0;    // number of the last entry below
    std::deque<Held<nlohmann::json>> entries_;
    Held<nlohmann::json> counters_;
};

}  // namespace vorn_onu::living

#endif
