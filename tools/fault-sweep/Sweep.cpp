#include "Sweep.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "TakeDown.h"

// Present when the address sanitizer is.
extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check();  // NOLINT(bugprone-reserved-identifier)

namespace fault_sweep {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

constexpr int kLeaked = 97;

// A directory for what children leave, gone with the object.
class WorkDirectory {
public:
    WorkDirectory() : path_((fs::temp_directory_path() / "vorn-fault-sweep.XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error(path_ + " cannot be made");
        setenv("TMPDIR", path_.c_str(), 1);  // the virtual ONU's private directories
    }
    ~WorkDirectory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    WorkDirectory(const WorkDirectory&) = delete;
    WorkDirectory& operator=(const WorkDirectory&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

struct Child {
    pid_t pid;
    std::uint64_t call;
    int answer;  // descriptors of the child's answer and of its error stream
    int errors;
};

json toJson(const Findings& findings) {
    return {{"calls", findings.calls},       {"hit", findings.hit},           {"problems", findings.problems},
            {"accepted", findings.accepted}, {"fresh", findings.freshStates}, {"used", findings.usedStates},
            {"failed", findings.failedCall}};
}

std::string contentOf(int descriptor) {
    std::string text;
    char block[4096];
    lseek(descriptor, 0, SEEK_SET);
    for (ssize_t got = 0; (got = read(descriptor, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(got));
    return text;
}

[[noreturn]] void runChild(const Subject& subject, std::uint64_t call, const SweepOptions& options, int answer,
                           int errors) {
    alarm(options.timeoutSeconds);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);  // what the HAL prints
    dup2(errors, STDERR_FILENO);
    const std::string text = toJson(runTrial(subject, call, options.code)).dump();
    const bool written = write(answer, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0) _exit(kLeaked);
    if (options.leaveByExit) std::exit(written ? 0 : 1);
    _exit(written ? 0 : 1);  // the HAL's threads must not meet destroyed maps
}

Child start(const Subject& subject, std::uint64_t call, const SweepOptions& options) {
    Child child{-1, call, memfd_create("answer", MFD_CLOEXEC), memfd_create("errors", MFD_CLOEXEC)};
    std::fflush(nullptr);
    child.pid = fork();
    if (child.pid == 0) runChild(subject, call, options, child.answer, child.errors);
    if (child.pid < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    return child;
}

std::string endOf(int status) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) return "hangs";
    if (WIFSIGNALED(status)) return std::string("ended by signal ") + strsignal(WTERMSIG(status));
    if (WEXITSTATUS(status) == kLeaked) return "leaks memory";
    return "ended with exit code " + std::to_string(WEXITSTATUS(status));
}

// The answer of a child that has ended; an end that is no clean exit is a problem of its own.
Findings finish(const Child& child, int status) {
    Findings findings;
    const json answer = json::parse(contentOf(child.answer), nullptr, false);
    if (!answer.is_discarded()) {
        findings.calls = answer["calls"];
        findings.hit = answer["hit"];
        findings.failedCall = answer["failed"];
        findings.problems = answer["problems"].get<std::vector<std::string>>();
        findings.accepted = answer["accepted"].get<std::map<std::string, unsigned>>();
        findings.freshStates = answer["fresh"].get<std::vector<std::string>>();
        findings.usedStates = answer["used"].get<std::vector<std::string>>();
    }
    if (status != 0) {
        findings.hit = true;
        findings.problems.push_back(endOf(status));
        std::printf("\n  call %llu: %s\n%s\n", static_cast<unsigned long long>(child.call), endOf(status).c_str(),
                    contentOf(child.errors).c_str());
    }
    close(child.answer);
    close(child.errors);
    return findings;
}

class Progress {
public:
    Progress(const std::string& name, std::uint64_t all) : name_(name), all_(all) {}
    void show(std::uint64_t done) const {
        if (isatty(STDOUT_FILENO) == 0 || done % kStep != 0) return;
        std::printf("\r  %-36s %6llu of %llu", name_.c_str(), static_cast<unsigned long long>(done),
                    static_cast<unsigned long long>(all_));
        std::fflush(stdout);
    }

private:
    static constexpr std::uint64_t kStep = 16;
    std::string name_;
    std::uint64_t all_;
};

class SubjectSweep {
public:
    SubjectSweep(const Subject& subject, const SweepOptions& options, Summary& summary)
        : subject_(subject), options_(options), summary_(summary), name_(fs::path(subject.file).filename().string()) {}

    void run() {
        std::deque<std::uint64_t> calls;
        for (std::uint64_t call = options_.only != 0 ? options_.only : 1; call <= subject_.calls;
             call += options_.only != 0 ? subject_.calls : options_.every)
            calls.push_back(call);
        const Progress progress(name_, calls.size());
        const auto before = summary_;
        while (!calls.empty() || !running_.empty()) {
            while (!calls.empty() && running_.size() < options_.jobs) {
                const std::uint64_t call = calls.front();
                calls.pop_front();
                Child child = start(subject_, call, options_);
                running_.emplace(child.pid, child);
            }
            waitForOne();
            progress.show(summary_.runs - before.runs);
        }
        std::printf("\r  %-36s %6llu runs, %6llu faults hit, %3llu exceptions\n", name_.c_str(),
                    static_cast<unsigned long long>(summary_.runs - before.runs),
                    static_cast<unsigned long long>(summary_.hits - before.hits),
                    static_cast<unsigned long long>(summary_.exceptions - before.exceptions));
        std::fflush(stdout);
    }

    void record(std::uint64_t call, const Findings& findings) {
        ++summary_.runs;
        if (findings.hit && call != 0) ++summary_.hits;
        if (!findings.problems.empty()) ++summary_.exceptions;
        for (const auto& [why, count] : findings.accepted) summary_.accepted[why] += count;
        for (const auto& text : findings.problems) {
            ++summary_.problems[text];
            summary_.example.emplace(text, name_ + " --only " + std::to_string(call) + ": " + findings.failedCall);
        }
    }

private:
    void waitForOne() {
        int status = 0;
        const pid_t pid = waitpid(-1, &status, 0);
        const auto child = running_.find(pid);
        if (child == running_.end()) return;
        record(child->second.call, finish(child->second, status));
        running_.erase(child);
    }

    const Subject& subject_;
    const SweepOptions& options_;
    Summary& summary_;
    std::string name_;
    std::map<pid_t, Child> running_;
};

// The run without a fault: it must leave nothing to be explained away, and says how many calls there are.
void runWithoutFault(Subject& subject, const SweepOptions& options, SubjectSweep& sweep) {
    const Child child = start(subject, 0, options);
    int status = 0;
    waitpid(child.pid, &status, 0);
    const Findings findings = finish(child, status);
    sweep.record(0, findings);
    subject.calls = findings.calls;
    subject.freshStates = findings.freshStates;
    subject.usedStates = findings.usedStates;
}

}  // namespace

Summary sweep(const SweepOptions& options) {
    Summary summary;
    const WorkDirectory work;
    for (const auto& file : options.files) {
        Subject subject{file, vorn_onu::loadScenario(file), takeDownOf(file, work.path()), 0, {}, {}};
        SubjectSweep one(subject, options, summary);
        runWithoutFault(subject, options, one);
        one.run();
    }
    return summary;
}

}  // namespace fault_sweep
