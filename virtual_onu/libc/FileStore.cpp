#include "libc/FileStore.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <forward_list>
#include <map>
#include <set>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "kernel/HostKernel.h"
#include "kernel/Network.h"
#include "libc/CharDevices.h"
#include "libc/Files.h"
#include "real_libc/Descriptors.h"

namespace virtual_onu::files {
namespace {

using descriptors::Kind;

// Kept apart from State: looked at on every open of the process.
constexpr std::array<const char*, 10> kDevicePaths = {
    "/sys/class/net",          "/proc/sys/net/ipv6/conf",
    "/proc/driver/i2c",        "/proc/net/dev_extstats",
    "/var/mcpd.conf",          "/var/mcpdTmp.conf",
    "/tmp/dhclient_interface", "/dev/laser_dev",
    "/dev/ngpon2_stack",       "/proc/sys/kernel/random/boot_id",
};
constexpr std::size_t kKernelPaths = 2;  // the first of them are the kernel's
constexpr char kSplitStatistics[] = "/proc/net/dev_extstats";
constexpr char kBootId[] = "/proc/sys/kernel/random/boot_id";
constexpr char kPlainFolder[] = "/proc/driver/i2c";  // the only one above that holds plain files

// Paths that VirtualOnu::writeFile made device paths. Replaced as a whole: looked at without a lock.
std::atomic<const std::set<std::string>*> added{nullptr};

struct State {
    std::map<std::string, Content> plain;
    std::set<std::string> removed;
    std::set<std::string> denied;
    std::map<std::string, std::string> replaced;  // kernel files with a content that the model does not know
};

State& state() {
    static State& theState = *new State;
    return theState;
}

// What follows in the path behind a name that it begins with: its end or a slash. Null when it does not begin so.
// Slashes that occur several times count as one.
const char* behind(const char* path, const char* name) {
    for (; *name != '\0'; ++name, ++path) {
        if (*path != *name) return nullptr;
        while (*path == '/' && path[1] == '/') ++path;
    }
    return *path == '\0' || *path == '/' ? path : nullptr;
}

std::set<std::string> addedPaths() {
    const auto* now = added.load(std::memory_order_acquire);
    return now != nullptr ? *now : std::set<std::string>();
}

// With the device lock.
void setAddedPaths(std::set<std::string> paths) {
    if (paths == addedPaths()) return;
    // Somebody may be looking at the one before: none is destroyed.
    static auto& all = *new std::forward_list<std::set<std::string>>;
    all.push_front(std::move(paths));
    added.store(&all.front(), std::memory_order_release);
}

void addPath(const std::string& path) {
    std::set<std::string> paths = addedPaths();
    paths.insert(path);
    setAddedPaths(std::move(paths));
}

bool isCharacterDevice(const std::string& path) {
    return chardev::kindOf(path) != Kind::NotOurs;
}

}  // namespace

std::string normal(const char* path) {
    std::string result;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c != '/' || result.empty() || result.back() != '/') result += *c;
    }
    while (result.size() > 1 && result.back() == '/') result.pop_back();
    return result;
}

bool owns(const char* path) {
    if (path == nullptr || path[0] != '/') return false;
    for (std::size_t i = 0; i < kDevicePaths.size(); ++i)
        if (behind(path, kDevicePaths[i]) != nullptr) return i >= kKernelPaths || !network::hostKernel();
    const auto* more = added.load(std::memory_order_acquire);
    return more != nullptr && std::any_of(more->begin(), more->end(), [&](const std::string& one) {
               const char* rest = behind(path, one.c_str());
               return rest != nullptr && rest[std::strspn(rest, "/")] == '\0';
           });
}

bool isKernelFile(const std::string& path) {
    return sysfs::owns(path) && !network::hostKernel();
}
bool isDenied(const std::string& path) {
    return state().denied.count(path) != 0;
}
bool isRemoved(const std::string& path) {
    return state().removed.count(path) != 0;
}

std::optional<std::string> kernelFile(const std::string& path) {
    if (isRemoved(path)) return std::nullopt;
    const auto replaced = state().replaced.find(path);
    return replaced != state().replaced.end() ? replaced->second : sysfs::read(path);
}

