// Runs a program and collects what it prints. The program is started without this process's virtual ONU.
#ifndef TESTS_RUN_PROGRAM_H
#define TESTS_RUN_PROGRAM_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

// The programs that tests start and the scenarios that they start them with, where the build names them to the test.
#ifdef VORN_ONU_BINARY
inline const std::string kTool = VORN_ONU_BINARY;
#endif
#ifdef EXAMPLE_DAEMON_BINARY
inline const std::string kDaemon = EXAMPLE_DAEMON_BINARY;
#endif
#ifdef TEST_DAEMON_BINARY
inline const std::string kTestDaemon = TEST_DAEMON_BINARY;
#endif
#ifdef VORN_SCENARIO_DIR
inline const std::string kScenarios = VORN_SCENARIO_DIR;
inline const std::string kInternet = kScenarios + "/internet.json";
#endif

struct ProgramResult {
    int code = -1;       // exit code; 128 and the signal's number when a signal ended it
    std::string output;  // standard output and standard error
};

inline ProgramResult runProgram(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::FILE* file = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(file), STDOUT_FILENO);
        dup2(fileno(file), STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ProgramResult result;
    result.code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    std::rewind(file);
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
        result.output.append(buffer, count);
    std::fclose(file);
    return result;
}

#ifdef VORN_ONU_BINARY
inline ProgramResult runTool(std::vector<std::string> words, const std::vector<std::string>& more = {}) {
    words.insert(words.begin(), kTool);
    words.insert(words.end(), more.begin(), more.end());
    return runProgram(std::move(words));
}
#endif

inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();  // of a process that ends meanwhile "/proc" has no more: iterators would throw
    return text.str();
}

inline bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

inline std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// A failure for each of the parts that are not in the text.
inline void expectHas(const std::string& text, const std::vector<std::string_view>& parts) {
    for (const std::string_view part : parts)
        EXPECT_NE(text.find(part), std::string::npos) << part << " is missing in\n" << text;
}

#ifdef VORN_ONU_BINARY
// Runs the tool; failures for another exit code, and for parts that it does not print.
inline ProgramResult expectTool(std::vector<std::string> words, int code, const std::vector<std::string_view>& parts) {
    std::string line = kTool;
    for (const std::string& word : words) line += " " + word;
    SCOPED_TRACE(line);
    ProgramResult result = runTool(std::move(words));
    EXPECT_EQ(result.code, code) << result.output;
    expectHas(result.output, parts);
    return result;
}
#endif

// A directory of the test's own, gone with everything in it when the test ends.
class ScratchDirectory {
public:
    ScratchDirectory() : path_((std::filesystem::temp_directory_path() / "vorn-test-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) path_.clear();
    }
    ~ScratchDirectory() { runProgram({"rm", "-rf", path_}); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    // Answers the file's path.
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name)) << text;
        return file(name);
    }
    // A scenario of these steps.
    std::string writeSteps(const std::string& name, const std::string& steps) const {
        return write(name, R"({"title": "t", "steps": [)" + steps + "]}");
    }

private:
    std::string path_;
};

#endif
