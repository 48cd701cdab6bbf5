// The option --tap, of every command that has a board for a while.
#ifndef VORN_ONU_TAP_OPTIONS_H
#define VORN_ONU_TAP_OPTIONS_H

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vorn_onu {

CLI::Option* addTapOption(CLI::App& command, std::vector<std::string>& taps);

}  // namespace vorn_onu

#endif
