// What becomes of an operation that kernel or kit has refused, in words for the log.
#ifndef BRCM_BCM968580_DATA_FORWARDING_ROLLBACK_H
#define BRCM_BCM968580_DATA_FORWARDING_ROLLBACK_H

#include <string>

#include "BRCM/BCM968580/DATA/g988/Services.h"

namespace forwarding {

// Logs an outcome that is not done.
bool isDone(const char* operation, const g988::Outcome& outcome);

// An operation that was refused when part of it was done: all is rolled back.
class Rollback {
public:
    explicit Rollback(const std::string& refused) : outcome_{false, refused} {}
    // "": it could.
    void cannotRestore(const std::string& what);
    // Of what was made.
    void stays(const std::string& what);
    // Logs what is not restored. False, as the operation.
    bool report(const char* operation) const { return isDone(operation, outcome_); }
    // Likewise with rows, filters and rules, when the devices are back.
    bool restore(const char* operation, const g988::Services::Before& before);

private:
    g988::Outcome outcome_;
};

}  // namespace forwarding

#endif
