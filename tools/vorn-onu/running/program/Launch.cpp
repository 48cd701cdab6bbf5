#include "running/program/Launch.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "VirtualOnu.h"
#include "running/io/Output.h"

namespace vorn_onu {

namespace {

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

// A library that lies beside the virtual ONU; "" after a message when it does not.
std::string pathBeside(const std::string& virtualOnu, const std::string& name) {
    const std::string path = virtualOnu.substr(0, virtualOnu.rfind('/') + 1) + name;
    if (access(path.c_str(), R_OK) == 0) return path;
    const std::filesystem::path build = std::filesystem::path(virtualOnu).parent_path().parent_path();
    const std::string target = name.substr(3, name.rfind('.') - 3);  // "libvorn_recorder.so"
    std::error_code ignored;
    const bool isBuilt = std::filesystem::exists(build / "CMakeCache.txt", ignored);
    complain(name + " is not beside " + virtualOnu +
             (isBuilt ? "; cmake --build " + build.string() + " --target " + target + " makes it" : ""));
    return "";
}

// The runtimes of the sanitizers that this build uses: they want to be in front of everything else.
int addSanitizer(dl_phdr_info* object, std::size_t, void* list) {
    const std::string path = object->dlpi_name != nullptr ? object->dlpi_name : "";
    const std::string name = path.substr(path.rfind('/') + 1);
    for (const char* runtime : {"libasan.so", "libtsan.so", "libclang_rt.asan", "libclang_rt.tsan"})
        if (name.rfind(runtime, 0) == 0) static_cast<std::vector<std::string>*>(list)->push_back(path);
    return 0;
}

std::vector<std::string> sanitizerRuntimes() {
    std::vector<std::string> runtimes;
    dl_iterate_phdr(addSanitizer, &runtimes);
    return runtimes;
}

void append(std::string& list, const std::string& entry) {
    list += (list.empty() ? "" : ":") + entry;
}

std::string preloadList(const std::vector<std::string>& libraries) {
    std::string list;
    for (const auto& runtime : sanitizerRuntimes()) append(list, runtime);
    for (const auto& library : libraries) append(list, library);
    const std::string before = environmentOf("LD_PRELOAD");
    if (!before.empty()) append(list, before);
    return list;
}

// A program with a sanitizer of its own finds the virtual ONU in front of it; both work in this order. One without does
// not have its leaks counted because this build has a sanitizer.
std::string sanitizerOptions() {
    std::string options = environmentOf("ASAN_OPTIONS");
    append(options, "verify_asan_link_order=0");
    if (!sanitizerRuntimes().empty()) append(options, "detect_leaks=0");
    return options;
}

// In the new process; says why through the pipe when the program cannot be started.
[[noreturn]] void become(char* const* words, char* const* environment, const sigset_t& blocked, bool outputToError,
                         pid_t starter, int pipe) {
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    if (getppid() != starter) _exit(127);  // killed before this process could know
    if (outputToError) dup2(STDERR_FILENO, STDOUT_FILENO);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    execvpe(words[0], words, environment);
    const int error = errno;
    [[maybe_unused]] const ssize_t ignored = write(pipe, &error, sizeof error);
    _exit(127);
}

}  // namespace

std::string environmentOf(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
    return value != nullptr ? value : "";
}

Environment::Environment() {
    for (char** one = environ; *one != nullptr; ++one) entries_.emplace_back(*one);
    set("ASAN_OPTIONS", sanitizerOptions());
}

void Environment::set(const std::string& name, const std::string& value) {
    const std::string start = name + "=";
    for (auto& entry : entries_) {
        if (entry.compare(0, start.size(), start) != 0) continue;
        entry = start + value;
        return;
    }
    entries_.push_back(start + value);
}

bool Environment::preload(bool recorder, bool relay) {
    std::vector<std::string> libraries = {virtualOnuPath()};
    if (libraries[0].empty()) {
        complain("libvirtual_onu.so cannot be found");
        return false;
    }
    if (recorder) libraries.push_back(pathBeside(libraries[0], "libvorn_recorder.so"));
    if (relay) libraries.push_back(pathBeside(libraries[0], "libvorn_board_relay.so"));
    if (std::find(libraries.begin(), libraries.end(), "") != libraries.end()) return false;
    set("LD_PRELOAD", preloadList(libraries));
    return true;
}

std::vector<char*> Environment::pointers() {
    std::vector<char*> list;
    for (auto& entry : entries_) list.push_back(entry.data());
    list.push_back(nullptr);
    return list;
}

pid_t launch(const std::vector<std::string>& program, Environment& environment, const sigset_t& blocked,
             bool outputToError, int* error) {
    std::vector<std::string> words = program;
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const std::vector<char*> variables = environment.pointers();
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) {
        *error = errno;
        return 0;
    }
    const pid_t starter = getpid();
    const pid_t child = fork();
    if (child == 0) become(arguments.data(), variables.data(), blocked, outputToError, starter, pipe[1]);
    *error = child < 0 ? errno : 0;
    close(pipe[1]);
    const bool failed = child < 0 || read(pipe[0], error, sizeof *error) > 0;  // nothing: closed by the program's start
    close(pipe[0]);
    if (failed && child > 0) waitpid(child, nullptr, 0);
    return failed ? 0 : child;
}

}  // namespace vorn_onu
