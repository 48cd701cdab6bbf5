// The processes below this one, wherever they have put themselves: sessions and groups of their own, orphans that came
// back to this process since it is their reaper.
#ifndef VORN_ONU_PROCESS_TREE_H
#define VORN_ONU_PROCESS_TREE_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace vorn_onu {

struct Process {
    pid_t id = 0;
    pid_t parent = 0;
    pid_t group = 0;
    std::string name;  // the first 15 bytes
};

// From now on an orphan below this process becomes its child.
void adoptOrphans();

// All that run below this process, parents before their children. Those that have ended and wait to be reaped are not
// among them.
std::vector<Process> processesBelow();

}  // namespace vorn_onu

#endif
