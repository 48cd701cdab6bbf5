// Libraries are loaded while the program runs. The HAL may be one of them, and has to meet the functions of this
// library.
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "libc/interposed/Interposed.h"
#include "libc/program/Program.h"
#include "real_libc/RealLibc.h"

using namespace virtual_onu;

namespace {

// The linker looks for a library along the path of the one that asks, and takes this one for the asker: so the asker's
// path is walked here. "" when it is not on it.
std::string onPathOf(const void* caller, const char* name) {
    Dl_info info{};
    void* asker = nullptr;
    if (dladdr1(caller, &info, &asker, RTLD_DL_LINKMAP) == 0 || asker == nullptr) return "";
    Dl_serinfo size{};
    if (dlinfo(asker, RTLD_DI_SERINFOSIZE, &size) != 0) return "";
    std::vector<Dl_serinfo> room(size.dls_size / sizeof(Dl_serinfo) + 1);  // the record goes on behind its end
    Dl_serinfo* path = room.data();
    path->dls_size = size.dls_size;
    path->dls_cnt = size.dls_cnt;
    if (dlinfo(asker, RTLD_DI_SERINFO, path) != 0) return "";
    const auto* folders = path->dls_serpath;
    for (unsigned i = 0; i < path->dls_cnt; ++i) {
        std::string file = std::string(folders[i].dls_name) + "/" + name;
        if (real::access(file.c_str(), R_OK) == 0) return file;
    }
    return "";
}

// Whether the linker would look for the file along a path.
bool isLookedFor(const char* file) {
    if (file == nullptr || *file == '\0' || std::strchr(file, '/') != nullptr) return false;
    void* loaded = real::dlopen(file, RTLD_LAZY | RTLD_NOLOAD);
    if (loaded != nullptr) dlclose(loaded);
    return loaded == nullptr;
}

// With this flag a library prefers the C library's own functions to those that interpose them.
int withoutDeepBinding(const char* file, int mode) {
    static std::atomic<bool> said{false};
    if ((mode & RTLD_DEEPBIND) == 0) return mode;
    if (!said.exchange(true))
        program::say(
            std::string(file != nullptr ? file : "the program") +
            " is loaded without RTLD_DEEPBIND, which would lead it to this machine's kernel past the virtual ONU");
    return mode & ~RTLD_DEEPBIND;
}

}  // namespace

extern "C" {

void* onuDlopen(const char* file, int mode) INTERPOSES(dlopen);
void* onuDlopen(const char* file, int mode) {
    mode = withoutDeepBinding(file, mode);
    void* library = nullptr;
    if (isLookedFor(file)) {
        const std::string found = onPathOf(__builtin_return_address(0), file);
        if (!found.empty()) library = real::dlopen(found.c_str(), mode);
    }
    if (library == nullptr) library = real::dlopen(file, mode);
    if (library != nullptr) program::librariesLoaded();
    return library;
}

}  // extern "C"
