// The bare platform calls of a trace, made once more: what the same work costs without the library. A trace is taken
// apart beforehand, so that replaying only makes the calls.
#ifndef BENCH_REPLAY_H
#define BENCH_REPLAY_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "VirtualOnu.h"

class Replay {
public:
    // Ends the program with a message when the trace holds a call that it does not know.
    explicit Replay(const std::vector<virtual_onu::TraceEntry>& trace);
    Replay(const Replay&) = delete;

    // What calls answer that later calls need, also those of another Replay.
    struct Answers {
        std::map<std::uint32_t, std::uint32_t> ruleIds;  // a rule's id in the trace: its id this time
        int interfaceIndex = 0;                          // the latest that was asked for
    };
    // Makes the calls.
    void run(Answers& answers) const;
    std::size_t calls() const { return calls_.size(); }

    struct Token {
        std::string text;  // of a quoted argument; otherwise as it is
        std::uint32_t number = 0;
    };
    using Call = std::function<void(Answers&)>;

private:
    std::vector<Call> calls_;
};

#endif
