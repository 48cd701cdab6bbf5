#include "running/program/ProcessTree.h"

#include <dirent.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cctype>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

namespace vorn_onu {

namespace {

// "4711 (name) S 4700 4711 ...": state, parent, group. The name may hold anything, brackets too.
std::optional<Process> read(const std::string& id) {
    std::ifstream file("/proc/" + id + "/stat");
    std::string text;
    std::getline(file, text, '\0');  // an iterator of the buffer would throw where the process has ended
    const auto open = text.find('(');
    const auto close = text.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open) return std::nullopt;
    Process process;
    process.id = static_cast<pid_t>(std::stol(id));
    process.name = text.substr(open + 1, close - open - 1);
    char state = 0;
    std::istringstream rest(text.substr(close + 1));
    rest >> state >> process.parent >> process.group;
    const bool over = state == 'Z' || state == 'X';
    return rest && !over ? std::optional<Process>(process) : std::nullopt;
}

bool isNumber(const char* name) {
    return std::isdigit(static_cast<unsigned char>(*name)) != 0;
}

}  // namespace

void adoptOrphans() {
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

std::vector<Process> processesBelow() {
    std::multimap<pid_t, Process> byParent;
    DIR* folder = opendir("/proc");
    if (folder == nullptr) return {};
    while (const dirent* entry = readdir(folder)) {
        if (!isNumber(entry->d_name)) continue;
        if (const auto process = read(entry->d_name)) byParent.emplace(process->parent, *process);
    }
    closedir(folder);
    std::vector<Process> below;
    const auto addChildren = [&](pid_t parent) {
        const auto [first, last] = byParent.equal_range(parent);
        for (auto one = first; one != last; ++one) below.push_back(one->second);
    };
    addChildren(getpid());
    for (std::size_t i = 0; i < below.size(); ++i) addChildren(below[i].id);
    return below;
}

}  // namespace vorn_onu
