// The programs that tests start and the scenarios that they start them with, where the build names them to the test.
#ifndef VORN_TESTS_PROGRAMS_H
#define VORN_TESTS_PROGRAMS_H

#include <string>

#ifdef VORN_ONU_BINARY
inline const std::string kTool = VORN_ONU_BINARY;
#endif
#ifdef EXAMPLE_DAEMON_BINARY
inline const std::string kDaemon = EXAMPLE_DAEMON_BINARY;
#endif
#ifdef TEST_DAEMON_BINARY
inline const std::string kTestDaemon = TEST_DAEMON_BINARY;
#endif
#ifdef VORN_SCENARIO_DIR
inline const std::string kScenarios = VORN_SCENARIO_DIR;
inline const std::string kInternet = kScenarios + "/internet.json";
#endif

#endif
