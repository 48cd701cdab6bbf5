#include "running/io/Output.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "running/io/Printed.h"

namespace vorn_onu {

namespace {

int firstError = 0;

}  // namespace

void print(std::FILE* stream, const std::string& text) {
    errno = 0;
    const bool written = std::fputs(printable(text).c_str(), stream) >= 0;
    const bool flushed = std::fflush(stream) == 0;
    if ((!written || !flushed) && firstError == 0) firstError = errno != 0 ? errno : EIO;
}

void print(const std::string& text) {
    print(stdout, text);
}

void complain(const std::string& text) {
    remark("vorn-onu: " + text);
}

void remark(const std::string& text) {
    std::fputs((oneLine(text) + "\n").c_str(), stderr);
}

void progress(const std::string& line) {
    if (isatty(STDERR_FILENO) != 1) return;
    constexpr const char* kLineAnew = "\r\x1b[K";
    std::fputs((kLineAnew + oneLine(line)).c_str(), stderr);
    std::fflush(stderr);
}

std::string lostOutput() {
    return firstError == 0 || firstError == EPIPE ? "" : std::generic_category().message(firstError);
}

}  // namespace vorn_onu
