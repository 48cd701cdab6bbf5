#include "views/page/Reader.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "running/io/Pause.h"

namespace vorn_onu::page {

namespace {

using nlohmann::json;

constexpr std::chrono::milliseconds kStep{100};
constexpr int kStepsBeforeAnotherTry = 10;
constexpr std::chrono::seconds kMaxSilence{5};  // a reader who has left is noticed when he is spoken to

}  // namespace

std::string Reader::event(const char* name, const json& data) {
    spoke_ = Clock::now();
    return std::string("event: ") + name + "\ndata: " + data.dump(-1, ' ', true, json::error_handler_t::replace) +
           "\n\n";
}

std::string Reader::gone(const std::string& why) {
    view_.reset();
    if (!saysGone_) {
        saysGone_ = true;
        return event("gone", {{"why", why}});
    }
    for (int i = 0; i < kStepsBeforeAnotherTry && !over_; ++i) pause(kStep);
    return "";
}

std::string Reader::next() {
    try {
        if (!view_) {
            view_ = std::make_unique<BoardView>(board_, newBoard_);
            saysGone_ = false;
        } else {
            view_->follow(kStep);
        }
        if (const std::uint64_t steps = steps_; steps != taken_) {
            taken_ = steps;
            view_->lookAgain();
        }
        if (const Parts parts = view_->changedParts(); !parts.empty()) return event("parts", parts);
    } catch (const std::exception& error) {
        if (const std::string text = gone(error.what()); !text.empty()) return text;
    }
    if (Clock::now() - spoke_ < kMaxSilence) return "";
    spoke_ = Clock::now();
    return ": here\n\n";
}

}  // namespace vorn_onu::page
