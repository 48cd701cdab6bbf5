// What sanitizers do not allow the programs under test.
#ifndef TESTS_SUPPORT_SANITIZED_H
#define TESTS_SUPPORT_SANITIZED_H

#include <string>

constexpr bool kSanitized = sizeof(VORN_SANITIZERS) > 1;
const bool kThreadsEndWithFork = std::string(VORN_SANITIZERS).find("thread") != std::string::npos;
constexpr const char* kWhyNoFork = "the thread sanitizer allows no new threads after a fork";

#endif
