#include "Files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include <nlohmann/json.hpp>

#include "CharDevices.h"
#include "Core.h"
#include "Descriptors.h"
#include "Facilities.h"
#include "HostKernel.h"
#include "Network.h"
#include "RealLibc.h"
#include "Sysfs.h"

namespace virtual_onu::files {
namespace {

using descriptors::Kind;

// Kept apart from State: looked at on every open of the process.
constexpr std::array<const char*, 9> kDevicePaths = {
    "/sys/class/net",    "/proc/sys/net/ipv6/conf", "/proc/driver/i2c", "/proc/net/dev_extstats", "/var/mcpd.conf",
    "/var/mcpdTmp.conf", "/tmp/dhclient_interface", "/dev/laser_dev",   "/dev/ngpon2_stack",
};
std::atomic<bool> anyAdded{false};

struct State {
    std::string root;  // of the private directory; empty until it is needed
    pid_t owner = 0;   // the process that removes it
    bool exiting = false;
    std::set<std::string> added;    // paths that VirtualOnu::writeFile made device paths
    std::set<std::string> removed;  // character devices and kernel files that VirtualOnu::removeFile took away
    std::set<std::string> denied;
    std::map<std::string, std::string> replaced;  // kernel files with a content that the model does not know
    std::map<int, std::string> settled;           // attribute descriptor: content that the model has seen
};

State& state() {
    static State& theState = *new State;
    return theState;
}

// Doubled and trailing slashes fall away; links and ".." are not looked at, no program uses them on device paths.
std::string normal(const char* path) {
    std::string result;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c != '/' || result.empty() || result.back() != '/') result += *c;
    }
    while (result.size() > 1 && result.back() == '/') result.pop_back();
    return result;
}

bool isKernelFile(const std::string& path) {
    return sysfs::owns(path) && !network::hostKernel();
}

void removeRootAtExit() {
    const DeviceLock lock(deviceMutex());
    state().exiting = true;
    // A forked child that exits leaves the directory to its parent.
    if (state().root.empty() || state().owner != getpid()) return;
    std::error_code ignored;
    std::filesystem::remove_all(state().root, ignored);
    state().root.clear();
}

// The private directory, made on first use; empty when it cannot be made.
const std::string& root() {
    State& files = state();
    if (!files.root.empty() || files.exiting) return files.root;
    const char* base = std::getenv("TMPDIR");
    std::string path = std::string(base != nullptr && *base == '/' ? base : "/tmp") + "/virtual-onu.XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        std::fprintf(stderr, "virtual ONU: cannot make a private directory %s: %s\n", path.c_str(),
                     std::strerror(errno));
        return files.root;
    }
    files.root = path;
    files.owner = getpid();
    std::atexit(removeRootAtExit);
    return files.root;
}

// What went wrong with a file of the private directory; without that directory nothing is there.
int failure() {
    return state().root.empty() ? ENOENT : errno;
}

// Where a device path lives on the host; the folders above it are made. Only while there is a private directory: the
// path would be the host's own without it.
std::string privatePath(const std::string& path) {
    const std::string place = root() + path;
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(place).parent_path(), ignored);
    return place;
}

int applied(const std::string& path, const std::string& text) {
    const int error = sysfs::write(path, text);
    record(CallKind::File, "write", arguments(path, text), -error);
    return error;
}

std::string contentOf(int fd) {
    std::string content;
    std::array<char, 4096> part{};
    for (ssize_t n = 0; (n = pread(fd, part.data(), part.size(), static_cast<off_t>(content.size()))) > 0;) {
        content.append(part.data(), static_cast<std::size_t>(n));
    }
    return content;
}

void writeWhole(int fd, const std::string& content) {
    for (std::size_t done = 0; done < content.size();) {
        const ssize_t n = real::write(fd, content.data() + done, content.size() - done);
        if (n <= 0) return;
        done += static_cast<std::size_t>(n);
    }
}

