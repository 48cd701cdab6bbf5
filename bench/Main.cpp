// The library prints as it works; the benchmarks' table must stay readable and the printing must cost what it costs. So
// standard output goes to /dev/null and the table to the terminal's copy of it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    // Memory that is given back to the kernel and fetched again between two rounds is not what is measured.
    mallopt(M_TRIM_THRESHOLD, 512 << 20);
    mallopt(M_MMAP_THRESHOLD, 512 << 20);

    const int terminal = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY);
    if (terminal < 0 || nowhere < 0) return 1;
    std::ofstream table("/proc/self/fd/" + std::to_string(terminal));
    std::fflush(stdout);
    dup2(nowhere, STDOUT_FILENO);

    benchmark::ConsoleReporter reporter(isatty(terminal) != 0 ? benchmark::ConsoleReporter::OO_Defaults
                                                              : benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&table);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
