// What a running scenario has at hand, what is known while one is read, and what an expectation finds to be different.
#ifndef VORN_ONU_CONTEXT_H
#define VORN_ONU_CONTEXT_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "running/io/HeldJson.h"
#include "running/scenario/fields/Problem.h"

class VornHal;

namespace vorn_onu {

class MessageFaults;  // MessageFaults.h

// The device at a named moment of a scenario.
struct Mark {
    std::string state;         // what provisioning changes, as text
    std::size_t messages = 0;  // sent so far
    std::size_t commands = 0;  // run through the shell so far
};

// A fault that a step has asked for and that must fire in the rest of the run.
struct ArmedFault {
    std::size_t step = 0;     // that asked for it
    std::string words;        // "call 3 of tmctl_setQueueCfg"
    std::uint64_t fault = 0;  // by VirtualOnu::callsUntilFault(); 0 for a numbered call
    std::uint64_t call = 0;   // the number of the call
    std::int32_t nth = 1;
};

// What a running scenario has at hand.
struct RunContext {
    virtual_onu::VirtualOnu& onu;
    VornHal* hal = nullptr;  // null where somebody else owns it: nothing is called then
    std::map<std::string, Mark> marks = {};
    std::vector<ArmedFault> faults = {};
    MessageFaults* messageFaults = nullptr;  // null where no OLT sends messages
};

// One thing that is not as expected: a line, or several.
struct Failure {
    std::string what;  // "bridge br3 members"
    std::vector<std::string> expected;
    std::vector<std::string> actual;
};

// What is known while a file is read.
struct ParseContext {
    Held<Json> records = {};           // records by name, to be used in several calls; null where there are none
    std::set<std::string> marks = {};  // names of the marks so far
};

}  // namespace vorn_onu

#endif
