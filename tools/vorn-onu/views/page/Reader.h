// One page that is open somewhere: the stream of what it gets.
#ifndef VORN_ONU_PAGE_READER_H
#define VORN_ONU_PAGE_READER_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "views/page/BoardView.h"

namespace vorn_onu::page {

// Used by one thread.
class Reader {
public:
    // steps: counts those that have been taken by the page; over: nothing is to be waited for any more. Both, and
    // newBoard, outlive the reader.
    Reader(std::string board, const nlohmann::json& newBoard, const std::atomic<std::uint64_t>& steps,
           const std::atomic<bool>& over)
        : board_(std::move(board)), newBoard_(newBoard), steps_(steps), over_(over), taken_(steps) {}

    // What to send next, as text of an event stream: "parts" with a text of HTML by name, "gone" with the reason when
    // there is no board, "" for nothing new. Returns within a second or so. A board that starts again is found again.
    std::string next();

private:
    using Clock = std::chrono::steady_clock;
    std::string event(const char* name, const nlohmann::json& data);
    std::string gone(const std::string& why);

    std::string board_;
    const nlohmann::json& newBoard_;
    const std::atomic<std::uint64_t>& steps_;
    const std::atomic<bool>& over_;
    std::uint64_t taken_;
    std::unique_ptr<BoardView> view_;
    bool saysGone_ = false;
    Clock::time_point spoke_ = Clock::now();
};

}  // namespace vorn_onu::page

#endif
