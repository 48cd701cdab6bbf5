#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"

#include <cstdio>

#include "BRCM/BCM968580/DATA/forwarding/Devices.h"

namespace forwarding {

bool isDone(const char* operation, const g988::Outcome& outcome) {
    if (!outcome.done)
        std::printf("%s: %s: %s\n", operation, outcome.isPartly ? "part of it is done" : "nothing is changed",
                    outcome.reason.c_str());
    return outcome.done;
}

void Rollback::cannotRestore(const std::string& what) {
    if (what.empty()) return;
    outcome_.reason += ", and " + what + " cannot be made again";
    outcome_.isPartly = true;
}

void Rollback::stays(const std::string& what) {
    outcome_.reason += ", and " + what + " stays";
    outcome_.isPartly = true;
}

bool Rollback::restore(const char* operation, const g988::Services::Before& before) {
    const g988::Outcome back = services().rollBack(before);
    if (!back.done) {
        outcome_.reason += ", and its rules are gone: " + back.reason;
        outcome_.isPartly = true;
    }
    return report(operation);
}

}  // namespace forwarding
