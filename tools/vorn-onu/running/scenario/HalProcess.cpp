#include "running/scenario/HalProcess.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "hal/HALFactory.h"
#include "hal/HalState.h"
#include "running/io/Printed.h"
#include "running/scenario/StepRecord.h"
#include "running/scenario/StepWarnings.h"

namespace vorn_onu {

namespace {

// ---- messages: a length and a text ----

bool sendAll(int channel, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = send(channel, bytes + done, size - done, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool receiveAll(int channel, void* data, std::size_t size) {
    auto* bytes = static_cast<char*>(data);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = recv(channel, bytes + done, size - done, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool sendText(int channel, const std::string& text) {
    const std::uint64_t size = text.size();
    return sendAll(channel, &size, sizeof size) && sendAll(channel, text.data(), text.size());
}

bool receiveText(int channel, std::string& text) {
    std::uint64_t size = 0;
    if (!receiveAll(channel, &size, sizeof size)) return false;
    text.resize(static_cast<std::size_t>(size));
    return receiveAll(channel, text.data(), text.size());
}

// ---- what a step has come to ----

std::string answerText(const StepHost::Answer& answer) {
    Json failures = Json::array();
    for (const Failure& failure : answer.result.failures)
        failures.push_back({{"what", failure.what}, {"expected", failure.expected}, {"actual", failure.actual}});
    const Json json = {{"answer", answer.result.answer}, {"failures", failures}, {"warnings", answer.warnings}};
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

StepHost::Answer answerIn(const std::string& text) {
    StepHost::Answer answer;
    const Json json = Json::parse(text);
    json.at("answer").get_to(answer.result.answer);
    json.at("warnings").get_to(answer.warnings);
    for (const Json& one : json.at("failures"))
        answer.result.failures.push_back({one.at("what").get<std::string>(),
                                          one.at("expected").get<std::vector<std::string>>(),
                                          one.at("actual").get<std::vector<std::string>>()});
    return answer;
}

// What the device has said goes through JSON as what it is shown as.
void makePrintable(StepResult& result) {
    result.answer = oneLine(result.answer);
    for (Failure& failure : result.failures)
        for (auto* lines : {&failure.expected, &failure.actual})
            for (std::string& line : *lines) line = oneLine(line);
}

StepHost::Answer runAndWarn(const Step& step, RunContext& context, StepWarnings& warnings) {
    static const Step others;  // what has been done since by others is nobody's surprise
    warnings.after(others, context.onu);
    StepHost::Answer answer;
    answer.result = runHere(step, context);
    answer.warnings = warnings.after(step, context.onu);
    makePrintable(answer.result);
    return answer;
}

}  // namespace

// Lives as long as it is asked for steps.
void HalProcess::live(int channel) const {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.onTrace(nullptr);  // the runner listens
    RunContext context{onu, HALFactory::getInstance()->CreateHALObject(0)};
    const int restored = stateFile_.empty() ? 0 : vorn_hal_state_open(stateFile_.c_str());
    std::fflush(stdout);
    sendAll(channel, &restored, sizeof restored);
    StepWarnings warnings(onu);
    std::size_t place = 0;
    while (receiveAll(channel, &place, sizeof place)) {
        const StepHost::Answer answer = runAndWarn(scenario_.steps.at(place), context, warnings);
        std::fflush(stdout);
        if (!sendText(channel, answerText(answer))) break;
    }
    std::fflush(stdout);
    _exit(0);  // the HAL's threads must not meet what exit() destroys
}

std::string HalProcess::begin() {
    int channel[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel) != 0)
        throw std::runtime_error(std::string("a process for the HAL: ") + std::strerror(errno));
    std::fflush(nullptr);
    process_ = fork();
    if (process_ == 0) {
        close(channel[0]);
        live(channel[1]);
    }
    close(channel[1]);
    if (process_ < 0) {
        close(channel[0]);
        process_ = 0;
        throw std::runtime_error(std::string("a process for the HAL: ") + std::strerror(errno));
    }
    channel_ = channel[0];
    int restored = 0;
    if (!receiveAll(channel_, &restored, sizeof restored)) {
        ended_ = howItEnded();
        throw std::runtime_error(ended_);
    }
    if (restored < 0) {
        end(Restart::Exit);
        ended_ = "has not opened its state file";
        throw std::runtime_error(ended_ + "; what it printed says why");
    }
    ended_.clear();
    if (stateFile_.empty()) return "";
    return std::to_string(restored) + (restored == 1 ? " record" : " records") + " restored";
}

std::string HalProcess::howItEnded() {
    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(process_, &status, 0);
    } while (ended < 0 && errno == EINTR);
    process_ = 0;
    close(channel_);
    channel_ = -1;
    if (WIFSIGNALED(status))
        return "ended by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    return "ended with code " + std::to_string(WEXITSTATUS(status));
}

void HalProcess::end(Restart how) {
    if (process_ == 0) return;
    if (how == Restart::Kill)
        kill(process_, SIGKILL);
    else
        shutdown(channel_, SHUT_RDWR);
    howItEnded();
}

StepHost::Answer HalProcess::run(const Step& step) {
    const std::size_t place = step.number - 1;
    std::string text;
    if (process_ != 0 && sendAll(channel_, &place, sizeof place) && receiveText(channel_, text)) return answerIn(text);
    if (process_ != 0) ended_ = howItEnded();
    StepHost::Answer answer;
    answer.result.failures.push_back({"the HAL's process", {"goes on"}, {ended_}});
    return answer;
}

}  // namespace vorn_onu
