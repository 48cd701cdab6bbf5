// The small part of the shell's language that commands of the device are written in: words with quotes, pipes,
// redirections, lists (";", "&&", "||") and a trailing "&".
#ifndef VIRTUAL_ONU_SHELL_TEXT_H
#define VIRTUAL_ONU_SHELL_TEXT_H

#include <optional>
#include <string>
#include <vector>

namespace virtual_onu::shell {

struct Redirection {
    int descriptor = 1;
    bool append = false;
    bool input = false;
    std::string target;  // a path, or "&1" and the like
};

struct Command {
    std::vector<std::string> words;
    std::vector<Redirection> redirections;
};

enum class ControlOperator { Always, AfterSuccess, AfterFailure };  // ";" and "&", "&&", "||"

struct Pipeline {
    std::vector<Command> commands;
    ControlOperator control = ControlOperator::Always;  // with the pipeline before
    bool background = false;
};

// Nothing for a text that needs more of the shell than this, such as variables and substitutions.
std::optional<std::vector<Pipeline>> parse(const std::string& text);

}  // namespace virtual_onu::shell

#endif
