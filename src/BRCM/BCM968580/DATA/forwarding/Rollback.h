// What becomes of an operation that kernel or kit has refused, in words for the log.
#ifndef BRCM_BCM968580_DATA_FORWARDING_ROLLBACK_H
#define BRCM_BCM968580_DATA_FORWARDING_ROLLBACK_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

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

// What takes an operation back: a step for each that was begun, the last one first.
class UndoSteps {
public:
    void add(std::function<void(Rollback& rollback)> step) { steps_.push_back(std::move(step)); }
    void run(Rollback& rollback) const {
        for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) (*step)(rollback);
    }

private:
    std::vector<std::function<void(Rollback& rollback)>> steps_;
};

}  // namespace forwarding

#endif
