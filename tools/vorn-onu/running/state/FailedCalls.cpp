#include "running/state/FailedCalls.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <map>
#include <tuple>

#include "running/io/Words.h"

namespace vorn_onu {

namespace {

struct Cause {
    const char* function;  // the name, or what it begins with
    int code;
    const char* words;
};

// The first row that fits is taken.
constexpr Cause kCauses[] = {
    {"vlanCtl_deleteTagRule", ENOENT, "there is no such rule"},
    {"vlanCtl_", EPERM, "vlanCtl_init has not been called"},
    {"vlanCtl_", ENODEV, "a device that it names is not there"},
    {"vlanCtl_", EEXIST, "the device is there already"},
    {"vlanCtl_", EINVAL, "a number of tags, a direction, a position or a device is out of range"},
    {"gponCtl_configTcontAllocId", EINVAL, "there is no T-CONT with this index"},
    {"gponCtl_deconfigTcontAllocId", ENOENT, "the T-CONT has no alloc-id"},
    {"gponCtl_configGemPort", ENOSPC, "every GEM index is taken"},
    {"gponCtl_configGemPort", EBUSY, "another GEM port has this index"},
    {"gponCtl_configGemPort", EINVAL, "there is no such GEM index"},
    {"gponCtl_", ENOENT, "there is no such GEM port"},
    {"tmctl_", ENODEV, "the T-CONT has no queues: tmctl_portTmInit has not been called for it"},
    {"tmctl_", ENOENT, "the T-CONT has no such queue"},
    {"tmctl_", EINVAL, "a T-CONT, a queue or a way of scheduling is out of range"},
    {"devCtl_getImageVersion", ENOENT, "there is no such software image"},
    {"bcm_", ENODEV, "there is no PHY at this port"},
    {"cmsMsg_", EINVAL, "the handle of the message bus is not open"},
    {"cmsMsg_", EMSGSIZE, "the message is too long"},
};

std::string causeByCode(const FailedCall& call) {
    for (const Cause& one : kCauses)
        if (call.code == one.code && call.name.rfind(one.function, 0) == 0) return one.words;
    return "";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The first text among the arguments: the device that the call is about.
std::string firstText(const std::string& arguments) {
    const auto open = arguments.find('"');
    if (open == std::string::npos) return "";
    return arguments.substr(open + 1, arguments.find('"', open + 1) - open - 1);
}

// Whether the step has asked for this failure.
bool asksFor(const RunStep& step, const FailedCall& call) {
    if (step.kind == "fault") {
        if (!endsWith(step.words, " with " + std::to_string(call.code))) return false;
        return contains(step.words, " of " + call.name + " ") || contains(step.words, " of " + call.name + ":") ||
               contains(step.words, "call number ");
    }
    const std::string device = firstText(call.arguments);
    return step.kind == "board" && call.name == "vlanCtl_deleteVlanInterface" && !device.empty() &&
           contains(step.words, "refuseDeletion") && contains(step.words, device + " ");
}

// The number and what it is called; a code that no error of the system has is alone.
std::string codeWords(long code) {
    const std::string number = std::to_string(code);
    if (code <= 0 || code > 4095) return number;
    const char* name = strerrorname_np(static_cast<int>(code));
    if (name == nullptr) return number;
    std::string words = strerrordesc_np(static_cast<int>(code));
    if (!words.empty()) words[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(words[0])));
    return number + " (" + name + ", " + words + ")";
}

// Calls that failed alike.
struct Group {
    const FailedCall* first;
    std::size_t times = 0;
    bool otherNumbers = false;  // in the arguments of some of them
};

std::string timesWords(const Group& group) {
    if (group.times < 2) return "";
    const std::string times = group.times == 2 ? ", twice" : ", " + std::to_string(group.times) + " times";
    return times + (group.otherNumbers ? " with different numbers" : "");
}

// The step in which the call was made, or null.
const RunStep* stepOf(const FailedCall& call, const std::vector<RunStep>& steps) {
    const auto found = std::partition_point(steps.begin(), steps.end(),
                                            [&](const RunStep& step) { return step.lastTraceEntry < call.number; });
    return found == steps.end() ? nullptr : &*found;
}

FailedCallWords wordsOf(const Group& group, const std::vector<RunStep>& steps) {
    const FailedCall& call = *group.first;
    FailedCallWords words;
    words.call = call.name + "(" + call.arguments + ")";
    const RunStep* step = stepOf(call, steps);
    if (step != nullptr) {
        words.inStep = step->number;
        words.step = "in step " + std::to_string(step->number) + (step->name.empty() ? "" : ", " + step->name);
    }
    const auto asked = std::find_if(steps.rbegin(), steps.rend(), [&](const RunStep& one) {
        return (step == nullptr || one.number < step->number) && asksFor(one, call);
    });
    // The number of a failure that was asked for is the author's, and means nothing else.
    if (asked != steps.rend()) {
        words.answer = "answered " + std::to_string(call.code) + timesWords(group);
        const std::string number = "step " + std::to_string(asked->number);
        words.cause =
            asked->kind == "fault" ? "the fault of " + number + " asks for it" : number + " makes the board refuse it";
        return words;
    }
    words.answer = "answered " + codeWords(call.code) + timesWords(group);
    words.cause = causeByCode(call);
    return words;
}

}  // namespace

std::string FailedCallWords::sentence() const {
    return call + " " + answer + (step.empty() ? "" : ", " + step) + (cause.empty() ? "" : ": " + cause);
}

std::vector<FailedCallWords> failedCallWords(const std::vector<FailedCall>& calls, const std::vector<RunStep>& steps) {
    using Key = std::tuple<std::string, std::string, long, const RunStep*>;
    std::vector<Group> groups;
    std::map<Key, std::size_t> places;
    for (const FailedCall& call : calls) {
        const auto [place, isNew] = places.emplace(
            Key{call.name, withoutNumbers(call.arguments), call.code, stepOf(call, steps)}, groups.size());
        if (isNew) groups.push_back({&call});
        Group& group = groups[place->second];
        ++group.times;
        group.otherNumbers = group.otherNumbers || call.arguments != group.first->arguments;
    }
    std::vector<FailedCallWords> all;
    for (const Group& group : groups) all.push_back(wordsOf(group, steps));
    return all;
}

}  // namespace vorn_onu
