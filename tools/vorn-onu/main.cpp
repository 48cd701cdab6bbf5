#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "commandline/CommandLine.h"
#include "commands/Commands.h"
#include "io/Output.h"

namespace {

// The HAL's threads live as long as the process: they must not meet destroyed maps on its way out.
[[noreturn]] void leave(int code) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(code);
}

}  // namespace

int main(int argc, char** argv) {
    vorn_onu::CommandLine commandLine;
    int code = commandLine.run(argc, argv);
    const std::string lost = vorn_onu::lostOutput();
    if (!lost.empty()) {
        vorn_onu::complain("vorn-onu: standard output cannot be written: " + lost);
        if (code == vorn_onu::kHeld) code = vorn_onu::kBadInput;
    }
    leave(code);
}