Content plainFile(const std::string& path) {
    const auto found = state().plain.find(path);
    if (found != state().plain.end()) return found->second;
    if (isRemoved(path)) return nullptr;
    if (path == kBootId) return std::make_shared<std::string>(board::bootId() + "\n");
    if (path != kSplitStatistics) return nullptr;
    // Nobody has written it: what the devices have counted, once a frame has passed one.
    auto counted = network::splitStatistics();
    return counted ? std::make_shared<std::string>(std::move(*counted)) : nullptr;
}

void plainFileChanged(const std::string& path) {
    persistence::changed(persistence::kFiles, path);
}

Content makePlainFile(const std::string& path) {
    plainFileChanged(path);
    return state().plain[path] = std::make_shared<std::string>();
}

bool removePlainFile(const std::string& path) {
    plainFileChanged(path);
    return state().plain.erase(path) != 0;
}

bool renamePlainFile(const std::string& from, const std::string& to) {
    const Content content = plainFile(from);
    if (content == nullptr) return false;
    plainFileChanged(from);
    plainFileChanged(to);
    state().plain.erase(from);
    state().plain[to] = content;
    return true;
}

std::optional<std::vector<sysfs::Entry>> list(const std::string& path) {
    if (isRemoved(path)) return std::nullopt;
    if (isKernelFile(path)) {
        auto entries = sysfs::list(path);
        if (!entries) return std::nullopt;
        entries->erase(std::remove_if(entries->begin(), entries->end(),
                                      [&](const auto& entry) { return isRemoved(path + "/" + entry.name); }),
                       entries->end());
        return entries;
    }
    if (path != kPlainFolder) return std::nullopt;
    std::vector<sysfs::Entry> entries;
    const std::string start = path + "/";
    for (const auto& [name, content] : state().plain) {
        if (name.compare(0, start.size(), start) == 0) entries.push_back({name.substr(start.size()), false});
    }
    return entries;
}

// ---- for the shell ----

int store(const std::string& path, const std::string& text, bool append) {
    const DeviceAccess lock(deviceMutex());
    const std::string name = normal(path.c_str());
    if (isDenied(name)) return EACCES;
    if (isKernelFile(name)) return kernelFile(name) ? sysfs::write(name, text) : ENOENT;
    if (sysfs::owns(name)) return host::writeKernelFile(name, text);
    if (isCharacterDevice(name)) return isRemoved(name) ? ENOENT : 0;
    Content content = plainFile(name);
    if (content == nullptr) content = makePlainFile(name);
    *content = append ? *content + text : text;
    plainFileChanged(name);
    return 0;
}

std::optional<std::string> load(const std::string& path) {
    const DeviceAccess lock(deviceMutex());
    const std::string name = normal(path.c_str());
    if (isKernelFile(name)) return kernelFile(name);
    const Content content = plainFile(name);
    return content == nullptr ? std::nullopt : std::optional<std::string>(*content);
}

// ---- state ----

namespace {

struct PathsRecord {
    std::vector<std::string> added, removed, denied;
};

template <typename Record>
void describe(Record& record, PathsRecord& paths) {
    record.texts("added", paths.added);
    record.texts("removed", paths.removed);
    record.texts("denied", paths.denied);
}

std::map<std::string, std::string>& replacedInPlace() {
    return state().replaced;
}

struct Replaced : persistence::InMap<std::string, std::string, replacedInPlace> {
    template <typename Record>
    static void fields(Record& record, std::string& content) {
        record.text("content", content);
    }
};

struct Contents : Replaced {
    static std::vector<std::string> keys() { return persistence::keysOf(state().plain); }
    static std::optional<std::string> get(const std::string& path) {
        const auto found = state().plain.find(path);
        return found == state().plain.end() ? std::nullopt : std::optional<std::string>(*found->second);
    }
    // In place: open descriptors share the content.
    static void put(const std::string& path, std::string text) {
        Content& content = state().plain[path];
        if (content == nullptr) content = std::make_shared<std::string>();
        *content = std::move(text);
    }
    static void remove(const std::string& path) { state().plain.erase(path); }
};

struct Paths : persistence::Single<PathsRecord> {
    static PathsRecord get() {
        PathsRecord paths;
        const std::set<std::string> more = addedPaths();
        paths.added.assign(more.begin(), more.end());
        paths.removed.assign(state().removed.begin(), state().removed.end());
        paths.denied.assign(state().denied.begin(), state().denied.end());
        return paths;
    }
    static void put(const PathsRecord& paths) {
        setAddedPaths({paths.added.begin(), paths.added.end()});
        state().removed = {paths.removed.begin(), paths.removed.end()};
        state().denied = {paths.denied.begin(), paths.denied.end()};
    }
};

}  // namespace

