// What an open file holds.
#ifndef TESTS_FILE_CONTENT_H
#define TESTS_FILE_CONTENT_H

#include <unistd.h>

#include <string>

// From its beginning, wherever others that share the descriptor have come to.
inline std::string contentOf(int descriptor) {
    std::string text;
    char block[4096];
    lseek(descriptor, 0, SEEK_SET);
    for (ssize_t got = 0; (got = read(descriptor, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(got));
    return text;
}

#endif
