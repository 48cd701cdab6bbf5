// Paths are looked at, removed, renamed.
#include <fcntl.h>

#include "Facilities.h"
#include "libc/Files.h"
#include "libc/interposed/Interposed.h"
#include "real_libc/RealLibc.h"

using namespace virtual_onu;

namespace {

// Looks at a path: the real function, on the path or on what stands in for it. A stand-in may be a link, and a device
// path never is one: ours tells the function to follow links.
template <typename Look>
int lookAt(const char* path, Look look) {
    if (!files::owns(path)) return look(path, false);
    const Answer answer;
    const files::StandIn standIn(path, files::StandIn::For::Look);
    if (standIn.error() != 0) return answer(-standIn.error());
    const int result = look(standIn.place(), true);
    return result < 0 ? result : answer(result);
}

int followed(int flags, bool ours) {
    return ours ? flags & ~AT_SYMLINK_NOFOLLOW : flags;
}

}  // namespace

extern "C" {

int onuRemove(const char* path) INTERPOSES(remove);
int onuRemove(const char* path) {
    if (!files::owns(path)) return real::remove(path);
    const Answer answer;
    return answer(-files::remove(path, "remove"));
}

int onuUnlink(const char* path) INTERPOSES(unlink);
int onuUnlink(const char* path) {
    if (!files::owns(path)) return real::unlink(path);
    const Answer answer;
    return answer(-files::remove(path, "unlink"));
}

int onuRename(const char* from, const char* to) INTERPOSES(rename);
int onuRename(const char* from, const char* to) {
    if (!files::owns(from) && !files::owns(to)) return real::rename(from, to);
    const Answer answer;
    return answer(-files::rename(from, to));
}

int onuAccess(const char* path, int mode) INTERPOSES(access);
int onuAccess(const char* path, int mode) {
    return lookAt(path, [&](const char* place, bool) { return real::access(place, mode); });
}

int onuFaccessat(int directory, const char* path, int mode, int flags) INTERPOSES(faccessat);
int onuFaccessat(int directory, const char* path, int mode, int flags) {
    return lookAt(path, [&](const char* place, bool) { return real::faccessat(directory, place, mode, flags); });
}

int onuStat(const char* path, struct stat* result) INTERPOSES(stat);
int onuStat(const char* path, struct stat* result) {
    return lookAt(path, [&](const char* place, bool) { return real::stat(place, result); });
}

// On 32-bit machines the two records differ.
int onuStat64(const char* path, struct stat64* result) INTERPOSES(stat64);
int onuStat64(const char* path, struct stat64* result) {
    return lookAt(path, [&](const char* place, bool) { return real::stat64(place, result); });
}

int onuLstat(const char* path, struct stat* result) INTERPOSES(lstat);
int onuLstat(const char* path, struct stat* result) {
    return lookAt(path, [&](const char* place, bool ours) {
        return ours ? real::stat(place, result) : real::lstat(place, result);
    });
}

int onuLstat64(const char* path, struct stat64* result) INTERPOSES(lstat64);
int onuLstat64(const char* path, struct stat64* result) {
    return lookAt(path, [&](const char* place, bool ours) {
        return ours ? real::stat64(place, result) : real::lstat64(place, result);
    });
}

int onuFstatat(int directory, const char* path, struct stat* result, int flags) INTERPOSES(fstatat);
int onuFstatat(int directory, const char* path, struct stat* result, int flags) {
    return lookAt(path, [&](const char* place, bool ours) {
        return real::fstatat(directory, place, result, followed(flags, ours));
    });
}

int onuFstatat64(int directory, const char* path, struct stat64* result, int flags) INTERPOSES(fstatat64);
int onuFstatat64(int directory, const char* path, struct stat64* result, int flags) {
    return lookAt(path, [&](const char* place, bool ours) {
        return real::fstatat64(directory, place, result, followed(flags, ours));
    });
}

int onuStatx(int directory, const char* path, int flags, unsigned mask, struct statx* result) INTERPOSES(statx);
int onuStatx(int directory, const char* path, int flags, unsigned mask, struct statx* result) {
    return lookAt(path, [&](const char* place, bool ours) {
        return real::statx(directory, place, followed(flags, ours), mask, result);
    });
}

}  // extern "C"