persistence::Sections sections() {
    persistence::Sections all = {persistence::section<Contents>(persistence::kFiles),
                                 persistence::section<Replaced>(persistence::kReplaced),
                                 persistence::section<Paths>(persistence::kPaths), descriptors::section()};
    for (const persistence::Section* section : chardev::sections()) all.push_back(section);
    return all;
}

void reset() {
    const DeviceAccess lock(deviceMutex());
    state() = State{};
    added.store(nullptr, std::memory_order_release);
    chardev::reset();
}

nlohmann::json toJson() {
    const DeviceAccess lock(deviceMutex());
    nlohmann::json contents = nlohmann::json::object();
    for (const auto& [path, content] : state().plain) contents[path] = *content;
    return {{"contents", contents},
            {"removed", state().removed},
            {"denied", state().denied},
            {"openDescriptors", descriptors::openCount()},
            {"characterDevices", chardev::toJson()}};
}

}  // namespace virtual_onu::files

namespace virtual_onu {
namespace {

// Writes to a kernel file what only the device itself may change there; false for all other files.
bool changeModel(const std::string& path, const std::string& content) {
    constexpr char kRoot[] = "/sys/class/net/";
    if (path.rfind(kRoot, 0) != 0) return false;
    const std::string rest = path.substr(sizeof kRoot - 1);
    const std::size_t slash = rest.find('/');
    if (slash == std::string::npos) return false;
    const std::string device = rest.substr(0, slash);
    const std::string leaf = rest.substr(slash + 1);
    const std::string firstLine = content.substr(0, content.find('\n'));
    if (!VirtualOnu::instance().deviceExists(device)) return false;
    if (leaf == "operstate") {
        VirtualOnu::instance().setOperState(device, firstLine);
        return true;
    }
    constexpr char kStatistics[] = "statistics/";
    char* end = nullptr;
    const unsigned long long value = std::strtoull(firstLine.c_str(), &end, 10);
    if (leaf.rfind(kStatistics, 0) != 0 || firstLine.empty() || *end != '\0') return false;
    VirtualOnu::instance().setStatistic(device, leaf.substr(sizeof kStatistics - 1), value);
    return true;
}

}  // namespace

void VirtualOnu::writeFile(const std::string& devicePath, const std::string& content) {
    const DeviceAccess lock(deviceMutex());
    const std::string path = files::normal(devicePath.c_str());
    files::state().removed.erase(path);
    persistence::changed(persistence::kPaths);
    if (files::isKernelFile(path)) {
        files::state().replaced.erase(path);
        persistence::changed(persistence::kReplaced, path);
        if (changeModel(path, content) || (sysfs::writable(path) && sysfs::write(path, content) == 0)) return;
        files::state().replaced[path] = content;
        return;
    }
    if (files::isCharacterDevice(path)) return;
    if (!files::owns(path.c_str())) files::addPath(path);
    *files::makePlainFile(path) = content;
}

std::optional<std::string> VirtualOnu::readFile(const std::string& devicePath) const {
    return files::load(devicePath);
}

void VirtualOnu::removeFile(const std::string& devicePath) {
    const DeviceAccess lock(deviceMutex());
    const std::string path = files::normal(devicePath.c_str());
    if (files::isKernelFile(path) || files::isCharacterDevice(path)) {
        files::state().removed.insert(path);
        persistence::changed(persistence::kPaths);
    } else {
        files::removePlainFile(path);
    }
}

void VirtualOnu::denyFile(const std::string& devicePath, bool denied) {
    const DeviceAccess lock(deviceMutex());
    const std::string path = files::normal(devicePath.c_str());
    persistence::changed(persistence::kPaths);
    if (denied) {
        files::state().denied.insert(path);
    } else {
        files::state().denied.erase(path);
    }
}

int VirtualOnu::openDescriptors() const {
    return descriptors::openCount();
}

}  // namespace virtual_onu