// Makes the private folder of a kernel directory list exactly what the model lists.
void mirror(const std::string& path, const std::vector<sysfs::Entry>& entries) {
    const std::filesystem::path folder = privatePath(path + "/x").substr(0, root().size() + path.size());
    std::set<std::string> wanted;
    std::error_code ignored;
    for (const auto& entry : entries) {
        if (state().removed.count(path + "/" + entry.name) != 0) continue;
        wanted.insert(entry.name);
        const auto place = folder / entry.name;
        if (std::filesystem::is_directory(place, ignored) != entry.isDirectory) {
            std::filesystem::remove_all(place, ignored);
        }
        if (entry.isDirectory) {
            std::filesystem::create_directory(place, ignored);
        } else {
            const int fd = real::open(place.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC,
                                      sysfs::writable(path + "/" + entry.name) ? 0644 : 0444);
            if (fd >= 0) real::close(fd);
        }
    }
    std::vector<std::filesystem::path> surplus;
    for (const auto& item : std::filesystem::directory_iterator(folder, ignored)) {
        if (wanted.count(item.path().filename()) == 0) surplus.push_back(item.path());
    }
    for (const auto& item : surplus) std::filesystem::remove_all(item, ignored);
}

std::optional<std::string> kernelFile(const std::string& path) {
    if (state().removed.count(path) != 0) return std::nullopt;
    const auto replaced = state().replaced.find(path);
    if (replaced != state().replaced.end()) return replaced->second;
    return sysfs::read(path);
}

// A descriptor on text of its own, opened for reading only or for reading and writing.
int descriptorOn(const std::string& text, bool readOnly, int flags) {
    const int memory = memfd_create("device-file", MFD_CLOEXEC);
    if (memory < 0) return -errno;
    writeWhole(memory, text);
    if (!readOnly) {
        if ((flags & O_CLOEXEC) == 0) fcntl(memory, F_SETFD, 0);
        lseek(memory, 0, SEEK_SET);
        return memory;
    }
    const std::string self = "/proc/self/fd/" + std::to_string(memory);
    const int fd = real::open(self.c_str(), O_RDONLY | (flags & O_CLOEXEC), 0);
    const int error = errno;
    real::close(memory);
    return fd < 0 ? -error : fd;
}

int openKernelDirectory(const std::string& path, int flags) {
    const auto entries = sysfs::list(path);
    if (!entries || state().removed.count(path) != 0) return -ENOENT;
    if ((flags & O_ACCMODE) != O_RDONLY) return -EISDIR;
    if (root().empty()) return -ENOENT;
    mirror(path, *entries);
    const int fd = real::open((root() + path).c_str(), O_RDONLY | O_DIRECTORY | (flags & O_CLOEXEC), 0);
    return fd < 0 ? -errno : fd;  // not kept in the table: closedir closes it without our seeing it
}

int openKernelFile(const std::string& path, int flags) {
    const auto content = kernelFile(path);
    if (!content) {
        const int fd = openKernelDirectory(path, flags);
        // Nothing can be made in the kernel's directories.
        return fd == -ENOENT && (flags & O_CREAT) != 0 ? -EACCES : fd;
    }
    if ((flags & O_DIRECTORY) != 0) return -ENOTDIR;
    const bool readOnly = (flags & O_ACCMODE) == O_RDONLY;
    if (!readOnly && !sysfs::writable(path)) return -EACCES;
    const bool empty = (flags & O_ACCMODE) == O_WRONLY;
    const int fd = descriptorOn(empty ? "" : *content, readOnly, flags);
    if (fd < 0) return fd;
    if (readOnly) return descriptors::adopt(fd, Kind::File, path);
    state().settled[fd] = empty ? "" : *content;
    return descriptors::adopt(fd, Kind::Attribute, path);
}

int openAnything(const std::string& path, int flags, mode_t mode) {
    if (state().denied.count(path) != 0) return -EACCES;
    if (isKernelFile(path)) return openKernelFile(path, flags);
    const Kind device = chardev::kindOf(path);
    if (device != Kind::NotOurs) {
        if (state().removed.count(path) != 0) return -ENOENT;
        const int fd = real::open("/dev/null", flags & ~(O_CREAT | O_EXCL | O_TRUNC), 0);
        return fd < 0 ? -errno : descriptors::adopt(fd, device, path);
    }
    if (root().empty()) return -ENOENT;
    const int fd = real::open(privatePath(path).c_str(), flags, mode);
    return fd < 0 ? -errno : descriptors::adopt(fd, Kind::File, path);
}

