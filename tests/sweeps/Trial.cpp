#include "Trial.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <iterator>
#include <mutex>
#include <set>
#include <sstream>

#include "Leaving.h"
#include "ProcessUsage.h"
#include "RuleAgreement.h"
#include "Stays.h"
#include "TakeDown.h"
#include "hal/HALFactory.h"
#include "hal/HalState.h"
#include "hal/VornHal.h"

namespace fault_sweep {

namespace {

using virtual_onu::VirtualOnu;
using Lines = std::vector<std::string>;

// Long enough for the sender to wait already: an answer that comes before the wait is lost, and costs a second.
constexpr int kGatewayDelayMs = 10;
constexpr int kFailure = 5;  // a failing call's result, or errno (EIO)

// In real time: the sleep functions of the C library belong to the virtual ONU's clock.
void pause(std::chrono::milliseconds length) {
    std::mutex mutex;
    std::condition_variable never;
    std::unique_lock<std::mutex> lock(mutex);
    never.wait_for(lock, length);
}

// The HAL's own threads (listener, link monitor) come to rest, or have had time enough.
void settle(const VirtualOnu& onu) {
    constexpr std::chrono::milliseconds kLook{2};
    constexpr int kLooks = 25;
    std::uint64_t before = onu.callCount();
    for (int look = 0; look < kLooks; ++look) {
        pause(kLook);
        const std::uint64_t now = onu.callCount();
        if (now == before) return;
        before = now;
    }
}

// "bridge br3 up stp off forward-delay 0 ports sid0.3" is three lines: what differs has a reason of its own each.
void addBridge(const std::string& line, Lines& lines) {
    std::istringstream words(line);
    std::string kind, name, state, word, settings;
    words >> kind >> name >> state;
    lines.push_back(kind + ' ' + name + ' ' + state);
    while (words >> word && word != "ports") settings += ' ' + word;
    lines.push_back(kind + ' ' + name + settings);
    while (words >> word) lines.push_back(kind + ' ' + name + " port " + word);
}

Lines sortedLines(const std::string& stateText) {
    Lines lines;
    std::istringstream stream(stateText);
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("bridge ", 0) == 0)
            addBridge(line, lines);
        else
            lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

Lines without(const Lines& all, const Lines& taken) {
    Lines rest;
    std::set_difference(all.begin(), all.end(), taken.begin(), taken.end(), std::back_inserter(rest));
    return rest;
}

// The calls that a fault has decided, each once.
Lines injectedCalls(const VirtualOnu& onu) {
    Lines calls;
    std::set<std::string> seen;
    for (const auto& entry : onu.trace())
        if (entry.injected && seen.insert(entry.text()).second) calls.push_back(entry.text());
    return calls;
}

std::string shortList(const Lines& calls) {
    constexpr std::size_t kShown = 2;
    std::string text;
    for (std::size_t n = 0; n < calls.size() && n < kShown; ++n) text += (n == 0 ? "" : ", ") + calls[n];
    return calls.size() > kShown ? text + ", ... (" + std::to_string(calls.size()) + ")" : text;
}

constexpr const char* kRefusedRule = "rule whose removal the device refused";

// Two lines of the state text that tell of rules of one table.
bool sameTable(const std::string& one, const std::string& other) {
    const auto end = one.find(':');
    return end != std::string::npos && other.compare(0, end + 1, one, 0, end + 1) == 0;
}

class Trial {
public:
    Trial(const Subject& subject, const FaultPlan& plan, Findings& findings)
        : subject_(subject),
          plan_(plan),
          findings_(findings),
          onu_(VirtualOnu::instance()),
          context_{onu_, HALFactory::getInstance()->CreateHALObject(0), {}} {}

