// Boards that can be reached, below a runtime directory of the test's own.
#ifndef TESTS_LIVING_BOARDS_H
#define TESTS_LIVING_BOARDS_H

#include <cstdlib>
#include <string>

#include "support/Process.h"
#include "tools/living/BoardClient.h"
#include "tools/vorn-onu/RunProgram.h"

class RuntimeDirectory {
public:
    RuntimeDirectory() { setenv("XDG_RUNTIME_DIR", path().c_str(), 1); }
    std::string path() const { return scratch_.file("").substr(0, scratch_.file("").size() - 1); }
    std::string socket(const std::string& name) const { return path() + "/vorn-onu/" + name + ".sock"; }

private:
    ScratchDirectory scratch_;
};

// Its board answers a step.
inline bool boardAnswers(const std::string& socket) {
    return becomesTrue([&] {
        BoardClient client(socket);
        const auto reply = client.connected() ? client.ask({{"do", "counters"}}) : nlohmann::json();
        return reply.is_object() && reply.value("ok", false);
    });
}

#endif
