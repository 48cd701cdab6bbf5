// Commands that a program runs through the shell. The host's shell never sees them: a command is understood and acts on
// the model, or it is kept and flagged, and answered like a shell that does not know it.
#ifndef VIRTUAL_ONU_SHELL_H
#define VIRTUAL_ONU_SHELL_H

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace virtual_onu::shell {

constexpr int kNotFound = 127;  // exit status of a shell that does not know the command

// As the functions of the C library: wait status, stream, wait status.
int system(const char* command);
std::FILE* popen(const char* command, const char* mode);
bool ownsStream(std::FILE* stream);
int pclose(std::FILE* stream);

// ---- between the files of the shell ----

// One command on its way: what it is given and what comes of it.
struct Call {
    std::vector<std::string> words;
    std::string input;
    std::vector<std::string> pipeline;  // the texts of all commands that run at the same time
    std::string output;
    int status = 0;
};
using Tool = bool (*)(Call&);  // false: not understood, nothing was done

Tool findTool(const std::string& name);         // any tool, or null
Tool findNetworkTool(const std::string& name);  // ifconfig, brctl, ip

}  // namespace virtual_onu::shell

#endif
