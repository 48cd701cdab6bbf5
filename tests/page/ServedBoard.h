// A board that runs, and its page, each in a process of its own.
#ifndef TESTS_PAGE_SERVED_BOARD_H
#define TESTS_PAGE_SERVED_BOARD_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <csignal>
#include <memory>

#include <nlohmann/json.hpp>

#include "page/Http.h"
#include "tool/RunProgram.h"

// A program in the background; ends with the object.
class Background {
public:
    explicit Background(std::vector<std::string> words) {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) return;
        std::vector<char*> arguments;
        for (auto& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        child_ = fork();
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[1], STDOUT_FILENO);
            dup2(ends[1], STDERR_FILENO);
            execvp(arguments[0], arguments.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = ends[0];
    }
    ~Background() {
        end(SIGTERM);
        close(output_);
    }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    // What it has printed, as soon as that has this text; all of it when it ends before.
    std::string until(const std::string& text) {
        char bytes[4096];
        pollfd one{output_, POLLIN, 0};
        while (printed_.find(text) == std::string::npos && poll(&one, 1, 30000) > 0) {
            const ssize_t count = read(output_, bytes, sizeof bytes);
            if (count <= 0) break;
            printed_.append(bytes, static_cast<std::size_t>(count));
        }
        return printed_;
    }
    // The exit code; 128 and the signal's number when a signal has ended it.
    int end(int signal) {
        if (child_ <= 0) return -1;
        kill(child_, signal);
        int status = 0;
        waitpid(child_, &status, 0);
        child_ = -1;
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    pid_t child_ = -1;
    int output_ = -1;
    std::string printed_;
};

// The internet service of the scenario of this name stands on it, before it is taken back.
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
        board_ = std::make_unique<Background>(std::vector<std::string>{
            VORN_ONU_BINARY, "run", scratch_.file("standing.json"), "--stay", "--name", "lab"});
        ASSERT_NE(board_->until("stays as").find("stays as"), std::string::npos) << board_->until("\n");
    }
    void startPage() {
        page_ = std::make_unique<Background>(
            std::vector<std::string>{VORN_ONU_BINARY, "at", "lab", "serve", "--port", "0"});
        const std::string printed = page_->until("ends it"), start = "http://127.0.0.1:", between = "/?token=";
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
    std::unique_ptr<Background> board_, page_;
    std::string link_, token_;
    int port_ = 0;
};

#endif
