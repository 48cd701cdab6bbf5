// A recording: a scenario file with one step for each call so far. The file is whole after every call, so that a daemon
// that is killed leaves a recording too.
#ifndef RECORDER_RECORDING_H
#define RECORDER_RECORDING_H

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include "running/io/HeldJson.h"
#include "running/scenario/fields/Problem.h"

namespace recorder {

using vorn_onu::Json;

// Any thread may write. Calls are written in the order in which they began.
class Recording {
public:
    // The recording of this process: the file that VORN_RECORDER_FILE names, or one beside it with this process's
    // number when another process records there. Null when the variable is not set. The file is made by the first call.
    static Recording* current();

    // A call begins; the answer is what end() wants to know of it.
    std::uint64_t begin(const Json& step);
    // It is over: the step as it stays.
    void end(std::uint64_t call, const Json& step);

private:
    struct Call {
        std::uint64_t number;
        std::string text;
        bool over;
    };

    explicit Recording(std::string path);
    std::unique_lock<std::mutex> locked();  // empty when the lock cannot be had
    void write();                           // calls_ behind what is settled
    bool othersWrite() const;
    bool startFile();  // false when no file can be made
    bool create(const std::string& path);
    void stop(const std::string& why);

    std::mutex mutex_;
    std::string path_;
    std::atomic<bool> stopped_{false};
    std::atomic<pid_t> process_;
    std::uint64_t lastNumber_ = 0;
    off_t settled_ = 0;        // bytes of the file that do not change any more
    off_t size_ = 0;           // of the file; another size means that somebody else writes there
    bool anySettled_ = false;  // the settled part has a step
    std::deque<Call> calls_;   // that are not settled: the first of them is not over
};

// One call of the program, from before it is forwarded to after it has returned.
class RecordedCall {
public:
    // Does nothing without a recording, and for a call that the library makes while a recorded one is under way.
    RecordedCall(const char* operation, const Json& fields);
    ~RecordedCall();
    RecordedCall(const RecordedCall&) = delete;
    RecordedCall& operator=(const RecordedCall&) = delete;

    // Its return value (null for none) and what it wrote for its caller. A call that never gets here is recorded as one
    // that did not return.
    void answered(const Json& result);
    void answered(const Json& result, const Json& output);

private:
    Recording* recording_ = nullptr;
    std::uint64_t call_ = 0;
    vorn_onu::Held<Json> step_;
    std::string note_;  // on the call itself
};

}  // namespace recorder

#endif
