// Whole text of a small system file (sysfs, procfs).
#ifndef HAL_FILE_TEXT_H
#define HAL_FILE_TEXT_H

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

// 0 with the content in text, or the errno value of the step that failed.
inline int readFileText(const char* path, std::string& text) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    text.clear();
    char block[1024];
    ssize_t got = 0;
    while ((got = read(fd, block, sizeof block)) > 0) text.append(block, static_cast<std::size_t>(got));
    const int error = got < 0 ? errno : 0;
    close(fd);
    return error;
}

#endif
