// A program with libraries in front of it.
#ifndef VORN_ONU_LAUNCH_H
#define VORN_ONU_LAUNCH_H

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

namespace vorn_onu {

std::string environmentOf(const char* name);  // "" when it is not set

// The environment of the program: this one's, with what is set here.
class Environment {
public:
    Environment();
    void set(const std::string& name, const std::string& value);
    // The virtual ONU in front of everything else, and when they are wanted the recorder and the relay by which the
    // board is reached. False after a message.
    bool preload(bool recorder, bool relay);
    std::vector<char*> pointers();  // for exec; good as long as nothing is set

private:
    std::vector<std::string> entries_;
};

// Starts the program with these signals blocked, and with its standard output going to the tool's standard error when
// that is asked for. It is killed when this process is. Its process number, or 0 and why in *error.
pid_t launch(const std::vector<std::string>& program, Environment& environment, const sigset_t& blocked,
             bool outputToError, int* error);

}  // namespace vorn_onu

#endif
