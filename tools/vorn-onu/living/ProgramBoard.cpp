#include "living/ProgramBoard.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include "OwnThread.h"
#include "living/Protocol.h"

namespace vorn_onu {

namespace {

using living::Got;
using living::Refusal;

constexpr int kRelayHelloMs = 1000;
constexpr int kAnswerMs = 10000;                               // a program that is stopped answers nothing
constexpr int kSilentMs = 200;                                 // and others wait behind whoever asks it
constexpr std::chrono::milliseconds kFirstTouch{3000};         // for a program that has just been started
constexpr std::chrono::milliseconds kAnotherConnection{3000};  // for one that closed what it did not know
constexpr int kWaiting = 16;

int listenAt(const std::string& path) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    if (path.size() >= sizeof place.sun_path) throw std::runtime_error(path + ": is too long for a socket");
    std::copy(path.begin(), path.end(), place.sun_path);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor >= 0 && bind(descriptor, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0 &&
        listen(descriptor, kWaiting) == 0)
        return descriptor;
    const std::string why = std::generic_category().message(errno);
    if (descriptor >= 0) close(descriptor);
    throw std::runtime_error(path + ": " + why);
}

}  // namespace

ProgramBoard::Relay::Relay(int descriptor) : socket(descriptor, living::kMaxReplyLength) {}

ProgramBoard::ProgramBoard(const RunFolder& folder, std::vector<std::string> program)
    : folder_(folder), program_(std::move(program)), listening_(listenAt(folder.file("board"))) {
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    accepting_ = virtual_onu::startThread([this] { acceptRelays(); });
}

ProgramBoard::~ProgramBoard() {
    eventfd_write(wake_, 1);
    accepting_.join();
    close(listening_);
    close(wake_);
}

void ProgramBoard::acceptRelays() {
    pollfd waits[] = {{listening_, POLLIN, 0}, {wake_, POLLIN, 0}};
    while (true) {
        poll(waits, 2, -1);
        if ((waits[1].revents & POLLIN) != 0) return;
        const int descriptor = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor >= 0) take(descriptor);
    }
}

void ProgramBoard::take(int descriptor) {
    auto relay = std::make_shared<Relay>(descriptor);
    std::string line;
    if (relay->socket.read(line, kRelayHelloMs) != Got::Line) return;
    const auto hello = nlohmann::json::parse(line, nullptr, false);
    if (!hello.is_object()) return;
    relay->process = hello.value("process", 0);
    relay->program = hello.value("program", "");
    relay->answers = hello.value("answers", false);
    const std::lock_guard<std::mutex> lock(mutex_);
    relay->number = ++taken_;
    relays_[relay->process] = relay;
    came_.notify_all();
}

// Of the process whose board is shown; before there is one, of the one that came last.
ProgramBoard::RelayPointer ProgramBoard::chosen() const {
    const auto shown = folder_.shown();
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = shown ? relays_.find(shown->process) : relays_.end();
    if (found != relays_.end()) return found->second;
    RelayPointer latest;
    for (const auto& entry : relays_)
        if (!latest || entry.second->number > latest->number) latest = entry.second;
    return latest;
}

// Not with others waiting behind: the program may never come to call the device.
void ProgramBoard::waitForRelay() {
    std::unique_lock<std::mutex> lock(mutex_);
    came_.wait_for(lock, kFirstTouch, [this] { return over_ || !relays_.empty(); });
}

// A later connection of the same process.
ProgramBoard::RelayPointer ProgramBoard::nextOf(pid_t process, std::uint64_t number) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto isThere = [&] {
        const auto found = relays_.find(process);
        return over_ || (found != relays_.end() && found->second->number > number);
    };
    if (kill(process, 0) != 0 && errno == ESRCH) return nullptr;
    return came_.wait_for(lock, kAnotherConnection, isThere) && !over_ ? relays_[process] : nullptr;
}

void ProgramBoard::forget(const RelayPointer& relay) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = relays_.find(relay->process);
    if (found != relays_.end() && found->second == relay) relays_.erase(found);
}

bool ProgramBoard::readAnswer(Relay& relay, std::uint64_t number, std::string& answer) {
    const std::string start = std::to_string(number) + " ";
    while (true) {
        const Got got = relay.socket.read(answer, relay.silent ? kSilentMs : kAnswerMs);
        relay.silent = got == Got::Nothing;
        if (got == Got::Nothing)
            throw Refusal("no-answer", relay.program + " (process " + std::to_string(relay.process) +
                                           ") does not answer; is it stopped?");
        if (got != Got::Line) return false;
        if (answer.compare(0, start.size(), start) != 0) continue;  // of a request that nobody waits for any more
        answer.erase(0, start.size());
        return true;
    }
}

void ProgramBoard::end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    over_ = true;
    came_.notify_all();
}

std::string ProgramBoard::ask(const Json& request) {
    waitForRelay();
    const std::lock_guard<std::mutex> alone(asking_);
    const std::uint64_t number = ++asked_;
    const std::string line =
        Json{{"seq", number}, {"request", request}}.dump(-1, ' ', true, Json::error_handler_t::replace);
    try {
        RelayPointer relay = chosen();
        bool asked = false;
        while (relay) {
            if (!asked) asked = relay->socket.write(line, kAnswerMs);
            std::string answer;
            if (asked && readAnswer(*relay, number, answer)) return answer;
            forget(relay);
            // What has been done already is not done again: the next connection brings the answer.
            const RelayPointer next = nextOf(relay->process, relay->number);
            asked = next && next->answers;
            relay = next ? next : chosen();
        }
        throw Refusal("no-board", "no process of the program has called the device yet, or those that have are gone");
    } catch (const Refusal& refusal) {
        return living::refusalText(refusal);
    }
}

nlohmann::json ProgramBoard::about() {
    nlohmann::json about = {{"kind", "exec"}, {"program", program_}, {"hal", false}};
    if (const auto relay = chosen()) about["board"] = {{"process", relay->process}, {"program", relay->program}};
    return about;
}

}  // namespace vorn_onu
