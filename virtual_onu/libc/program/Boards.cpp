#include "libc/program/Boards.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <optional>

#include <nlohmann/json.hpp>

#include "libc/program/OwnFile.h"
#include "libc/program/Program.h"
#include "libc/real/RealLibc.h"

namespace virtual_onu::boards {

namespace {

using nlohmann::json;
using program::settings;

// Held by one process of the run at a time.
class RunLock {
public:
    RunLock() : fd_(real::open((settings().runFolder + "/lock").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644)) {
        if (fd_ >= 0) flock(fd_, LOCK_EX);
    }
    ~RunLock() {
        if (fd_ >= 0) real::close(fd_);
    }
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

private:
    int fd_;
};

std::string shownFile() {
    return settings().runFolder + "/shown";
}
std::string keptFile(pid_t process) {
    return settings().runFolder + "/board." + std::to_string(process);
}
std::string keptState(pid_t process) {
    return settings().stateFile + "." + std::to_string(process);
}

std::optional<Board> shownBoard() {
    std::ifstream file(shownFile());
    const json text = json::parse(file, nullptr, false);
    if (!text.is_object()) return std::nullopt;
    Board board;
    board.process = text.value("process", 0);
    board.program = text.value("program", "");
    board.revision = text.value("revision", std::uint64_t{0});
    board.begun = text.value("begun", std::uint64_t{0});
    for (const json& one : text.value("ancestors", json::array()))
        board.ancestors.push_back({one.value("process", 0), one.value("revision", std::uint64_t{0})});
    return board;
}

void writeShown(const Board& board) {
    json ancestors = json::array();
    for (const Ancestor& one : board.ancestors)
        ancestors.push_back({{"process", one.process}, {"revision", one.revision}});
    const json text = {{"process", board.process},
                       {"program", board.program},
                       {"revision", board.revision},
                       {"begun", board.begun},
                       {"ancestors", ancestors}};
    const int fd = real::open(shownFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return;
    writeAll(fd, text.dump(-1, ' ', false, json::error_handler_t::replace));
    real::close(fd);
}

void keepAside(const Board& shown) {
    real::rename(settings().stateFile.c_str(), keptState(shown.process).c_str());
    real::rename(shownFile().c_str(), keptFile(shown.process).c_str());
}

}  // namespace

bool Board::holds(const Board& other) const {
    return std::any_of(ancestors.begin(), ancestors.end(), [&](const Ancestor& one) {
        return one.process == other.process && other.revision <= one.revision;
    });
}

bool show(const Board& own, const std::function<bool()>& put) {
    if (settings().runFolder.empty()) return (!own.changed() && !own.ancestors.empty()) || put();
    const RunLock lock;
    const auto shown = shownBoard();
    if (shown && shown->process != own.process) {
        if (!own.changed() || shown->holds(own)) return true;
        if (shown->changed() && !own.holds(*shown)) keepAside(*shown);
    }
    if (!put()) return false;
    writeShown(own);
    real::unlink(keptFile(own.process).c_str());
    real::unlink(keptState(own.process).c_str());
    return true;
}

}  // namespace virtual_onu::boards
