// What every fuzz target needs.
#ifndef FUZZ_EXPECT_H
#define FUZZ_EXPECT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What must hold whatever the input. Ends the process, which libFuzzer takes for a crash.
#define FUZZ_EXPECT(condition)                                                           \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

#endif
