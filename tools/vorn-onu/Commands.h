// The commands of vorn-onu. Each answers the program's exit code.
#ifndef VORN_ONU_COMMANDS_H
#define VORN_ONU_COMMANDS_H

#include <string>
#include <vector>

namespace vorn_onu {

constexpr int kHeld = 0;      // all expectations held
constexpr int kNotHeld = 1;   // one did not
constexpr int kBadInput = 2;  // a scenario, a file or the command line is wrong; nothing was run

struct RunCommand {
    std::string scenario;
    std::string jsonFile;  // "-" is standard output
    bool trace = false;
    bool halOutput = false;
    bool realTime = false;
    bool quiet = false;
    int run() const;
};

struct ExecCommand {
    std::vector<std::string> program;  // and its arguments
    std::string traceFile;
    std::string jsonFile;
    std::string recordFile;
    bool quiet = false;
    // The program's own exit code; 128 and the signal's number when a signal ended it.
    int run() const;
};

struct DiffCommand {
    std::string before, after;  // files that --json has written
    int run() const;            // kHeld: no difference; kNotHeld: there are some
};

int printSchema();

}  // namespace vorn_onu

#endif
