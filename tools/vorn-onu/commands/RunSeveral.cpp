#include "commands/RunSeveral.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/io/Printed.h"

namespace vorn_onu {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(ScenarioResult, file, title, problem, isBadInput, steps, failures, seconds)

namespace {

// ---- a scenario in a process of its own; its result comes back in a file without a name ----

void readInto(ScenarioResult& result, std::FILE* file) {
    std::string text;
    std::rewind(file);
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), file)) > 0;)
        text.append(buffer.data(), count);
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_discarded()) json.get_to(result);
}

struct Running {
    std::size_t index = 0;  // of its scenario
    std::FILE* file = nullptr;
};

[[noreturn]] void runAndLeave(const RunCommand& command, const std::string& name, const Terminal& terminal,
                              std::FILE* file) {
    const nlohmann::json result = runUnseen(command, name, terminal);
    const std::string text = result.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    const bool written = std::fputs(text.c_str(), file) >= 0 && std::fflush(file) == 0;
    _exit(written ? 0 : 1);  // the HAL's threads must not meet what exit() destroys
}

// ---- all of them ----

class Runs {
public:
    Runs(const RunCommand& command, const Terminal& terminal)
        : command_(command), terminal_(terminal), results_(command.scenarios.size()), ended_(results_.size()) {
        for (std::size_t i = 0; i < results_.size(); ++i) results_[i].file = command.scenarios[i];
    }

    std::vector<ScenarioResult> all() {
        while (shown_ < results_.size()) {
            while (started_ < results_.size() && running_.size() < command_.jobs) start();
            tellProgress();
            takeOne();
            showEnded();
        }
        return results_;
    }

private:
    void start() {
        const int memory = memfd_create("result", MFD_CLOEXEC);  // there may be no folder to write into
        std::FILE* file = memory < 0 ? nullptr : fdopen(memory, "w+");
        const pid_t child = file == nullptr ? -1 : fork();
        if (child == 0) runAndLeave(command_, command_.scenarios[started_], terminal_, file);
        if (child < 0) throw std::runtime_error(std::string("a process cannot be started: ") + std::strerror(errno));
        running_[child] = {started_++, file};
    }

    void takeOne() {
        int status = 0;
        const pid_t child = waitpid(-1, &status, 0);
        const auto found = running_.find(child);
        if (found == running_.end()) return;
        const Running ended = found->second;
        running_.erase(found);
        ScenarioResult& result = results_[ended.index];
        readInto(result, ended.file);
        std::fclose(ended.file);
        if (WIFSIGNALED(status))
            result.problem = result.file + ": ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
                             strsignal(WTERMSIG(status)) + ")";
        else if (WEXITSTATUS(status) != 0)
            result.problem = result.file + ": its result is lost";
        ended_[ended.index] = true;
    }

    void showEnded() {
        for (; shown_ < results_.size() && ended_[shown_]; ++shown_) {
            const ScenarioResult& result = results_[shown_];
            if (command_.quiet && result.passed()) continue;
            progress("");
            print(lineOf(result));
            for (const std::string& failure : result.failures) print(failure);
        }
    }

    std::string lineOf(const ScenarioResult& result) const {
        std::array<char, 32> seconds{};
        std::snprintf(seconds.data(), seconds.size(), "%.2f s", result.seconds);
        const std::string mark = result.passed() ? terminal_.green("✓") : terminal_.red("✗");
        if (!result.problem.empty()) return mark + " " + terminal_.red(result.problem) + "\n";
        const std::string note = result.passed() ? std::to_string(result.steps) + " steps" : failureWords(result);
        return mark + " " + oneLine(result.file) + "  " + terminal_.dim(note + ", " + seconds.data()) + "\n";
    }

    void tellProgress() const {
        std::string names;
        for (const auto& [child, one] : running_) names += (names.empty() ? "" : ", ") + results_[one.index].file;
        const auto done = std::count(ended_.begin(), ended_.end(), true);
        progress(cut(std::to_string(done) + " of " + std::to_string(results_.size()) + ", running " + names,
                     terminal_.width() - 1));
    }

    const RunCommand& command_;
    const Terminal& terminal_;
    std::vector<ScenarioResult> results_;
    std::vector<bool> ended_;
    std::map<pid_t, Running> running_;
    std::size_t started_ = 0, shown_ = 0;
};

std::string closing(const std::vector<ScenarioResult>& results, const Terminal& terminal) {
    const auto bad = static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(), [](const auto& result) { return !result.passed(); }));
    const std::string all = std::to_string(results.size()) + " scenarios";
    if (bad == 0) return "\n" + terminal.green("✓ everything as expected") + ": " + all + "\n";
    return "\n" + terminal.red("✗ " + std::to_string(bad) + " of " + all + " failed") + "\n";
}

int codeOf(const std::vector<ScenarioResult>& results) {
    int code = kHeld;
    for (const ScenarioResult& result : results)
        code = std::max(code, result.passed() ? kHeld : result.isBadInput ? kBadInput : kNotHeld);
    return code;
}

}  // namespace

int runSeveral(const RunCommand& command) {
    const Terminal terminal = Terminal::of(stdout);
    static_cast<void>(painted("0", ""));  // the processes paint with the mark of this one
    std::fflush(nullptr);
    const auto results = Runs(command, terminal).all();
    progress("");
    if (!command.quiet) print(closing(results, terminal));
    if (!command.junitFile.empty()) writeFile(command.junitFile, junitReport(results));
    return codeOf(results);
}

}  // namespace vorn_onu
