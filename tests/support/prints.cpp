// A library with the name of the HAL, which prints in all ways that a HAL may.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <iostream>

#ifdef __GLIBC__
extern "C" int __printf_chk(int flag, const char* format, ...);
extern "C" int __vprintf_chk(int flag, const char* format, std::va_list values);
extern "C" int __fprintf_chk(std::FILE* stream, int flag, const char* format, ...);
#endif

namespace {

__attribute__((format(printf, 2, 3))) void printList(std::FILE* stream, const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    std::vfprintf(stream, format, values);
    va_end(values);
    va_start(values, format);
    std::vprintf(format, values);
    va_end(values);
#ifdef __GLIBC__
    va_start(values, format);
    __vprintf_chk(1, format, values);
    va_end(values);
    __printf_chk(1, "printed: %d\n", __fprintf_chk(stream, 1, "%s!\n", "checked"));
#endif
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void printInAllWays() {
    for (std::FILE* stream : {stdout, stderr}) {
        const int sum = std::fprintf(stream, "%s%c", "one", '\n') + std::fputc('2', stream) + std::putc('\xe9', stream);
        const bool well = std::fputs("three %\n", stream) >= 0 && std::puts("four") >= 0;
        std::printf("%d %d %zu\n", sum, well ? 1 : 0, std::fwrite("five\n", 2, 2, stream));
        printList(stream, "%s %d\n", "listed", std::putchar('\xea'));
    }
    std::cout << "streamed " << 6 << '\n' << std::flush;
    for (const char* text : {"seven", "", static_cast<const char*>(nullptr)}) {
        errno = ENOENT;
        std::perror(text);
    }
}
