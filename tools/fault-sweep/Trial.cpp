#include "Trial.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <set>
#include <sstream>

#include "RuleAgreement.h"
#include "Stays.h"
#include "TakeDown.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"

namespace fault_sweep {

namespace {

using virtual_onu::VirtualOnu;
using Lines = std::vector<std::string>;

// Long enough for the sender to wait already: an answer that comes before the wait is lost, and costs a second.
constexpr int kGatewayDelayMs = 10;

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

long openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

Lines sortedLines(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    return lines;
}

Lines without(const Lines& all, const Lines& taken) {
    Lines rest;
    std::set_difference(all.begin(), all.end(), taken.begin(), taken.end(), std::back_inserter(rest));
    return rest;
}

class Trial {
public:
    Trial(const Subject& subject, Findings& findings)
        : subject_(subject),
          findings_(findings),
          onu_(VirtualOnu::instance()),
          context_{onu_, *HALFactory::getInstance()->CreateHALObject(0), {}} {}

    void run(std::uint64_t call, int code) {
        call_ = call;
        onu_.reset();
        newBoard_ = sortedLines(onu_.stateText());
        const long descriptors = openDescriptors();
        if (call != 0) {
            onu_.failCall(call, code);
            onu_.onTrace([this, call](const virtual_onu::TraceEntry& entry) {
                if (failedCall_.empty() && onu_.callCount() >= call) failedCall_ = entry.text();
            });
        }
        Lines states = runScenario();
        onu_.onTrace(nullptr);
        findings_.failedCall = failedCall_;
        findings_.calls = onu_.callCount();
        findings_.hit = call == 0 || onu_.callCount() >= call;
        onu_.clearFaults();
        checkAgreement("after the run");
        takeDown("taken down");
        again_ = true;
        Lines statesAgain = runScenario();
        if (call == 0)
            compareStates(states, statesAgain, statesAgain);
        else
            compareStates(subject_.freshStates, subject_.usedStates, statesAgain);
        takeDown("taken down again");
        if (onu_.openDescriptors() != 0) problem("a device file was left open");
        // The HAL's threads keep theirs, and may be reading a file just now.
        if (!threads_ && openDescriptors() > descriptors) problem("a descriptor was left open");
        if (call != 0) return;
        findings_.freshStates = std::move(states);
        findings_.usedStates = std::move(statesAgain);
    }

private:
    void problem(const std::string& text) { findings_.problems.push_back(text); }

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
        watchDevices();
    }

    void watchDevices() {
        std::set<std::string> now;
        for (const auto& device : onu_.devices()) now.insert(device.name);
        for (const auto& name : everSeen_)
            if (now.count(name) == 0) everRemoved_.insert(name);
        everSeen_.insert(now.begin(), now.end());
    }

    Lines runScenario() {
        Lines states;
        onu_.setGateway(virtual_onu::GatewayMode::Answers, kGatewayDelayMs);
        for (const auto& step : subject_.scenario.steps) {
            runStep(step);
            states.push_back(onu_.stateText());
        }
        return states;
    }

    void checkAgreement(const std::string& when) {
        const Refusals refusals = Refusals::of(onu_.traceTexts(virtual_onu::CallKind::Platform));
        const RuleAgreement agreement = compareRules(everSeen_, call_ == 0 ? kAllPhyIds : kUsualPhyIds);
        for (const auto& rule : agreement.onlyOnDevice) {
            if (refusals.refused(rule))
                ++findings_.accepted["rule whose removal the device refused"];
            else
                problem(when + ": rule only on the device: " + rule.text());
        }
        for (const auto& rule : agreement.onlyInMap) {
            if (!onu_.deviceExists(rule.device) || everRemoved_.count(rule.device) != 0)
                ++findings_.accepted["record of a rule whose device was deleted before its rules"];
            else if (maybeRecordedTwice(rule, failedCall_))
                ++findings_.accepted["rule of the VEIP that the device refused, recorded under another's id"];
            else
                problem(when + ": rule only in the map: " + rule.text());
        }
    }

    void takeDown(const std::string& when) {
        for (const auto& step : subject_.takeDown.steps)
            if (isDue(step)) step.run(context_);
        watchDevices();
        if (threads_) settle(onu_);
        checkAgreement(when);
        const Refusals refusals = Refusals::of(onu_.traceTexts(virtual_onu::CallKind::Platform));
        const Lines now = sortedLines(onu_.stateText());
        leftOvers_ = without(now, newBoard_);
        for (const auto& line : leftOvers_) explain(when + ", stays: ", line, refusals);
    }

    // At every step what a new board has there, and no more than that and what was left over. Where new and used boards
    // differ without a fault (the default bridge comes with the first call), either will do.
    void compareStates(const Lines& fresh, const Lines& used, const Lines& again) {
        const Refusals refusals = Refusals::of(onu_.traceTexts(virtual_onu::CallKind::Platform));
        for (std::size_t step = 0; step < again.size(); ++step) {
            const Lines one = sortedLines(fresh[step]), other = sortedLines(used[step]),
                        have = sortedLines(again[step]);
            const std::string where = "provisioned again, step " + std::to_string(step + 1);
            for (const auto& line : without(without(one, without(one, other)), have))
                explain(where + ", missing: ", line, refusals);
            for (const auto& line : without(without(without(have, one), other), leftOvers_))
                explain(where + ", too much: ", line, refusals);
        }
    }

    void explain(const std::string& where, const std::string& line, const Refusals& refusals) {
        if (const auto why = whyItDiffers(line, failedCall_, refusals))
            ++findings_.accepted[*why];
        else
            problem(where + line);
    }

    const Subject& subject_;
    Findings& findings_;
    VirtualOnu& onu_;
    vorn_onu::RunContext context_;
    std::uint64_t call_ = 0;
    std::string failedCall_;
    std::set<std::string> everSeen_;  // names of devices
    std::set<std::string> everRemoved_;
    Lines newBoard_;
    Lines leftOvers_;
    bool threads_ = false;
    bool again_ = false;
};

}  // namespace

Findings runTrial(const Subject& subject, std::uint64_t call, int code) {
    Findings findings;
    Trial(subject, findings).run(call, code);
    return findings;
}

}  // namespace fault_sweep
