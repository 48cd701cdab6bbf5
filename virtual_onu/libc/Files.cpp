#include "libc/Files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

#include "Core.h"
#include "Facilities.h"
#include "kernel/Sysfs.h"
#include "libc/CharDevices.h"
#include "libc/FileStore.h"
#include "real_libc/Descriptors.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::files {
namespace {

using descriptors::Kind;

struct OpenFile {
    Content content;      // of a plain file open for writing
    std::string settled;  // of an attribute: what the model has seen
};

// By descriptor; copies of a descriptor share the file.
std::map<int, std::shared_ptr<OpenFile>>& openFiles() {
    static auto& map = *new std::map<int, std::shared_ptr<OpenFile>>;
    return map;
}

// ---- descriptors on memory ----

std::string contentOf(int fd) {
    std::string content;
    std::array<char, 4096> part{};
    for (ssize_t n = 0; (n = pread(fd, part.data(), part.size(), static_cast<off_t>(content.size()))) > 0;) {
        content.append(part.data(), static_cast<std::size_t>(n));
    }
    return content;
}

std::string descriptorPath(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

// Open for reading and writing, whatever the program asked for: what it writes is read back.
int memoryWith(const std::string& text, int flags, mode_t mode) {
    const int fd = memfd_create("device-file", (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0);
    if (fd < 0) return -errno;
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = real::write(fd, text.data() + done, text.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    lseek(fd, 0, SEEK_SET);
    fchmod(fd, mode);
    if ((flags & O_APPEND) != 0) real::fcntl(fd, F_SETFL, reinterpret_cast<void*>(O_APPEND));
    return fd;
}

int readOnlyMemoryWith(const std::string& text, int flags) {
    const int memory = memoryWith(text, flags, 0444);
    if (memory < 0) return memory;
    const int fd = real::open(descriptorPath(memory).c_str(), O_RDONLY | (flags & O_CLOEXEC), 0);
    if (fd < 0) return memory;  // no /proc here: the program gets the more generous one
    real::close(memory);
    return fd;
}

bool isReadOnly(int flags) {
    return (flags & O_ACCMODE) == O_RDONLY;
}

// ---- directories ----

// A folder on the host with these entries; empty with errno set when there is no place for one.
std::string makeFolder(const std::vector<sysfs::Entry>& entries) {
    const char* base = std::getenv("TMPDIR");
    std::string folder = std::string(base != nullptr && *base == '/' ? base : "/tmp") + "/virtual-onu.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) return "";
    std::error_code ignored;
    for (const auto& entry : entries) {
        const std::string place = folder + "/" + entry.name;
        if (entry.isDirectory) {
            std::filesystem::create_directory(place, ignored);
        } else {
            const int fd = real::open(place.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            if (fd >= 0) real::close(fd);
        }
    }
    return folder;
}

void removeFolder(const std::string& folder) {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

int openFolder(const std::string& path, int flags) {
    const auto entries = list(path);
    if (!entries) return -ENOENT;
    if (!isReadOnly(flags)) return -EISDIR;
    const std::string folder = makeFolder(*entries);
    if (folder.empty()) return -errno;
    const int fd = real::open(folder.c_str(), O_RDONLY | O_DIRECTORY | (flags & O_CLOEXEC), 0);
    if (fd >= 0) return descriptors::adopt(fd, Kind::Directory, folder);
    const int error = errno;
    removeFolder(folder);
    return -error;
}

// ---- opening ----

int openKernelFile(const std::string& path, int flags) {
    const auto content = kernelFile(path);
    if (!content) {
        const int fd = openFolder(path, flags);
        // Nothing can be made in the kernel's directories.
        return fd == -ENOENT && (flags & O_CREAT) != 0 ? -EACCES : fd;
    }
    if ((flags & O_DIRECTORY) != 0) return -ENOTDIR;
    if (isReadOnly(flags)) {
        const int fd = readOnlyMemoryWith(*content, flags);
        return fd < 0 ? fd : descriptors::adopt(fd, Kind::File, path);
    }
    if (!sysfs::writable(path)) return -EACCES;
    // What is in the file is in the way of telling what the program writes to it.
    const std::string text = (flags & O_ACCMODE) == O_WRONLY ? "" : *content;
    const int fd = memoryWith(text, flags, 0644);
    if (fd < 0) return fd;
    openFiles()[fd] = std::make_shared<OpenFile>(OpenFile{nullptr, text});
    return descriptors::adopt(fd, Kind::Attribute, path);
}

int openPlainFile(const std::string& path, int flags, mode_t mode) {
    Content content = plainFile(path);
    if (content != nullptr && (flags & (O_CREAT | O_EXCL)) == (O_CREAT | O_EXCL)) return -EEXIST;
    if (content == nullptr && (flags & O_CREAT) == 0) return openFolder(path, flags);
    if ((flags & O_DIRECTORY) != 0) return -ENOTDIR;
    if (content == nullptr) content = makePlainFile(path);
    if ((flags & O_TRUNC) != 0) {
        content->clear();
        plainFileChanged(path);
    }
    const bool readOnly = isReadOnly(flags);
    const int fd = readOnly ? readOnlyMemoryWith(*content, flags) : memoryWith(*content, flags, mode);
    if (fd < 0) return fd;
    openFiles()[fd] = std::make_shared<OpenFile>(OpenFile{readOnly ? nullptr : content, ""});
    return descriptors::adopt(fd, Kind::File, path);
}

int openAnything(const std::string& path, int flags, mode_t mode) {
    if (isDenied(path)) return -EACCES;
    if (isKernelFile(path)) return openKernelFile(path, flags);
    const Kind device = chardev::kindOf(path);
    if (device == Kind::NotOurs) return openPlainFile(path, flags, mode);
    if (isRemoved(path)) return -ENOENT;
    const int fd = real::open("/dev/null", flags & ~(O_CREAT | O_EXCL | O_TRUNC), 0);
    return fd < 0 ? -errno : descriptors::adopt(fd, device, path);
}

int openLocked(const std::string& path, int flags, mode_t mode) {
    const DeviceAccess lock(deviceMutex());
    return openAnything(path, flags, mode);
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

// ---- writing ----

int applied(const std::string& path, const std::string& text) {
    const int error = sysfs::write(path, text);
    record(CallKind::File, "write", arguments(path, text), -error);
    return error;
}

// What the program has newly written to the attribute; nothing when the model has seen it all.
std::string unsettled(int fd) {
    const DeviceAccess lock(deviceMutex());
    std::string& settled = openFiles()[fd]->settled;
    const std::string all = contentOf(fd);
    if (all == settled) return "";
    const bool added = all.compare(0, settled.size(), settled) == 0;
    std::string fresh = added ? all.substr(settled.size()) : all;
    settled = all;
    return fresh;
}

}  // namespace

int open(const char* path, int flags, mode_t mode, const char* function) {
    const std::string name = normal(path);
    const auto fault = faultOf(function, name, std::strcmp(function, "open") == 0);
    const int fd = fault ? -*fault : openLocked(name, flags, mode);
    record(CallKind::File, function, arguments(name), std::min(fd, 0));
    return fd;
}

FILE* openStream(const char* path, const char* mode) {
    const int flags = flagsOf(mode);
    const int fd = flags < 0 ? -EINVAL : files::open(path, flags, 0644, "fopen");
    if (fd < 0) {
        errno = -fd;
        return nullptr;
    }
    FILE* stream = fdopen(fd, mode);
    if (stream == nullptr) {
        closed(fd, descriptors::kindOf(fd));
        real::close(fd);
    }
    return stream;
}

DIR* openDirectory(const char* path) {
    const int fd = openLocked(normal(path), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (fd >= 0) return fdopendir(fd);
    errno = -fd;
    return nullptr;
}

ssize_t write(int fd, const void* data, std::size_t size) {
    if (descriptors::kindOf(fd) == Kind::Attribute) {
        if (size == 0) return 0;  // never comes to the attribute
        const int error = applied(descriptors::pathOf(fd), std::string(static_cast<const char*>(data), size));
        return error != 0 ? -error : static_cast<ssize_t>(size);
    }
    const ssize_t written = real::write(fd, data, size);
    if (written < 0) return -errno;
    settle(fd);
    return written;
}

int settle(int fd) {
    const Kind kind = descriptors::kindOf(fd);
    if (kind == Kind::Attribute) {
        const std::string fresh = unsettled(fd);
        return fresh.empty() ? 0 : applied(descriptors::pathOf(fd), fresh);
    }
    if (kind != Kind::File) return 0;
    const DeviceAccess lock(deviceMutex());
    const auto file = openFiles().find(fd);
    if (file == openFiles().end() || file->second->content == nullptr) return 0;
    *file->second->content = contentOf(fd);
    plainFileChanged(descriptors::pathOf(fd));
    return 0;
}

void closed(int fd, Kind kind) {
    const DeviceAccess lock(deviceMutex());
    if (kind == Kind::Directory) removeFolder(descriptors::pathOf(fd));
    openFiles().erase(fd);
    descriptors::forget(fd);
}

void copied(int fd, int copy) {
    const DeviceAccess lock(deviceMutex());
    const auto file = openFiles().find(fd);
    if (file != openFiles().end()) openFiles()[copy] = file->second;
    descriptors::adopt(copy, descriptors::kindOf(fd), descriptors::pathOf(fd));
}

int remove(const char* path, const char* function) {
    const std::string name = normal(path);
    int error = 0;
    if (const auto fault = faultOf(function, name, false)) {
        error = *fault;
    } else if (isKernelFile(name) || chardev::kindOf(name) != Kind::NotOurs) {
        error = EPERM;
    } else {
        const DeviceAccess lock(deviceMutex());
        error = removePlainFile(name) ? 0 : ENOENT;
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
        const DeviceAccess lock(deviceMutex());
        error = renamePlainFile(source, target) ? 0 : ENOENT;
    }
    record(CallKind::File, "rename", arguments(source, target), -error);
    return error;
}

StandIn::StandIn(const char* path, For purpose) {
    const DeviceAccess lock(deviceMutex());
    const std::string name = normal(path);
    if (isDenied(name) || isRemoved(name)) {
        error_ = isDenied(name) ? EACCES : ENOENT;
    } else if (chardev::kindOf(name) != descriptors::Kind::NotOurs) {
        place_ = "/dev/null";
    } else if (const auto entries = list(name)) {
        if (purpose == For::List) folder_ = makeFolder(*entries);
        place_ = purpose == For::List ? folder_ : "/proc/self";  // a directory is all that is looked at
        if (place_.empty()) error_ = errno;
    } else if (const auto text = load(name)) {
        const bool readOnly = isKernelFile(name) && !sysfs::writable(name);
        fd_ = memoryWith(*text, O_CLOEXEC, readOnly ? 0444 : 0644);
        place_ = descriptorPath(fd_);
        if (fd_ < 0) error_ = -fd_;
    } else {
        error_ = ENOENT;
    }
}

StandIn::~StandIn() {
    if (fd_ >= 0) real::close(fd_);
    if (!folder_.empty()) removeFolder(folder_);
}

}  // namespace virtual_onu::files
