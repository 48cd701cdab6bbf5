// Whose board the snapshot shows. Each process has a board of its own: a forked child starts with a copy of its
// parent's, a started program with a new one. The file shows the board that was changed last; boards that it does not
// hold are kept beside it, as FILE.<process>, and listed in the run's folder. A board in a file (VORN_ONU_BOARD) is
// the same one for all of them.
#ifndef VIRTUAL_ONU_BOARDS_H
#define VIRTUAL_ONU_BOARDS_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace virtual_onu::boards {

// The board of a process that this one was forked from, and how far it was then.
struct Ancestor {
    pid_t process;
    std::uint64_t revision;
};

struct ProcessBoard {
    pid_t process = 0;
    std::string program;
    std::uint64_t revision = 0;  // counts changes
    std::uint64_t begun = 0;     // the revision that this process started or was forked with
    std::vector<Ancestor> ancestors;

    bool changed() const { return revision != begun; }
    bool holds(
        const ProcessBoard& other) const;  // this board began as a copy of the other one, which has not changed since
};

// Lets prepare() write this process's board, and place() make that the snapshot, unless the board that is shown holds
// it or it is as it was when the process began. No other process of the run writes meanwhile. False when one of them
// is.
bool show(const ProcessBoard& own, const std::function<bool()>& prepare, const std::function<bool()>& place);

}  // namespace virtual_onu::boards

#endif
