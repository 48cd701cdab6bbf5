// What became of scenarios, in the form in which CI systems read tests.
#ifndef VORN_ONU_JUNIT_H
#define VORN_ONU_JUNIT_H

#include <string>
#include <vector>

namespace vorn_onu {

struct ScenarioResult {
    std::string file, title;
    std::string problem;                // why it could not be run, or did not come to its end; "" when it ran
    bool isBadInput = false;            // the problem is one of the file
    std::size_t steps = 0;              // that ran
    std::vector<std::string> failures;  // the steps that failed, as the terminal shows them
    double seconds = 0;
    bool passed() const { return problem.empty() && failures.empty(); }
};

// "2 of 35 steps failed"
std::string failureWords(const ScenarioResult& result);

// JUnit's XML: one suite, a test case a scenario.
std::string junitReport(const std::vector<ScenarioResult>& results);

}  // namespace vorn_onu

#endif
