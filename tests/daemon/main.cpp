// test-daemon SUBJECT [MODE [FILE]]
#include <cstdio>

#include "daemon/Modes.h"

int main(int argc, char** argv) {
    const std::string subject = argc > 1 ? argv[1] : "", mode = argc > 2 ? argv[2] : "", file = argc > 3 ? argv[3] : "";
    if (subject == "record") return test_daemon::record(mode, file);
    if (subject == "awkward") return test_daemon::behaveAwkwardly(mode, file);
    if (subject == "cycle") return test_daemon::cycle(mode, file);
    if (subject == "state") return test_daemon::takeOver(mode, file);
    if (subject == "packets") return test_daemon::carryPackets(mode, file);
    std::fprintf(stderr, "test-daemon: no subject '%s'\n", subject.c_str());
    return 99;
}
