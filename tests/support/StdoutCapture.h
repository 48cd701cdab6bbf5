// Collects what the library prints to standard output while the object lives.
#ifndef TESTS_STDOUT_CAPTURE_H
#define TESTS_STDOUT_CAPTURE_H

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

class StdoutCapture {
public:
    StdoutCapture() {
        flush();
        saved_ = dup(STDOUT_FILENO);
        file_ = std::tmpfile();
        dup2(fileno(file_), STDOUT_FILENO);
    }
    ~StdoutCapture() { stop(); }
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;

    // Ends the capture and answers the text.
    std::string stop() {
        if (file_ == nullptr) return text_;
        flush();
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
        std::rewind(file_);
        char buffer[4096];
        for (std::size_t n = 0; (n = std::fread(buffer, 1, sizeof buffer, file_)) > 0;) text_.append(buffer, n);
        std::fclose(file_);
        file_ = nullptr;
        return text_;
    }

private:
    static void flush() {
        std::cout.flush();
        std::fflush(stdout);
    }
    int saved_ = -1;
    std::FILE* file_ = nullptr;
    std::string text_;
};

// What the library prints during work.
template <typename Work>
std::string printedBy(Work&& work) {
    StdoutCapture capture;
    work();
    return capture.stop();
}

// What of it goes through the standard output stream; the rest goes where it always goes.
template <typename Work>
std::string streamedBy(Work&& work) {
    std::ostringstream taken;
    std::streambuf* const before = std::cout.rdbuf(taken.rdbuf());
    work();
    std::cout.rdbuf(before);
    return taken.str();
}

#endif
