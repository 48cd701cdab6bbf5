#include "libc/program/Boards.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include <nlohmann/json.hpp>

#include "libc/program/BriefFile.h"
#include "libc/program/Program.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::boards {

namespace {

using nlohmann::json;
using program::settings;

// Held by one process of the run at a time.
class RunLock {
public:
    RunLock() : file_(settings().runFolder + "/lock", O_WRONLY | O_CREAT) { file_.lock(); }

private:
    BriefFile file_;
};

std::string shownFile() {
    return settings().runFolder + "/shown";
}
std::string keptFile(pid_t process) {
    return settings().runFolder + "/board." + std::to_string(process);
}
std::string keptState(pid_t process) {
    return settings().snapshotFile + "." + std::to_string(process);
}

std::optional<ProcessBoard> shownBoard() {
    const json text = json::parse(BriefFile(shownFile(), O_RDONLY).read(), nullptr, false);
    if (!text.is_object()) return std::nullopt;
    ProcessBoard board;
    board.process = text.value("process", 0);
    board.program = text.value("program", "");
    board.revision = text.value("revision", std::uint64_t{0});
    board.begun = text.value("begun", std::uint64_t{0});
    for (const json& one : text.value("ancestors", json::array()))
        board.ancestors.push_back({one.value("process", 0), one.value("revision", std::uint64_t{0})});
    return board;
}

void writeShown(const ProcessBoard& board) {
    json ancestors = json::array();
    for (const Ancestor& one : board.ancestors)
        ancestors.push_back({{"process", one.process}, {"revision", one.revision}});
    const json text = {{"process", board.process},
                       {"program", board.program},
                       {"revision", board.revision},
                       {"begun", board.begun},
                       {"ancestors", ancestors}};
    const std::string next = shownFile() + ".new";
    if (!BriefFile(next, O_WRONLY | O_CREAT | O_TRUNC).write(text.dump(-1, ' ', false, json::error_handler_t::replace)))
        return;
    real::rename(next.c_str(), shownFile().c_str());
}

// Under a second name, so that a process that is killed here leaves the first one as it was.
void keepAs(const std::string& file, const std::string& kept) {
    real::unlink(kept.c_str());
    if (link(file.c_str(), kept.c_str()) != 0) real::rename(file.c_str(), kept.c_str());
}

void keepAside(const ProcessBoard& shown) {
    keepAs(settings().snapshotFile, keptState(shown.process));
    keepAs(shownFile(), keptFile(shown.process));
}

}  // namespace

bool ProcessBoard::holds(const ProcessBoard& other) const {
    return std::any_of(ancestors.begin(), ancestors.end(), [&](const Ancestor& one) {
        return one.process == other.process && other.revision <= one.revision;
    });
}

bool show(const ProcessBoard& own, const std::function<bool()>& prepare, const std::function<bool()>& place) {
    if (settings().runFolder.empty()) return (!own.changed() && !own.ancestors.empty()) || (prepare() && place());
    const RunLock lock;
    const auto shown = shownBoard();
    const bool another = shown && shown->process != own.process;
    if (another && (!own.changed() || shown->holds(own))) return true;
    if (!prepare()) return false;
    const bool sharesBoard = !settings().boardFile.empty();
    if (another && shown->changed() && !own.holds(*shown) && !sharesBoard) keepAside(*shown);
    // In this order: whoever finds this board in the file, and ends the process for that, finds it named too.
    writeShown(own);
    if (!place()) return false;
    real::unlink(keptFile(own.process).c_str());
    real::unlink(keptState(own.process).c_str());
    return true;
}

}  // namespace virtual_onu::boards
