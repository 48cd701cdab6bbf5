// The tool's way to a board inside of somebody else's program.
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "SignalsBlocked.h"
#include "libc/program/Companion.h"
#include "living/LineSocket.h"
#include "living/Protocol.h"
#include "living/Session.h"
#include "running/io/JsonCheck.h"

namespace {

using nlohmann::json;
using vorn_onu::Json;
using namespace vorn_onu::living;

constexpr const char* kFolder = "VORN_ONU_RUN";
constexpr rlim_t kMaxNumber = 4096;  // the kernel keeps a table as long as the highest number
constexpr rlim_t kRoom = 64;
constexpr std::size_t kFrame = 100;  // bytes around a request
constexpr int kLookMs = 1000;        // how soon it is seen that the program has closed the connection
constexpr int kWriteMs = 10000;
constexpr int kTries = 30;  // of connecting, before the tool is taken for gone

std::string socketOfRun() {
    const char* folder = std::getenv(kFolder);  // NOLINT(concurrency-mt-unsafe): before main(), there is one thread
    return folder != nullptr ? std::string(folder) + "/board" : "";
}

// Descriptors are counted and closed by programs: this one's is a high one, and is known again before it is used.
// By statx, which the thread sanitizer does not take for a use of the descriptor.
struct Identity {
    std::uint64_t device = 0, inode = 0;
    static Identity of(int descriptor) {
        struct statx found {};
        const int error = errno;
        const bool open = syscall(SYS_statx, descriptor, "", AT_EMPTY_PATH, STATX_INO, &found) == 0;
        errno = error;
        if (!open) return {};
        return {std::uint64_t{found.stx_dev_major} << 32U | found.stx_dev_minor, found.stx_ino};
    }
    bool operator==(const Identity& other) const {
        return inode != 0 && device == other.device && inode == other.inode;
    }
};

struct Relay {
    std::string path = socketOfRun();
    std::atomic<bool> runs{false};
    std::atomic<int> descriptor{-1};  // of the thread's connection, for a child that has it too
    std::atomic<std::uint64_t> device{0}, inode{0};
};
Relay& relay() {
    static Relay& one = *new Relay;
    return one;
}

// A high number for the connection; -1 when the program has taken the number meanwhile, which is then left alone.
int raised(int descriptor, const Identity& identity) {
    rlimit limit{};
    const rlim_t end = getrlimit(RLIMIT_NOFILE, &limit) == 0 ? std::min(limit.rlim_cur, kMaxNumber) : 0;
    if (end > 2 * kRoom) {
        const auto high = static_cast<int>(syscall(SYS_fcntl, descriptor, F_DUPFD_CLOEXEC, end - kRoom));
        if (high >= 0) {
            if (Identity::of(descriptor) == identity) syscall(SYS_close, descriptor);
            descriptor = high;
        }
    }
    return Identity::of(descriptor) == identity ? descriptor : -1;
}

void pause(int milliseconds) {
    poll(nullptr, 0, milliseconds);
}

// One connection to the tool. The program may close it behind our back and give its number to a file of its own: then
// it is given up without a touch.
class Connection {
public:
    // unsent: an answer that the connection before has not taken, or ""; it goes out first.
    static std::unique_ptr<Connection> make(const std::string& unsent) {
        const json hello = {
            {"process", getpid()}, {"program", program_invocation_short_name}, {"answers", !unsent.empty()}};
        for (int i = 0; i < kTries; ++i) {
            const int descriptor = connectTo(relay().path);
            if (descriptor >= 0) {
                // Known from here on: a moment later the number may be the program's.
                const Identity identity = Identity::of(descriptor);
                std::unique_ptr<Connection> made(new Connection(raised(descriptor, identity), identity));
                if (made->write(replyText(hello)) && (unsent.empty() || made->write(unsent))) return made;
            } else if (errno == ENOENT || errno == ECONNREFUSED) {
                return nullptr;  // the tool has gone
            }
            pause(kLookMs);
        }
        return nullptr;
    }
    ~Connection() {
        relay().descriptor = -1;
        if (!isOurs()) socket_.letGo();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // False when the connection is of no use any more.
    bool read(std::string& line) {
        while (isOurs()) {
            const Got got = socket_.read(line, kLookMs);
            if (got == Got::Line) return true;
            if (got != Got::Nothing) return false;
        }
        return false;
    }
    bool write(const std::string& line) { return isOurs() && socket_.write(line, kWriteMs); }

private:
    Connection(int descriptor, const Identity& identity)
        : socket_(descriptor, kMaxRequestLength + kFrame), identity_(identity) {
        relay().device = identity_.device;
        relay().inode = identity_.inode;
        relay().descriptor = descriptor;
    }
    bool isOurs() const { return Identity::of(socket_.descriptor()) == identity_; }

    LineSocket socket_;
    Identity identity_;
};

// {"seq": 7, "request": {...}} is answered by "7 {...}".
std::string answerTo(Session& session, const std::string& line) {
    const Json asked = Json::parse(line, nullptr, false);
    if (!asked.is_object() || !asked.contains("seq") || !asked.contains("request")) return "";
    const Json& request = asked["request"];
    std::string answer = asked["seq"].dump() + " " + session.answer(request);
    const Json what = request.is_object() && request.contains("do") ? request["do"] : Json();
    if (what == "step" || what == "send") virtual_onu::program::deviceChanged();
    return answer;
}

void* serve(void* /*unused*/) {
    Session session(virtual_onu::VirtualOnu::instance(), nullptr);
    std::string line, answer;
    while (const auto connection = Connection::make(answer)) {
        answer.clear();
        while (connection->read(line)) {
            answer = answerTo(session, line);
            if (answer.empty() || !connection->write(answer)) break;
            answer.clear();
        }
    }
    return nullptr;
}

// On the program's own thread: it goes on as it was.
void touched() {
    if (relay().runs.load(std::memory_order_relaxed) || relay().runs.exchange(true)) return;
    const int error = errno;
    {
        const virtual_onu::SignalsBlocked blocked;
        pthread_t thread{};
        if (pthread_create(&thread, nullptr, serve, nullptr) == 0) pthread_detach(thread);
    }
    errno = error;
}

// The child has no such thread yet, and its parent's connection is its parent's.
void afterForkInChild() {
    Relay& own = relay();
    const int descriptor = own.descriptor.exchange(-1);
    if (descriptor >= 0 && Identity::of(descriptor) == Identity{own.device, own.inode}) syscall(SYS_close, descriptor);
    own.runs = false;
}

__attribute__((constructor)) void begin() {
    if (relay().path.empty()) return;
    pthread_atfork(nullptr, nullptr, afterForkInChild);
    virtual_onu::program::onTouch(touched);
}

}  // namespace
