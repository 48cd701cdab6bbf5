// What the test daemon does, by the subject of the tests that start it. Each takes the words of its command line and
// answers the exit code; 0: nothing went wrong that the daemon can see itself.
#ifndef TESTS_DAEMON_MODES_H
#define TESTS_DAEMON_MODES_H

#include <string>

#include "hal/HALFactory.h"
#include "hal/VornHal.h"

namespace test_daemon {

// Everything that a daemon can call, in different ways; for recordings.
int record(const std::string& mode, const std::string&);
// What programs do and what stands in the way of a virtual ONU inside of them. own: a file of the program's.
int behaveAwkwardly(const std::string& mode, const std::string& own);
// Provisions a service and takes it down again and again, for those who look at its board.
int cycle(const std::string& mode, const std::string&);
// What is left of another daemon; file: its state.
int takeOver(const std::string& mode, const std::string& file);
// A transparent service for real packets.
int carryPackets(const std::string& mode, const std::string&);

inline VornHal& hal() {
    static VornHal& one = *HALFactory::getInstance()->CreateHALObject(0);
    return one;
}

}  // namespace test_daemon

#endif
