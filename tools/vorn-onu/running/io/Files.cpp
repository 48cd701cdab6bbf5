#include "running/io/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace vorn_onu {

namespace {

std::string reason() {
    return std::generic_category().message(errno);
}

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

std::string directoryOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string sizeText(std::size_t bytes) {
    return std::to_string(bytes >> 20U) + " MB";
}

}  // namespace

std::string readFile(const std::string& path, std::size_t mostBytes) {
    const File file(std::fopen(path.c_str(), "rbe"));
    if (!file) throw FileProblem(path, "cannot be opened: " + reason());
    struct stat found {};
    if (fstat(fileno(file.get()), &found) == 0 && S_ISDIR(found.st_mode)) throw FileProblem(path, "is a directory");
    std::string content;
    char buffer[65536];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;) {
        content.append(buffer, count);
        if (content.size() > mostBytes) throw FileProblem(path, "is larger than " + sizeText(mostBytes));
    }
    if (std::ferror(file.get()) != 0) throw FileProblem(path, "cannot be read: " + reason());
    return content;
}

void checkWritable(const std::string& path) {
    if (path.empty()) return;
    struct stat found {};
    const bool exists = stat(path.c_str(), &found) == 0;
    if (exists && S_ISDIR(found.st_mode)) throw FileProblem(path, "cannot be written: is a directory");
    // What access() tells of an existing file is what open() will say; a new one needs its directory.
    const std::string asked = exists ? path : directoryOf(path);
    if (access(asked.c_str(), exists ? W_OK : W_OK | X_OK) != 0)
        throw FileProblem(path, "cannot be written: " + reason());
    if (!exists && (stat(asked.c_str(), &found) != 0 || !S_ISDIR(found.st_mode)))
        throw FileProblem(path, "cannot be written: " + asked + " is no directory");
}

void writeFile(const std::string& path, const std::string& content) {
    File file(std::fopen(path.c_str(), "wbe"));
    if (!file) throw FileProblem(path, "cannot be written: " + reason());
    const bool written =
        std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() && std::fflush(file.get()) == 0;
    const std::string why = reason();
    const bool closed = std::fclose(file.release()) == 0;
    if (!written || !closed) throw FileProblem(path, "cannot be written: " + (written ? reason() : why));
}

}  // namespace vorn_onu