    void run(const std::string& stateFile) {
        for (const auto& step : subject_.scenario.steps) now_.operations.insert(step.name);
        onu_.reset();
        newBoard_ = sortedLines(onu_.stateText());
        planFaults();
        keepState(stateFile);
        const long descriptors = openDescriptors();
        Lines states = runScenario();
        const std::uint64_t calls = onu_.callCount();
        findings_.hit = plan_.none() || calls >= plan_.calls.back();
        onu_.clearFaults();
        now_.failedCalls = injectedCalls(onu_);
        findings_.failedCalls = shortList(now_.failedCalls);
        if (findings_.hit && !plan_.none() && now_.failedCalls.empty()) problem("the failing call is not in the trace");
        checkAgreement("after the run");
        takeDown("taken down");
        checkLeftOvers();
        again_ = true;
        Lines statesAgain = runScenario();
        comparesAgain_ = true;
        if (plan_.none())
            compareStates(states, states, statesAgain);
        else
            compareStates(subject_.measure.freshStates, subject_.measure.usedStates, statesAgain);
        comparesAgain_ = false;
        takeDown("taken down again");
        checkLeaves();
        if (onu_.openDescriptors() != 0) problem("a device file was left open");
        // The HAL's threads keep theirs, and may be reading a file just now.
        if (!threads_ && openDescriptors() > descriptors) problem("a descriptor was left open");
        if (!plan_.none()) return;
        findings_.measure = {calls, std::move(states), std::move(statesAgain), leftOvers_, lost_, leavesLeftOut_};
    }

private:
    void problem(const std::string& text) { findings_.problems.push_back(text); }

    void keepState(const std::string& file) {
        if (file.empty()) return;
        // Without the kernel's boot id there is no state file.
        if (vorn_hal_state_open(file.c_str()) != 0 && plan_.none()) problem("the state file does not open");
    }

    void planFaults() {
        for (const auto call : plan_.calls) onu_.failCall(call, kFailure);
        if (!plan_.onwards) return;
        // A run whose calls fail may make more of them than one without a fault.
        const std::uint64_t last = 2 * subject_.measure.calls + kMoreCalls;
        for (std::uint64_t call = plan_.calls.back(); call <= last; ++call) onu_.failCall(call, kFailure);
    }

    void runStep(const vorn_onu::Step& step) {
        // Expectations speak of a run without faults; they also may wait for what will never come.
        if (step.kind == "expect" || step.kind == "show" || step.kind == "note") return;
        if (startsThread(step)) threads_ = true;
        if (again_ && startsThread(step)) return;  // a daemon does it once in its life
        try {
            step.run(context_);
        } catch (const std::exception& error) {
            if (!again_) return;  // a frame into a port that could not be made
            problem(std::string("step ") + std::to_string(step.number) + ": " + error.what());
        }
        if (threads_) settle(onu_);
        const std::uint64_t calls = onu_.callCount();
        if (!plan_.none() && findings_.endOfOperation == 0 && calls >= plan_.calls.front())
            findings_.endOfOperation = calls;
    }

    // The state as text, which is made again only when a step can have changed it: frames, and expectations, which are
    // most of many scenarios, call nothing on the device.
    const std::string& stateAfter(const vorn_onu::Step& step) {
        const std::uint64_t calls = onu_.callCount();
        if (state_.empty() || calls != callsOfState_ || step.kind == "board") {
            callsOfState_ = calls;
            state_ = onu_.stateText();
            watchDevices(state_);
        }
        return state_;
    }

    // The devices of a state's text.
    void watchDevices(const std::string& state) {
        std::set<std::string> now;
        std::istringstream lines(state);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string kind, name;
            words >> kind >> name;
            if (kind == "device" || kind == "bridge") now.insert(name);
        }
        for (const auto& name : everSeen_)
            if (now.count(name) == 0) everRemoved_.insert(name);
        everSeen_.insert(now.begin(), now.end());
    }

    Lines runScenario() {
        Lines states;
        onu_.setGateway(virtual_onu::GatewayMode::Answers, kGatewayDelayMs);
        state_.clear();
        for (const auto& step : subject_.scenario.steps) {
            runStep(step);
            states.push_back(stateAfter(step));
        }
        return states;
    }

    void checkAgreement(const std::string& when) {
        refusals_ = Refusals::of(onu_.traceTexts(virtual_onu::CallKind::Platform));
        const RuleAgreement agreement = compareRules();
        for (const auto& rule : agreement.onlyOnDevice) {
            if (refusals_.refused(rule))
                ++findings_.accepted[kRefusedRule];
            else
                checkUnrecorded(when, rule);
        }
        for (const auto& rule : agreement.onlyInMap) {
            if (maybeRecordedTwice(rule, now_.failedCalls))
                ++findings_.accepted["rule of the VEIP that the device refused, recorded under another's id"];
            else
                checkRecord(when, rule);
        }
    }

    void checkUnrecorded(const std::string& when, const RulePlace& rule) {
        const auto why = whyItDiffers("unrecorded " + rule.table(), now_, false);
        if (why)
            ++findings_.accepted[*why];
        else
            problem(when + ": rule only on the device: " + rule.text());
    }

