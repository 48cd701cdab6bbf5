// vorn-onu at NAME serve: the page of a board that runs.
#include <poll.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "commands/AtTrying.h"
#include "commands/Commands.h"
#include "commands/EndingSignals.h"
#include "commands/ExecSummary.h"
#include "living/Client.h"
#include "views/page/HttpServer.h"

namespace vorn_onu {

int AtServeCommand::run() const {
    return tried("serve", [this] {
        if (!page::canServe()) throw Problem("this vorn-onu was built without the HTTP library (libcpp-httplib-dev)");
        living::Client(name).ask({{"do", "hello"}});  // there is such a board
        const int signals = endingSignals();
        if (signals < 0) throw std::runtime_error("signals cannot be waited for");
        page::HttpServer server(name, port, newBoard());
        server.start();
        print("The page of '" + name + "': " + server.link() + "\nSIGTERM or Ctrl-C ends it.\n");
        pollfd ending{signals, POLLIN, 0};
        while (poll(&ending, 1, -1) <= 0) continue;
        close(signals);
        return kHeld;
    });
}

}  // namespace vorn_onu
