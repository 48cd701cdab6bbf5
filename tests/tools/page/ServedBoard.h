// A board that runs, and its page, each in a process of its own.
#ifndef TESTS_PAGE_SERVED_BOARD_H
#define TESTS_PAGE_SERVED_BOARD_H

#include <csignal>
#include <memory>

#include <nlohmann/json.hpp>

#include "support/Process.h"
#include "tools/page/Http.h"
#include "tools/vorn-onu/RunProgram.h"

// The internet service of the scenario of this name is on it, before it is taken back.
class ServedBoard : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("XDG_RUNTIME_DIR", scratch_.file("").c_str(), 1);
        auto scenario = nlohmann::json::parse(contentOf(VORN_SCENARIO_DIR "/internet.json"));
        auto standing = nlohmann::json::array();
        for (const auto& step : scenario["steps"]) {
            if (step.contains("frame")) break;
            standing.push_back(step);
        }
        standing.push_back({{"board", {{"devices", {{"<s>bad", true}}}}}});
        scenario["steps"] = standing;
        scratch_.write("standing.json", scenario.dump());
        startBoard();
        startPage();
    }
    void startBoard() {
        board_ = std::make_unique<BackgroundProgram>(
            std::vector<std::string>{VORN_ONU_BINARY, "run", scratch_.file("standing.json"), "--stay", "--name", "lab"},
            scratch_.file("board.out"));
        ASSERT_TRUE(board_->prints("stays as")) << board_->output();
    }
    // port: 0 for one that is free.
    void startPage(int port = 0) {
        page_ = std::make_unique<BackgroundProgram>(
            std::vector<std::string>{VORN_ONU_BINARY, "at", "lab", "serve", "--port", std::to_string(port)},
            scratch_.file("page.out"));
        page_->prints("ends it");
        const std::string printed = page_->output(), start = "http://127.0.0.1:", between = "/?token=";
        const std::size_t at = printed.find(start), token = printed.find(between);
        ASSERT_NE(token, std::string::npos) << printed;
        link_ = printed.substr(at, printed.find('\n', at) - at);
        port_ = std::atoi(printed.c_str() + at + start.size());
        token_ = link_.substr(link_.find(between) + between.size());
    }
    std::string host() const { return "Host: 127.0.0.1:" + std::to_string(port_) + "\r\n"; }
    std::string withToken() const { return host() + "X-Vorn-Token: " + token_ + "\r\n"; }
    HttpAnswer step(const nlohmann::json& step) const { return ask(port_, "POST", "/step", withToken(), step.dump()); }

    ScratchDirectory scratch_;
    std::unique_ptr<BackgroundProgram> board_, page_;
    std::string link_, token_;
    int port_ = 0;
};

#endif
