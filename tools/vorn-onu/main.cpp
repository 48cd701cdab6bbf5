#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "commands/CommandLine.h"

// The tool's commands say which board they have; the variables for it are theirs to read.
extern "C" {
extern __attribute__((visibility("default"))) const char virtual_onu_is_set_up_by_the_program;
const char virtual_onu_is_set_up_by_the_program = 1;
}

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
    leave(commandLine.run(argc, argv));
}
