// A test program's main. With --part=K/N each Nth of its tests, from the Kth on, runs in a child process of its own, as
// if ctest had started the program for each: with a sanitizer or in an emulator a program takes long to start, a fork
// does not.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/FileContent.h"

namespace {

constexpr unsigned kMaxSeconds = 900;  // what a hang reaches, and nothing else

bool matchesOne(const std::string& patterns, const std::string& name) {
    std::istringstream all(patterns);
    for (std::string one; std::getline(all, one, ':');)
        if (fnmatch(one.c_str(), name.c_str(), 0) == 0) return true;
    return false;
}

// GoogleTest's own filter: "wanted:wanted-unwanted:unwanted".
bool isWanted(const std::string& filter, const std::string& name) {
    const auto dash = filter.find('-');
    const std::string wanted = filter.substr(0, dash);
    return (wanted.empty() || matchesOne(wanted, name)) &&
           (dash == std::string::npos || !matchesOne(filter.substr(dash + 1), name));
}

std::vector<std::string> wantedTests() {
    std::vector<std::string> names;
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *all.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j) {
            std::string name = std::string(suite.name()) + "." + suite.GetTestInfo(j)->name();
            if (isWanted(testing::GTEST_FLAG(filter), name)) names.push_back(std::move(name));
        }
    }
    return names;
}

// Shows what the test printed only when it failed or was skipped.
bool passesInAChild(const std::string& name) {
    const int output = memfd_create("output", MFD_CLOEXEC);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        alarm(kMaxSeconds);
        testing::GTEST_FLAG(filter) = name;
        std::exit(RUN_ALL_TESTS());
    }
    int status = -1;
    waitpid(child, &status, 0);
    const std::string text = contentOf(output);
    close(output);
    if (status != 0 || text.find("[  SKIPPED ]") != std::string::npos) std::fputs(text.c_str(), stdout);
    if (WIFSIGNALED(status)) std::printf("%s ended by signal %d\n", name.c_str(), WTERMSIG(status));
    return status == 0;
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    unsigned part = 0, parts = 0;
    if (argc < 2) return RUN_ALL_TESTS();
    if (std::sscanf(argv[1], "--part=%u/%u", &part, &parts) != 2 || part < 1 || part > parts) {
        std::fprintf(stderr, "Besides GoogleTest's options there is --part=K/N, not %s\n", argv[1]);
        return 2;
    }
    const std::vector<std::string> tests = wantedTests();
    std::vector<std::string> failed;
    for (std::size_t i = part - 1; i < tests.size(); i += parts)
        if (!passesInAChild(tests[i])) failed.push_back(tests[i]);
    for (const std::string& name : failed) std::printf("FAILED: %s\n", name.c_str());
    std::printf("%zu tests, %zu of them failed\n", (tests.size() + parts - part) / parts, failed.size());
    return failed.empty() ? 0 : 1;
}