    // A record without its rule: the rules go with their device, their records do not.
    void checkRecord(const std::string& when, const RulePlace& rule) {
        const std::string line = "record " + rule.table();
        auto why = whyItRemains(line, now_, false);
        if (!why && !plan_.none()) why = whyItDiffers(line, now_, false);
        if (why && everRemoved_.count(rule.device) != 0)
            ++findings_.accepted[*why];
        else
            problem(when + ": rule only in the map: " + rule.text());
    }

    void takeDown(const std::string& when) {
        for (const auto& step : subject_.takeDown.steps)
            if (isDue(step)) step.run(context_);
        if (threads_) settle(onu_);
        const std::string state = onu_.stateText();
        watchDevices(state);
        checkAgreement(when);
        const Lines now = sortedLines(state);
        leftOvers_ = without(now, newBoard_);
        lost_ = without(newBoard_, now);
    }

    // Without a fault: what the contract leaves. With faults: what a run without them leaves, and no difference
    // that the failed calls do not explain.
    void checkLeftOvers() {
        const Measure& usual = subject_.measure;
        for (const auto& line : without(leftOvers_, usual.leftOvers)) explain("taken down, stays: ", How::More, line);
        for (const auto& line : without(lost_, usual.lost)) explain("taken down, gone: ", How::Less, line);
        for (const auto& line : without(usual.leftOvers, leftOvers_))
            if (!mayBeLess(line)) explain("taken down, missing: ", How::Less, line);
        for (const auto& line : without(usual.lost, lost_)) explain("taken down, unchanged: ", How::More, line);
    }

    // At every step what a new board has there, and no more than that and what was left over. Where new and used boards
    // differ without a fault (the default bridge comes with the first call), either will do.
    void compareStates(const Lines& fresh, const Lines& used, const Lines& again) {
        for (std::size_t step = 0; step < again.size(); ++step) {
            if (again[step] == fresh[step] || again[step] == used[step]) continue;
            const Lines one = sortedLines(fresh[step]), other = sortedLines(used[step]),
                        have = sortedLines(again[step]);
            const std::string where = "provisioned again, step " + std::to_string(step + 1);
            for (const auto& line : without(without(one, without(one, other)), have))
                explain(where + ", missing: ", How::Less, line);
            for (const auto& line : without(without(without(have, one), other), leftOvers_))
                explain(where + ", too much: ", How::More, line);
        }
    }

    void checkLeaves() {
        leavesLeftOut_ = leavesLeftOut(onu_.traceTexts());
        for (const auto& line : without(leavesLeftOut_, subject_.measure.leavesLeftOut))
            explain("left out: ", How::Less, line);
    }

    // As many rules as the device has refused to remove from the table may be there, and no more.
    bool isRefusedRule(const std::string& line) {
        const std::size_t left = static_cast<std::size_t>(std::count_if(
            leftOvers_.begin(), leftOvers_.end(), [&](const std::string& other) { return sameTable(line, other); }));
        return line.rfind("rule ", 0) == 0 && left <= refusals_.countOf(line);
    }

    enum class How { More, Less };

    void explain(const std::string& where, How how, const std::string& line) {
        auto why = plan_.none() ? whyItRemains(line, now_, how == How::Less) : whyItDiffers(line, now_, comparesAgain_);
        if (!why && isRefusedRule(line)) why = kRefusedRule;
        if (why)
            ++findings_.accepted[*why];
        else
            problem(where + line);
    }

    static constexpr std::uint64_t kMoreCalls = 2000;

    const Subject& subject_;
    const FaultPlan& plan_;
    Findings& findings_;
    VirtualOnu& onu_;
    vorn_onu::RunContext context_;
    RunHistory now_;
    Refusals refusals_;
    std::set<std::string> everSeen_;  // names of devices
    std::set<std::string> everRemoved_;
    std::string state_;  // of the last step, and the calls at that time
    std::uint64_t callsOfState_ = 0;
    Lines newBoard_;
    Lines leftOvers_;
    Lines lost_;
    Lines leavesLeftOut_;
    bool threads_ = false;
    bool again_ = false;
    bool comparesAgain_ = false;
};

}  // namespace

Findings runTrial(const Subject& subject, const FaultPlan& plan, const std::string& stateFile) {
    Findings findings;
    Trial(subject, plan, findings).run(stateFile);
    return findings;
}

}  // namespace fault_sweep