// Flags of open for a mode of fopen; -1 for a mode that fopen refuses.
int flagsOf(const char* mode) {
    const bool both = std::strchr(mode, '+') != nullptr;
    int flags = std::strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0;
    if (std::strchr(mode, 'x') != nullptr) flags |= O_EXCL;
    switch (mode[0]) {
        case 'r':
            return flags | (both ? O_RDWR : O_RDONLY);
        case 'w':
            return flags | (both ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
        case 'a':
            return flags | (both ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
        default:
            return -1;
    }
}

}  // namespace

bool owns(const char* path) {
    if (path == nullptr || path[0] != '/') return false;
    const std::string name = normal(path);
    for (const char* devicePath : kDevicePaths) {
        const std::size_t length = std::strlen(devicePath);
        if (name.compare(0, length, devicePath) != 0 || (name.size() != length && name[length] != '/')) continue;
        return !sysfs::owns(name) || !network::hostKernel();
    }
    if (!anyAdded.load(std::memory_order_acquire)) return false;
    const DeviceLock lock(deviceMutex());
    return state().added.count(name) != 0;
}

int open(const char* path, int flags, mode_t mode, const char* function) {
    const std::string name = normal(path);
    const auto fault = faultOf(function, name, std::strcmp(function, "open") == 0);
    int fd = fault ? -*fault : 0;
    if (!fault) {
        const DeviceLock lock(deviceMutex());
        fd = openAnything(name, flags, mode);
    }
    record(CallKind::File, function, arguments(name), fd < 0 ? fd : 0);
    return fd;
}

FILE* openStream(const char* path, const char* mode) {
    const int flags = flagsOf(mode);
    const int fd = flags < 0 ? -EINVAL : files::open(path, flags, 0666, "fopen");
    if (fd < 0) {
        errno = -fd;
        return nullptr;
    }
    FILE* stream = fdopen(fd, mode);
    if (stream == nullptr) {
        descriptors::forget(fd);
        real::close(fd);
    }
    return stream;
}

int settle(int fd) {
    if (descriptors::kindOf(fd) != Kind::Attribute) return 0;
    const std::string path = descriptors::pathOf(fd);
    std::string fresh = contentOf(fd);
    {
        const DeviceLock lock(deviceMutex());
        std::string& seen = state().settled[fd];
        if (fresh == seen) return 0;
        const std::string all = fresh;
        if (fresh.compare(0, seen.size(), seen) == 0) fresh.erase(0, seen.size());
        seen = all;
    }
    return applied(path, fresh);
}

ssize_t writeAttribute(int fd, const void* text, std::size_t size) {
    if (size == 0) return 0;  // never comes to the attribute
    const std::string content(static_cast<const char*>(text), size);
    const int error = applied(descriptors::pathOf(fd), content);
    return error != 0 ? -error : static_cast<ssize_t>(size);
}

int remove(const char* path, const char* function) {
    const std::string name = normal(path);
    int error = 0;
    if (const auto fault = faultOf(function, name, false)) {
        error = *fault;
    } else if (isKernelFile(name) || chardev::kindOf(name) != Kind::NotOurs) {
        error = EPERM;
    } else {
        const DeviceLock lock(deviceMutex());
        error = !root().empty() && real::remove(privatePath(name).c_str()) == 0 ? 0 : failure();
    }
    record(CallKind::File, function, arguments(name), -error);
    return error;
}

int rename(const char* from, const char* to) {
    const std::string source = normal(from);
    const std::string target = normal(to);
    int error = 0;
    if (const auto fault = faultOf("rename", source, false)) {
        error = *fault;
    } else if (!owns(from) || !owns(to)) {
        error = EXDEV;
    } else if (isKernelFile(source) || isKernelFile(target) || chardev::kindOf(source) != Kind::NotOurs ||
               chardev::kindOf(target) != Kind::NotOurs) {
        error = EPERM;
    } else {
        const DeviceLock lock(deviceMutex());
        const bool done =
            !root().empty() && real::rename(privatePath(source).c_str(), privatePath(target).c_str()) == 0;
        error = done ? 0 : failure();
    }
    record(CallKind::File, "rename", arguments(source, target), -error);
    return error;
}

std::optional<std::string> standIn(const char* path, int* error) {
    const DeviceLock lock(deviceMutex());
    const std::string name = normal(path);
    *error = state().denied.count(name) != 0 ? EACCES : ENOENT;
    if (*error == EACCES || state().removed.count(name) != 0) return std::nullopt;
    if (chardev::kindOf(name) != Kind::NotOurs) return "/dev/null";
    if (root().empty()) return std::nullopt;
    if (!isKernelFile(name)) return privatePath(name);
    if (const auto entries = sysfs::list(name)) {
        mirror(name, *entries);
        return root() + name;
    }
    if (!kernelFile(name)) return std::nullopt;
    const std::string folder = name.substr(0, name.rfind('/'));
    if (const auto entries = sysfs::list(folder)) mirror(folder, *entries);
    return privatePath(name);
}

int store(const std::string& path, const std::string& content, bool append) {
    const DeviceLock lock(deviceMutex());
    const std::string name = normal(path.c_str());
    if (state().denied.count(name) != 0) return EACCES;
    if (isKernelFile(name)) return kernelFile(name) ? sysfs::write(name, content) : ENOENT;
    if (sysfs::owns(name)) return host::writeKernelFile(name, content);
    if (chardev::kindOf(name) != Kind::NotOurs) return state().removed.count(name) != 0 ? ENOENT : 0;
    if (root().empty()) return ENOENT;
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
    const int fd = real::open(privatePath(name).c_str(), flags, 0666);
    if (fd < 0) return errno;
    writeWhole(fd, content);
    real::close(fd);
    return 0;
}

std::optional<std::string> load(const std::string& path) {
    const DeviceLock lock(deviceMutex());
    const std::string name = normal(path.c_str());
    if (isKernelFile(name)) return kernelFile(name);
    if (chardev::kindOf(name) != Kind::NotOurs || root().empty()) return std::nullopt;
    const int fd = real::open(privatePath(name).c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return std::nullopt;
    std::string content = contentOf(fd);
    real::close(fd);
    return content;
}

void reset() {
    const DeviceLock lock(deviceMutex());
    State& files = state();
    if (!files.root.empty()) {
        std::error_code ignored;
        for (const auto& item : std::filesystem::directory_iterator(files.root, ignored)) {
            std::filesystem::remove_all(item.path(), ignored);
        }
    }
    files.added.clear();
    files.removed.clear();
    files.denied.clear();
    files.replaced.clear();
    anyAdded.store(false, std::memory_order_release);
    chardev::reset();
}

nlohmann::json toJson() {
    const DeviceLock lock(deviceMutex());
    nlohmann::json contents = nlohmann::json::object();
    std::set<std::string> paths(kDevicePaths.begin(), kDevicePaths.end());
    paths.insert("/proc/driver/i2c/first_mac");
    paths.insert(state().added.begin(), state().added.end());
    for (const auto& path : paths) {
        if (isKernelFile(path) || state().root.empty()) continue;
        std::error_code ignored;
        if (std::filesystem::is_directory(state().root + path, ignored)) continue;
        if (const auto content = load(path)) contents[path] = *content;
    }
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
    if (leaf.rfind(kStatistics, 0) != 0) return false;
    VirtualOnu::instance().setStatistic(device, leaf.substr(sizeof kStatistics - 1),
                                        std::strtoull(firstLine.c_str(), nullptr, 10));
    return true;
}

}  // namespace

void VirtualOnu::writeFile(const std::string& devicePath, const std::string& content) {
    const DeviceLock lock(deviceMutex());
    const std::string path = files::normal(devicePath.c_str());
    files::state().removed.erase(path);
    if (files::isKernelFile(path)) {
        if (changeModel(path, content) || (sysfs::writable(path) && sysfs::write(path, content) == 0)) return;
        files::state().replaced[path] = content;
        return;
    }
    if (chardev::kindOf(path) != descriptors::Kind::NotOurs) return;
    if (!files::owns(path.c_str())) {
        files::state().added.insert(path);
        files::anyAdded.store(true, std::memory_order_release);
    }
    files::store(path, content, false);
}

std::optional<std::string> VirtualOnu::readFile(const std::string& devicePath) const {
    return files::load(devicePath);
}

void VirtualOnu::removeFile(const std::string& devicePath) {
    const DeviceLock lock(deviceMutex());
    const std::string path = files::normal(devicePath.c_str());
    if (files::isKernelFile(path) || chardev::kindOf(path) != descriptors::Kind::NotOurs) {
        files::state().removed.insert(path);
    } else if (!files::root().empty()) {
        real::remove(files::privatePath(path).c_str());
    }
}

void VirtualOnu::denyFile(const std::string& devicePath, bool denied) {
    const DeviceLock lock(deviceMutex());
    const std::string path = files::normal(devicePath.c_str());
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
