#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "commands/CommandLine.h"

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
