#include "libc/program/Program.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "BoardIdentity.h"
#include "libc/program/OwnFile.h"

extern char** environ;

namespace virtual_onu::program {

namespace {

constexpr char kStateVariable[] = "VORN_ONU_STATE";
constexpr char kTraceVariable[] = "VORN_ONU_TRACE";
constexpr char kHalOutputVariable[] = "VORN_ONU_HAL_OUTPUT";
constexpr char kRunVariable[] = "VORN_ONU_RUN";
// For the tool alone, which makes a serial number and a MAC address of it.
constexpr char kFromHostNameVariable[] = "VORN_ONU_SERIAL_FROM_HOSTNAME";

constexpr std::array<const char*, 8> kVariables = {kStateVariable,   kTraceVariable,       kHalOutputVariable,
                                                   kRunVariable,     kBoardFileVariable,   kSerialNumberVariable,
                                                   kBaseMacVariable, kFromHostNameVariable};

// A misspelt variable would silently do nothing.
void refuseUnknownVariables() {
    for (char** one = environ; one != nullptr && *one != nullptr; ++one) {
        if (std::strncmp(*one, "VORN_ONU_", 9) != 0) continue;
        const std::string name(*one, std::strcspn(*one, "="));
        bool known = false;
        std::string right;
        for (const char* variable : kVariables) {
            known = known || name == variable;
            right += (right.empty() ? "" : ", ") + std::string(variable);
        }
        if (known) continue;
        writeAll(STDERR_FILENO, "virtual ONU: there is no variable " + name + "; there are " + right + "\n");
        _exit(2);
    }
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): before main(), there is one thread
    return value != nullptr ? value : "";
}

// Of a program that sets its board up by itself: nothing, it reads them.
std::string boardVariable(const char* name) {
    return &virtual_onu_is_set_up_by_the_program != nullptr ? "" : variable(name);
}

struct Start {
    Settings settings{absolutePath(variable(kStateVariable)),
                      absolutePath(variable(kTraceVariable)),
                      absolutePath(variable(kHalOutputVariable)),
                      absolutePath(variable(kRunVariable)),
                      absolutePath(boardVariable(kBoardFileVariable)),
                      boardVariable(kSerialNumberVariable),
                      boardVariable(kBaseMacVariable)};
    FileIdentity standardError = FileIdentity::of(STDERR_FILENO);
};

// Never destroyed: the writer may still look at it while the process ends.
const Start& start() {
    static const Start& one = *new Start;
    return one;
}

__attribute__((constructor)) void begin() {
    refuseUnknownVariables();
    start();
}

}  // namespace

const Settings& settings() {
    return start().settings;
}

// A daemon that closes everything may have a file or a socket of its own under the number.
void say(const std::string& text) {
    if (FileIdentity::of(STDERR_FILENO) == start().standardError)
        writeAll(STDERR_FILENO, "virtual ONU: " + text + "\n");
}

}  // namespace virtual_onu::program
