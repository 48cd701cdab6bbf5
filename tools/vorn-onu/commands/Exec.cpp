// vorn-onu exec -- PROGRAM: runs a program with the virtual ONU in front of the C library.
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <vector>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "io/Output.h"
#include "scenario/RecordedFile.h"
#include "show/DeviceReport.h"
#include "show/Terminal.h"

namespace vorn_onu {

namespace {

constexpr int kCannotStart = 127;

// The virtual ONU that this tool runs with is the one that the program gets: in the build tree and installed alike.
std::string virtualOnuPath() {
    Dl_info info{};
    const auto address = reinterpret_cast<const void*>(&virtual_onu::VirtualOnu::instance);
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return "";
    char* real = realpath(info.dli_fname, nullptr);
    const std::string path = real != nullptr ? real : "";
    std::free(real);
    return path;
}

// The recorder lies beside the virtual ONU.
std::string recorderPath(const std::string& virtualOnu) {
    const std::string path = virtualOnu.substr(0, virtualOnu.rfind('/') + 1) + "libvorn_recorder.so";
    return access(path.c_str(), R_OK) == 0 ? path : "";
}

// The runtimes of the sanitizers that this build uses: they want to be in front of everything else.
int addSanitizer(dl_phdr_info* object, std::size_t, void* list) {
    const std::string path = object->dlpi_name != nullptr ? object->dlpi_name : "";
    const std::string name = path.substr(path.rfind('/') + 1);
    for (const char* runtime : {"libasan.so", "libtsan.so", "libclang_rt.asan", "libclang_rt.tsan"})
        if (name.rfind(runtime, 0) == 0) static_cast<std::vector<std::string>*>(list)->push_back(path);
    return 0;
}

std::string environmentOf(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
    return value != nullptr ? value : "";
}

void append(std::string& list, const std::string& entry) {
    list += (list.empty() ? "" : ":") + entry;
}

// The environment of the program: this one's, with the virtual ONU preloaded.
class Environment {
public:
    Environment() {
        for (char** one = environ; *one != nullptr; ++one) entries_.emplace_back(*one);
    }
    void set(const std::string& name, const std::string& value) {
        const std::string start = name + "=";
        for (auto& entry : entries_) {
            if (entry.compare(0, start.size(), start) != 0) continue;
            entry = start + value;
            return;
        }
        entries_.push_back(start + value);
    }
    std::vector<char*> pointers() {
        std::vector<char*> list;
        for (auto& entry : entries_) list.push_back(entry.data());
        list.push_back(nullptr);
        return list;
    }

private:
    std::vector<std::string> entries_;
};

std::vector<std::string> sanitizerRuntimes() {
    std::vector<std::string> runtimes;
    dl_iterate_phdr(addSanitizer, &runtimes);
    return runtimes;
}

std::string preloadList(const std::vector<std::string>& libraries) {
    std::string list;
    for (const auto& runtime : sanitizerRuntimes()) append(list, runtime);
    for (const auto& library : libraries) append(list, library);
    const std::string before = environmentOf("LD_PRELOAD");
    if (!before.empty()) append(list, before);
    return list;
}

// A file name that the program can use from any directory.
std::string absolute(const std::string& path) {
    if (path.empty() || path[0] == '/') return path;
    char* here = getcwd(nullptr, 0);
    const std::string whole = here != nullptr ? std::string(here) + "/" + path : path;
    std::free(here);
    return whole;
}

// An empty file that is gone with this object.
class ScratchFile {
public:
    ScratchFile() {
        std::string directory = environmentOf("TMPDIR");
        path_ = (directory.empty() ? std::string("/tmp") : directory) + "/vorn-onu-state-XXXXXX";
        const int descriptor = mkstemp(path_.data());
        if (descriptor >= 0) close(descriptor);
    }
    ~ScratchFile() { unlink(path_.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Waits for the program; a Ctrl-C at the terminal is the program's to act on, not the tool's.
int waitFor(pid_t child) {
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return kCannotStart;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int start(const std::vector<std::string>& program, Environment& environment, pid_t* child) {
    std::vector<std::string> words = program;
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    return posix_spawnp(child, arguments[0], nullptr, nullptr, arguments.data(), environment.pointers().data());
}

void showDevice(const nlohmann::json& device) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    const Terminal terminal = Terminal::of(stdout);
    const DeviceState state = readState(device);
    const std::string report = deviceReport(state, readState(onu.toJson()), terminal) + warnings(state, terminal);
    print(report.empty() ? "\nThe device is as new.\n" : report);
}

bool truncated(const std::string& path) {
    if (path.empty()) return true;
    const std::ofstream file(path, std::ios::trunc);
    if (!file) std::cerr << path << ": cannot be written\n";
    return file.good();
}

// The recorder makes the file itself, and takes one that is there for another process's.
bool cleared(const std::string& path) {
    if (!truncated(path)) return false;
    if (std::filesystem::is_regular_file(path)) return unlink(path.c_str()) == 0;
    std::cerr << path << ": is no file that a recording can go to\n";
    return false;
}

void showRecording(const std::string& path, bool quiet) {
    const auto recording = finishRecording(path);
    if (!recording)
        std::cerr << path << ": nothing is recorded, the program has not called the HAL\n";
    else if (recording->mended)
        std::cerr << path << ": the last call was half written and is left out\n";
    if (recording && !quiet)
        std::cout << "\n"
                  << path << ": " << recording->calls << (recording->calls == 1 ? " call" : " calls") << " recorded"
                  << std::endl;
}

// A program with a sanitizer of its own finds the virtual ONU in front of it; both work in this order. One without does
// not have its leaks counted because this build has a sanitizer.
std::string sanitizerOptions() {
    std::string options = environmentOf("ASAN_OPTIONS");
    append(options, "verify_asan_link_order=0");
    if (!sanitizerRuntimes().empty()) append(options, "detect_leaks=0");
    return options;
}

// The libraries in front of the program, and the recorder's file. False after a message.
bool prepareLibraries(const std::string& recordFile, Environment& environment) {
    std::vector<std::string> libraries = {virtualOnuPath()};
    if (libraries[0].empty()) {
        std::cerr << "vorn-onu: libvirtual_onu.so cannot be found\n";
        return false;
    }
    if (!recordFile.empty()) {
        const std::string recorder = recorderPath(libraries[0]);
        if (recorder.empty()) {
            std::cerr << "vorn-onu: libvorn_recorder.so is not beside " << libraries[0] << '\n';
            return false;
        }
        libraries.push_back(recorder);
        if (!cleared(absolute(recordFile))) return false;
        environment.set("VORN_RECORDER_FILE", absolute(recordFile));
    }
    environment.set("LD_PRELOAD", preloadList(libraries));
    return true;
}

}  // namespace

int ExecCommand::run() const {
    const ScratchFile scratch;
    const std::string stateFile = jsonFile.empty() ? scratch.path() : absolute(jsonFile);
    Environment environment;
    if (!truncated(stateFile) || !truncated(absolute(traceFile)) || !prepareLibraries(recordFile, environment))
        return kBadInput;
    environment.set("VORN_ONU_STATE", stateFile);
    if (!traceFile.empty()) environment.set("VORN_ONU_TRACE", absolute(traceFile));
    environment.set("ASAN_OPTIONS", sanitizerOptions());

    pid_t child = 0;
    const int error = start(program, environment, &child);
    if (error != 0) {
        std::cerr << program[0] << ": cannot be started: " << std::strerror(error) << '\n';
        return kCannotStart;
    }
    const int code = waitFor(child);
    if (!recordFile.empty()) showRecording(recordFile, quiet);

    std::ifstream written(stateFile);
    const nlohmann::json device = nlohmann::json::parse(written, nullptr, false);
    if (!device.is_discarded()) {
        if (!quiet) showDevice(device);
        return code;
    }
    if (!quiet) std::cerr << program[0] << ": has not touched the device\n";
    if (!jsonFile.empty()) {
        virtual_onu::VirtualOnu::instance().reset();
        std::ofstream(stateFile) << virtual_onu::VirtualOnu::instance().toJson().dump(1) << '\n';
    }
    return code;
}

}  // namespace vorn_onu
