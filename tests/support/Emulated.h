// What a build for another processor, run in an emulator, cannot try.
#ifndef TESTS_EMULATED_H
#define TESTS_EMULATED_H

#include <gtest/gtest.h>

#if defined(VORN_EMULATED)
#define SKIP_WHEN_EMULATED(why) GTEST_SKIP() << (why)
constexpr bool kEmulated = true;
#else
constexpr bool kEmulated = false;
#define SKIP_WHEN_EMULATED(why) static_cast<void>(why)
#endif

constexpr const char* kHostPrograms = "the host's programs are of another machine than the virtual ONU";
constexpr const char* kEmulatedFork = "the emulator does not follow threads that start after a fork";
constexpr const char* kEmulatedMutex = "the emulator does not give back the mutex of a process that was killed";
constexpr const char* kNoLibpcap = "a build for another processor does without libpcap";

#endif
