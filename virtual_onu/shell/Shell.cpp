#include "shell/Shell.h"

#include <regex.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <map>
#include <sstream>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "kernel/Network.h"
#include "kernel/Sysfs.h"
#include "real_libc/RealLibc.h"
#include "shell/Runner.h"
#include "shell/ShellText.h"

namespace virtual_onu::shell {
namespace {

constexpr int kFirstPid = 1001;
constexpr std::size_t kCommandsKept = 100000;

struct State {
    std::vector<ShellCommand> commands;
    std::map<int, std::string> processes;
    std::vector<int> killed;
    int nextPid = kFirstPid;
    std::map<std::FILE*, int> pipes;  // open streams of popen: wait status of their command
};

State& state() {
    static State& theState = *new State;
    return theState;
}

// ---- as sections of a board file ----

std::map<int, std::string>& processesInPlace() {
    return state().processes;
}

struct Processes : persistence::InMap<int, std::string, processesInPlace> {
    template <typename Record>
    static void fields(Record& record, std::string& command) {
        record.text("command", command);
    }
};

struct NextProcess : persistence::Single<int> {
    template <typename Record>
    static void fields(Record& record, int& process) {
        record.number("process", process, 1);
    }
    static int get() { return state().nextPid; }
    static void put(int process) { state().nextPid = process; }
};

struct Killed : persistence::Single<std::vector<int>> {
    template <typename Record>
    static void fields(Record& record, Thing& processes) {
        record.numbers("processes", processes);
    }
    static Thing get() { return state().killed; }
    static void put(Thing processes) { state().killed = std::move(processes); }
};

// Those of other processes come behind.
struct Commands : persistence::OfRun<ShellCommand> {
    template <typename Record>
    static void fields(Record& record, ShellCommand& command) {
        record.text("text", command.text);
        record.flag("understood", command.understood);
    }
    static std::optional<ShellCommand> get(std::uint64_t number) {
        if (number >= state().commands.size()) return std::nullopt;
        return state().commands[static_cast<std::size_t>(number)];
    }
    static void put(std::uint64_t /*number*/, ShellCommand command) { state().commands.push_back(std::move(command)); }
};

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<std::string> rest(const Call& call) {
    return {call.words.begin() + 1, call.words.end()};
}

// ---- tools without network ----

bool echo(Call& call) {
    const bool noLineEnd = call.words.size() > 1 && call.words[1] == "-n";
    call.output = joined({call.words.begin() + (noLineEnd ? 2 : 1), call.words.end()});
    if (!noLineEnd) call.output += "\n";
    return true;
}

bool cat(Call& call) {
    if (call.words.size() == 1) call.output = call.input;
    for (const auto& path : rest(call)) {
        if (!files::owns(path.c_str())) return false;
    }
    for (const auto& path : rest(call)) {
        const auto content = files::load(path);
        if (!content) call.status = 1;
        call.output += content.value_or("");
    }
    return true;
}

bool grep(Call& call) {
    if (call.words.size() != 2 || call.words[1].empty() || call.words[1][0] == '-') return false;
    regex_t expression;
    if (regcomp(&expression, call.words[1].c_str(), REG_NOSUB) != 0) {
        call.status = 2;
        return true;
    }
    std::istringstream lines(call.input);
    for (std::string line; std::getline(lines, line);) {
        if (regexec(&expression, line.c_str(), 0, nullptr, 0) == 0) call.output += line + "\n";
    }
    regfree(&expression);
    call.status = call.output.empty() ? 1 : 0;
    return true;
}

std::string processLine(int pid, const std::string& command) {
    char start[48];
    std::snprintf(start, sizeof start, "%5d root      1240 S    ", pid);
    return start + command + "\n";
}

// The device's processes, then those of the very pipeline that asks: "ps |grep x" finds itself.
bool ps(Call& call) {
    const DeviceAccess lock(deviceMutex());
    call.output = "  PID USER       VSZ STAT COMMAND\n";
    int last = kFirstPid - 1;
    for (const auto& [pid, command] : state().processes) {
        call.output += processLine(pid, command);
        last = std::max(last, pid);
    }
    for (const auto& command : call.pipeline) call.output += processLine(++last, command);
    return true;
}

bool kill(Call& call) {
    const DeviceAccess lock(deviceMutex());
    std::vector<std::string> words = rest(call);
    if (!words.empty() && words[0][0] == '-') words.erase(words.begin());
    if (words.empty()) call.status = 1;
    for (const auto& word : words) {
        char* end = nullptr;
        const long pid = std::strtol(word.c_str(), &end, 10);
        if (*end == '\0' && state().processes.erase(static_cast<int>(pid)) != 0) {
            state().killed.push_back(static_cast<int>(pid));
            persistence::changed(persistence::kProcesses, pid);
            persistence::changed(persistence::kRunKilled);
        } else {
            call.status = 1;
        }
    }
    return true;
}

// The DHCP client goes on in the background; without its device it ends at once.
bool dhcpc(Call& call) {
    const auto option = std::find(call.words.begin(), call.words.end(), "-i");
    if (option == call.words.end() || option + 1 == call.words.end()) return false;
    if (!network::exists(*(option + 1))) {
        call.status = 1;
        return true;
    }
    const DeviceAccess lock(deviceMutex());
    while (state().processes.count(state().nextPid) != 0) ++state().nextPid;
    persistence::changed(persistence::kProcesses, state().nextPid);
    persistence::changed(persistence::kNextProcess);
    state().processes[state().nextPid++] = joined(call.words);
    return true;
}

bool mcpctl(Call& call) {
    return call.words.size() == 2 && call.words[1] == "reload";
}
bool bs(Call& call) {
    return runner::runBs(rest(call));
}
bool iq(Call& call) {
    return runner::runIq(rest(call));
}

// ---- running ----

struct Outcome {
    bool understood = true;
    int status = 0;
    std::string output;
};

bool isNowhere(const std::string& target) {
    return target == "/dev/null" || target[0] == '&';
}

// Redirections to anything but the device's own files are not understood: the host's files are out of bounds.
bool acceptable(const Command& command) {
    return std::all_of(command.redirections.begin(), command.redirections.end(), [](const Redirection& redirection) {
        return isNowhere(redirection.target) || files::owns(redirection.target.c_str()) ||
               (network::hostKernel() && sysfs::owns(redirection.target));
    });
}

void redirectInput(const Command& command, Call& call) {
    for (const auto& redirection : command.redirections) {
        if (redirection.input) call.input = files::load(redirection.target).value_or("");
    }
}

void redirectOutput(const Command& command, Call& call) {
    for (const auto& redirection : command.redirections) {
        if (redirection.input || redirection.descriptor != 1 || redirection.target[0] == '&') continue;
        if (redirection.target != "/dev/null" &&
            files::store(redirection.target, call.output, redirection.append) != 0) {
            call.status = 1;
        }
        call.output.clear();
    }
}

Outcome runPipeline(const Pipeline& pipeline, const std::string& text) {
    Outcome outcome;
    std::vector<std::string> running = {"sh -c " + text};
    for (const auto& command : pipeline.commands) running.push_back(joined(command.words));
    for (const auto& command : pipeline.commands) {
        Call call;
        call.words = command.words;
        call.input = std::move(outcome.output);
        call.pipeline = running;
        const Tool tool = findTool(command.words[0]);
        redirectInput(command, call);
        if (tool == nullptr || !acceptable(command) || !tool(call)) {
            outcome.understood = false;
            call.status = kNotFound;
            call.output.clear();
        }
        redirectOutput(command, call);
        outcome.status = call.status;
        outcome.output = std::move(call.output);
    }
    if (pipeline.background) outcome.status = 0;
    return outcome;
}

Outcome runText(const std::string& text) {
    Outcome all;
    const auto list = parse(text);
    if (!list) return {false, kNotFound, ""};
    for (const auto& pipeline : *list) {
        if (pipeline.control == ControlOperator::AfterSuccess && all.status != 0) continue;
        if (pipeline.control == ControlOperator::AfterFailure && all.status == 0) continue;
        Outcome one = runPipeline(pipeline, text);
        all.understood = all.understood && one.understood;
        all.status = one.status;
        all.output += one.output;
    }
    return all;
}

void keep(const std::string& text, bool understood) {
    const DeviceAccess lock(deviceMutex());
    if (state().commands.size() >= kCommandsKept) return;
    persistence::changed(persistence::kRunCommands, state().commands.size());
    state().commands.push_back({text, understood});
}

int waitStatus(int exitStatus) {
    return exitStatus << 8;
}

}  // namespace

Tool findTool(const std::string& name) {
    // Never destroyed: threads of the HAL outlive main().
    static const auto& table = *new const std::map<std::string, Tool>{
        {"echo", echo},   {"cat", cat},       {"grep", grep}, {"ps", ps}, {"kill", kill},
        {"dhcpc", dhcpc}, {"mcpctl", mcpctl}, {"bs", bs},     {"iq", iq}, {"true", [](Call&) { return true; }},
    };
    const auto found = table.find(name);
    return found != table.end() ? found->second : findNetworkTool(name);
}

int system(const char* command) {
    if (command == nullptr) return 1;  // yes, there is a shell
    const std::string text = command;
    int status = 0;
    if (const auto fault = faultOf("system")) {
        keep(text, true);
        status = *fault;
    } else {
        const Outcome outcome = runText(text);
        keep(text, outcome.understood);
        if (!outcome.output.empty()) std::fputs(outcome.output.c_str(), stdout);
        status = waitStatus(outcome.status);
    }
    record(CallKind::Shell, "system", arguments(text), status);
    return status;
}

std::FILE* popen(const char* command, const char* mode) {
    const std::string text = command == nullptr ? "" : command;
    const bool reads = mode != nullptr && mode[0] == 'r';
    if (const auto fault = faultOf("popen", "", false)) {
        record(CallKind::Shell, "popen", arguments(text), -*fault);
        errno = *fault;
        return nullptr;
    }
    const Outcome outcome = runText(text);
    keep(text, outcome.understood);
    record(CallKind::Shell, "popen", arguments(text), 0);
    const int fd = memfd_create("shell-output", MFD_CLOEXEC);
    if (fd < 0) return nullptr;
    if (reads && !outcome.output.empty()) {
        if (real::write(fd, outcome.output.data(), outcome.output.size()) < 0) return nullptr;
        lseek(fd, 0, SEEK_SET);
    }
    std::FILE* stream = fdopen(fd, reads ? "r" : "w");
    const DeviceAccess lock(deviceMutex());
    if (stream != nullptr) state().pipes[stream] = waitStatus(outcome.status);
    return stream;
}

bool ownsStream(std::FILE* stream) {
    const DeviceAccess lock(deviceMutex());
    return state().pipes.count(stream) != 0;
}

int pclose(std::FILE* stream) {
    int status = 0;
    {
        const DeviceAccess lock(deviceMutex());
        const auto pipe = state().pipes.find(stream);
        status = pipe->second;
        state().pipes.erase(pipe);
    }
    real::fclose(stream);
    return status;
}

void reset() {
    const DeviceAccess lock(deviceMutex());
    auto pipes = std::move(state().pipes);  // streams that are still open must be closable
    state() = State{};
    state().pipes = std::move(pipes);
}

persistence::Sections sections() {
    return {persistence::section<Processes>(persistence::kProcesses),
            persistence::section<NextProcess>(persistence::kNextProcess),
            persistence::section<Killed>(persistence::kRunKilled),
            persistence::section<Commands>(persistence::kRunCommands)};
}

nlohmann::json toJson() {
    const VirtualOnu& onu = VirtualOnu::instance();
    nlohmann::json commands = nlohmann::json::array();
    for (const auto& command : onu.shellCommands()) {
        commands.push_back({{"text", command.text}, {"understood", command.understood}});
    }
    nlohmann::json processes = nlohmann::json::array();
    for (const auto& [pid, text] : onu.processes()) processes.push_back({{"pid", pid}, {"command", text}});
    return {{"commands", commands}, {"processes", processes}, {"killed", onu.killedProcesses()}};
}

}  // namespace virtual_onu::shell

namespace virtual_onu {

std::vector<ShellCommand> VirtualOnu::shellCommands() const {
    const DeviceAccess lock(deviceMutex());
    return shell::state().commands;
}

std::vector<int> VirtualOnu::killedProcesses() const {
    const DeviceAccess lock(deviceMutex());
    return shell::state().killed;
}

void VirtualOnu::addProcess(int pid, const std::string& commandLine) {
    const DeviceAccess lock(deviceMutex());
    shell::state().processes[pid] = commandLine;
    persistence::changed(persistence::kProcesses, pid);
}

std::vector<std::pair<int, std::string>> VirtualOnu::processes() const {
    const DeviceAccess lock(deviceMutex());
    return {shell::state().processes.begin(), shell::state().processes.end()};
}

}  // namespace virtual_onu
