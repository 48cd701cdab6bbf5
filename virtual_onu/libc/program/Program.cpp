#include "libc/program/Program.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "libc/program/OwnFile.h"

extern char** environ;

namespace virtual_onu::program {

namespace {

constexpr std::array<const char*, 5> kVariables = {"VORN_ONU_STATE", "VORN_ONU_TRACE", "VORN_ONU_HAL_OUTPUT",
                                                   "VORN_ONU_RUN", "VORN_ONU_BOARD"};

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
    return absolutePath(value != nullptr ? value : "");
}

struct Start {
    Settings settings{variable(kVariables[0]), variable(kVariables[1]), variable(kVariables[2]),
                      variable(kVariables[3]), variable(kVariables[4])};
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
