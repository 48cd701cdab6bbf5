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

#include "Stays.h"
#include "TakeDown.h"
#include "running/io/WorkDirectory.h"
#include "support/FileContent.h"

// Present when the address sanitizer is.
extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check();  // NOLINT(bugprone-reserved-identifier)

namespace fault_sweep {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Measure, calls, freshStates, usedStates, leftOvers, lost, leavesLeftOut)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Findings, hit, endOfOperation, failedCalls, problems, accepted, measure)

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

constexpr int kLeaked = 97;
constexpr unsigned kTimeoutSeconds = 60;  // after which a run hangs
constexpr std::size_t kJobs = 8;          // more than processors: services with a gateway spend their time waiting

struct Child {
    pid_t pid;
    FaultPlan plan;
    int answer;  // descriptors of the child's answer and of its error stream
    int errors;
};

[[noreturn]] void runChild(const Subject& subject, const FaultPlan& plan, const SweepOptions& options, int answer,
                           int errors) {
    alarm(kTimeoutSeconds);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);  // what the HAL prints
    dup2(errors, STDERR_FILENO);
    std::string stateFile;
    if (options.keepsState)
        stateFile = (fs::temp_directory_path() / ("hal.state." + std::to_string(getpid()))).string();
    const std::string text = json(runTrial(subject, plan, stateFile)).dump();
    if (!stateFile.empty()) unlink(stateFile.c_str());
    const bool written = write(answer, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0) _exit(kLeaked);
    if (options.leaveByExit) std::exit(written ? 0 : 1);
    _exit(written ? 0 : 1);  // the HAL's threads must not meet destroyed maps
}

Child start(const Subject& subject, const FaultPlan& plan, const SweepOptions& options) {
    Child child{-1, plan, memfd_create("answer", MFD_CLOEXEC), memfd_create("errors", MFD_CLOEXEC)};
    std::fflush(nullptr);
    child.pid = fork();
    if (child.pid == 0) runChild(subject, plan, options, child.answer, child.errors);
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
    if (!answer.is_discarded()) answer.get_to(findings);
    if (status != 0) {
        findings.hit = true;
        findings.problems.push_back(endOf(status));
        std::printf("\n  call %s: %s\n%s\n", child.plan.text().c_str(), endOf(status).c_str(),
                    contentOf(child.errors).c_str());
    }
    close(child.answer);
    close(child.errors);
    return findings;
}

class SubjectSweep {
public:
    SubjectSweep(Subject& subject, const SweepOptions& options, Summary& summary)
        : subject_(subject), options_(options), summary_(summary), name_(fs::path(subject.file).filename().string()) {}

    // Without a fault: it must leave nothing that the contract does not leave, and is what the others are held to.
    void measure() {
        const FaultPlan none;
        const Child child = start(subject_, none, options_);
        int status = 0;
        waitpid(child.pid, &status, 0);
        const Findings findings = finish(child, status);
        record(none, findings);
        subject_.measure = findings.measure;
    }

    void run() {
        if (options_.only) {
            runAll({*options_.only}, "");
            return;
        }
        runAll(thinned(singles(false), options_.every), "");
        if (options_.pairs != 0) runAll(thinned(pairs(), options_.pairs), ", pairs");
        if (options_.onwards != 0) runAll(thinned(singles(true), options_.onwards), ", all from one on");
    }

private:
    std::deque<FaultPlan> singles(bool onwards) const {
        std::deque<FaultPlan> plans;
        for (std::uint64_t call = 1; call <= subject_.measure.calls; ++call) plans.push_back({{call}, onwards});
        return plans;
    }

    // A second call of the operation in which the first one fails: what it does then is known from the run in which
    // only the first one failed.
    std::deque<FaultPlan> pairs() const {
        std::deque<FaultPlan> plans;
        for (const auto& [first, end] : endOfOperation_)
            for (std::uint64_t second = first + 1; second <= end; ++second) plans.push_back({{first, second}, false});
        return plans;
    }

    // Each so many of the plans; fewer when that were too many for one scenario. The steps are odd then: what is done
    // again on one bridge after another takes an even number of calls as likely as not.
    std::deque<FaultPlan> thinned(std::deque<FaultPlan> plans, std::size_t each) const {
        if (options_.most != 0 && plans.size() > each * options_.most)
            each = ((plans.size() + options_.most - 1) / options_.most) | 1U;
        std::deque<FaultPlan> some;
        for (std::size_t at = 0; at < plans.size(); at += each) some.push_back(std::move(plans[at]));
        return some;
    }

    void runAll(std::deque<FaultPlan> plans, const std::string& kind) {
        const auto before = summary_;
        while (!plans.empty() || !running_.empty()) {
            while (!plans.empty() && running_.size() < kJobs) {
                Child child = start(subject_, plans.front(), options_);
                plans.pop_front();
                running_.emplace(child.pid, std::move(child));
            }
            waitForOne();
        }
        std::printf("  %-42s %6llu runs, %6llu hit, %3llu exceptions\n", (name_ + kind).c_str(),
                    static_cast<unsigned long long>(summary_.runs - before.runs),
                    static_cast<unsigned long long>(summary_.hits - before.hits),
                    static_cast<unsigned long long>(summary_.exceptions - before.exceptions));
        std::fflush(stdout);
    }

    void record(const FaultPlan& plan, const Findings& findings) {
        ++summary_.runs;
        if (findings.hit && !plan.none()) ++summary_.hits;
        if (!findings.problems.empty()) ++summary_.exceptions;
        for (const auto& [why, count] : findings.accepted) summary_.accepted[why] += count;
        for (const auto& text : findings.problems) {
            ++summary_.problems[text];
            summary_.example.emplace(text, name_ + (plan.none() ? "" : " --only " + plan.text()) + ": " +
                                               (plan.none() ? "no call fails" : findings.failedCalls));
        }
        if (plan.calls.size() == 1 && !plan.onwards) endOfOperation_[plan.calls[0]] = findings.endOfOperation;
    }

    void waitForOne() {
        int status = 0;
        const pid_t pid = waitpid(-1, &status, 0);
        const auto child = running_.find(pid);
        if (child == running_.end()) return;
        record(child->second.plan, finish(child->second, status));
        running_.erase(child);
    }

    Subject& subject_;
    const SweepOptions& options_;
    Summary& summary_;
    std::string name_;
    std::map<pid_t, Child> running_;
    std::map<std::uint64_t, std::uint64_t> endOfOperation_;  // with this call failing
};

}  // namespace

Summary sweep(const SweepOptions& options) {
    Summary summary;
    const vorn_onu::WorkDirectory work("vorn-fault-sweep");
    setenv("TMPDIR", work.path().c_str(), 1);  // the virtual ONU's private directories
    compileStays();
    for (const auto& file : options.files) {
        Subject subject{file, vorn_onu::loadScenario(file), takeDownOf(file, work.path()), {}};
        SubjectSweep one(subject, options, summary);
        one.measure();
        one.run();
    }
    return summary;
}

}  // namespace fault_sweep
