#include "running/program/Tail.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

namespace vorn_onu {

Tail::Tail(const std::string& path) : reader_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

Tail::~Tail() {
    if (reader_ >= 0) close(reader_);
}

void Tail::showNew() {
    char buffer[4096];
    bool any = false;
    for (ssize_t count = 0; (count = ::read(reader_, buffer, sizeof buffer)) > 0; any = true)
        std::cout.write(buffer, count);
    if (any) std::cout.flush();
}

}  // namespace vorn_onu
