// Files and directories are opened.
#include <fcntl.h>

#include <cstdarg>

#include "Facilities.h"
#include "libc/Files.h"
#include "libc/interposed/Interposed.h"
#include "real_libc/Descriptors.h"
#include "real_libc/RealLibc.h"

using namespace virtual_onu;
using descriptors::Kind;

namespace {

mode_t modeBehind(int flags, va_list values) {
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? static_cast<mode_t>(va_arg(values, unsigned)) : 0;
}

int openPath(const char* path, int flags, mode_t mode) {
    if (!files::owns(path)) return real::open(path, flags, mode);
    const Answer answer;
    return answer(files::open(path, flags, mode, "open"));
}

int openPathAt(int directory, const char* path, int flags, mode_t mode) {
    if (!files::owns(path)) return real::openat(directory, path, flags, mode);
    const Answer answer;
    return answer(files::open(path, flags, mode, "open"));
}

FILE* openStream(const char* path, const char* mode) {
    if (!files::owns(path)) return real::fopen(path, mode);
    const int saved = errno;
    FILE* stream = files::openStream(path, mode);
    if (stream != nullptr) errno = saved;
    return stream;
}

// Lists a directory: the path's, or the one that stands in for it.
template <typename List>
int listAt(const char* path, List list) {
    if (!files::owns(path)) return list(path);
    const Answer answer;
    const files::StandIn standIn(path, files::StandIn::For::List);
    if (standIn.error() != 0) return answer(-standIn.error());
    const int result = list(standIn.place());
    return result < 0 ? result : answer(result);
}

}  // namespace

extern "C" {

int onuOpen(const char* path, int flags, ...) INTERPOSES(open);
int onuOpen(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPath(path, flags, mode);
}

int onuOpen64(const char* path, int flags, ...) INTERPOSES(open64);
int onuOpen64(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPath(path, flags | O_LARGEFILE, mode);
}

int onuOpenat(int directory, const char* path, int flags, ...) INTERPOSES(openat);
int onuOpenat(int directory, const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPathAt(directory, path, flags, mode);
}

int onuOpenat64(int directory, const char* path, int flags, ...) INTERPOSES(openat64);
int onuOpenat64(int directory, const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPathAt(directory, path, flags | O_LARGEFILE, mode);
}

// What fortified programs call when open has no mode.
int onuOpenChecked(const char* path, int flags) INTERPOSES(__open_2);
int onuOpenChecked(const char* path, int flags) {
    return openPath(path, flags, 0);
}

int onuOpen64Checked(const char* path, int flags) INTERPOSES(__open64_2);
int onuOpen64Checked(const char* path, int flags) {
    return openPath(path, flags | O_LARGEFILE, 0);
}

FILE* onuFopen(const char* path, const char* mode) INTERPOSES(fopen);
FILE* onuFopen(const char* path, const char* mode) {
    return openStream(path, mode);
}

FILE* onuFopen64(const char* path, const char* mode) INTERPOSES(fopen64);
FILE* onuFopen64(const char* path, const char* mode) {
    return openStream(path, mode);
}

DIR* onuOpendir(const char* path) INTERPOSES(opendir);
DIR* onuOpendir(const char* path) {
    if (!files::owns(path)) return real::opendir(path);
    const int saved = errno;
    DIR* stream = files::openDirectory(path);
    if (stream != nullptr) errno = saved;
    return stream;
}

int onuClosedir(DIR* stream) INTERPOSES(closedir);
int onuClosedir(DIR* stream) {
    const int fd = stream == nullptr ? -1 : dirfd(stream);
    const Kind kind = descriptors::kindOf(fd);
    if (kind != Kind::NotOurs) files::closed(fd, kind);
    return real::closedir(stream);
}

int onuScandir(const char* path, dirent*** names, real::DirentFilter filter, real::DirentOrder order)
    INTERPOSES(scandir);
int onuScandir(const char* path, dirent*** names, real::DirentFilter filter, real::DirentOrder order) {
    return listAt(path, [&](const char* place) { return real::scandir(place, names, filter, order); });
}

int onuScandir64(const char* path, dirent64*** names, real::Dirent64Filter filter, real::Dirent64Order order)
    INTERPOSES(scandir64);
int onuScandir64(const char* path, dirent64*** names, real::Dirent64Filter filter, real::Dirent64Order order) {
    return listAt(path, [&](const char* place) { return real::scandir64(place, names, filter, order); });
}

}  // extern "C"
