// The C library behind the interposed functions: the next definition after this library's own. All code of the virtual
// ONU that needs one of these functions calls it here, never by its plain name, which would come back to
// libc/interposed/.
#ifndef VIRTUAL_ONU_REAL_LIBC_H
#define VIRTUAL_ONU_REAL_LIBC_H

#include <dirent.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdio>
#include <ctime>

namespace virtual_onu::real {

int open(const char* path, int flags, mode_t mode);
int openat(int directory, const char* path, int flags, mode_t mode);
int close(int fd);
int closeRange(unsigned first, unsigned last, int flags);
void closefrom(int first);
int fcntl(int fd, int command, void* argument);
int dup(int fd);
int dup2(int fd, int target);
int dup3(int fd, int target, int flags);
ssize_t read(int fd, void* buffer, size_t size);
ssize_t write(int fd, const void* buffer, size_t size);
FILE* fopen(const char* path, const char* mode);
int fclose(FILE* stream);
int fflush(FILE* stream);
int remove(const char* path);
int unlink(const char* path);
int rename(const char* from, const char* to);
int access(const char* path, int mode);
int faccessat(int directory, const char* path, int mode, int flags);
int stat(const char* path, struct ::stat* result);
int lstat(const char* path, struct ::stat* result);
int fstatat(int directory, const char* path, struct ::stat* result, int flags);
int stat64(const char* path, struct ::stat64* result);
int lstat64(const char* path, struct ::stat64* result);
int fstatat64(int directory, const char* path, struct ::stat64* result, int flags);
int statx(int directory, const char* path, int flags, unsigned mask, struct ::statx* result);
DIR* opendir(const char* path);
int closedir(DIR* stream);
using DirentFilter = int (*)(const dirent*);
using DirentOrder = int (*)(const dirent**, const dirent**);
int scandir(const char* path, dirent*** list, DirentFilter filter, DirentOrder order);
using Dirent64Filter = int (*)(const dirent64*);
using Dirent64Order = int (*)(const dirent64**, const dirent64**);
int scandir64(const char* path, dirent64*** list, Dirent64Filter filter, Dirent64Order order);

int ioctl(int fd, unsigned long request, void* argument);
int socket(int domain, int type, int protocol);
int bind(int fd, const sockaddr* address, socklen_t length);
ssize_t send(int fd, const void* buffer, size_t size, int flags);
ssize_t sendto(int fd, const void* buffer, size_t size, int flags, const sockaddr* address, socklen_t length);
unsigned ifNameToIndex(const char* name);
char* ifIndexToName(unsigned index, char* name);

int system(const char* command);
FILE* popen(const char* command, const char* mode);
int pclose(FILE* stream);

void* dlopen(const char* file, int mode);

unsigned sleep(unsigned seconds);
int usleep(useconds_t microseconds);
int nanosleep(const timespec* length, timespec* rest);
int select(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout);

}  // namespace virtual_onu::real

#endif
