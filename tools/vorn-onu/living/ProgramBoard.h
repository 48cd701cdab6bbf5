// The boards of a program's processes, each reached through the relay that was preloaded there.
#ifndef VORN_ONU_PROGRAM_BOARD_H
#define VORN_ONU_PROGRAM_BOARD_H

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "living/LineSocket.h"
#include "living/LiveBoard.h"
#include "running/program/RunFolder.h"

namespace vorn_onu {

// Requests go to the process whose board the snapshot shows, one at a time.
class ProgramBoard : public living::LiveBoard {
public:
    // Listens in the run's folder from now on. Throws std::runtime_error.
    ProgramBoard(const RunFolder& folder, std::vector<std::string> program);
    ~ProgramBoard() override;
    ProgramBoard(const ProgramBoard&) = delete;
    ProgramBoard& operator=(const ProgramBoard&) = delete;

    std::string ask(const Json& request) override;
    nlohmann::json about() override;
    // The program has ended: nobody waits for it any more.
    void end();

private:
    struct Relay {
        explicit Relay(int descriptor);
        living::LineSocket socket;
        pid_t process = 0;
        std::string program;
        bool answers = false;  // the last request, which it got on an earlier connection
        std::uint64_t number = 0;
        bool silent = false;  // it has not answered the last time
    };
    using RelayPointer = std::shared_ptr<Relay>;
    void acceptRelays();
    void take(int descriptor);
    RelayPointer chosen() const;
    void waitForRelay();
    RelayPointer nextOf(pid_t process, std::uint64_t number);
    void forget(const RelayPointer& relay);
    // The answer with this number; false when the connection has ended. Throws a Refusal when it takes too long.
    static bool readAnswer(Relay& relay, std::uint64_t number, std::string& answer);

    const RunFolder& folder_;
    std::vector<std::string> program_;
    int listening_ = -1, wake_ = -1;
    std::thread accepting_;
    std::mutex asking_;         // one request at a time
    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable came_;
    std::map<pid_t, RelayPointer> relays_;
    std::uint64_t taken_ = 0;
    bool over_ = false;
    std::uint64_t asked_ = 0;  // with asking_
};

}  // namespace vorn_onu

#endif
