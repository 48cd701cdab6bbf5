// Options of a log of messages: what is shown of which.
#ifndef VORN_ONU_LOG_OPTIONS_H
#define VORN_ONU_LOG_OPTIONS_H

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vorn_onu {

struct LogWords {
    bool &values, &bytes;
    std::vector<std::string>&classes, &instances, &types;
};

// condition: in front of each description, "with --log: ". needed: an option that they go with, or null.
void addLogOptions(CLI::App& command, const LogWords& words, const std::string& condition,
                   CLI::Option* needed = nullptr);

}  // namespace vorn_onu

#endif
