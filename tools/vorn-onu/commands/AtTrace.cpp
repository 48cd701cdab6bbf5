// vorn-onu at NAME trace: the calls into the device, and those to come.
#include <nlohmann/json.hpp>

#include "commands/AtTrying.h"
#include "commands/Commands.h"
#include "living/Client.h"
#include "running/io/Output.h"
#include "running/state/DeviceState.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

constexpr int kLookMs = 1000;

bool isFailure(const nlohmann::json& entry) {
    return entry.value("kind", "") == "platform" && isFailedCall(entry.value("name", ""), entry.value("result", 0L));
}

class TraceOutput {
public:
    explicit TraceOutput(const AtTraceCommand& command) : command_(command), terminal_(Terminal::of(stdout)) {}
    void show(const nlohmann::json& entry) const {
        const bool failed = isFailure(entry);
        if (command_.failed && !failed) return;
        if (command_.json) {
            print(entry.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n");
            return;
        }
        const std::string text = callText(entry);
        print((failed ? terminal_.red(text) : text) + "\n");
    }

private:
    const AtTraceCommand& command_;
    Terminal terminal_;
};

// Until the board is gone, or nobody reads what is printed.
int follow(living::Client& client, std::uint64_t after, const TraceOutput& output) {
    client.ask({{"do", "subscribe"}, {"to", {"trace"}}, {"after", after}});
    while (lostOutput().empty()) {
        const auto event = client.next(kLookMs);
        if (!event) continue;
        const std::string what = event->value("event", "");
        if (what == "trace") {
            for (const nlohmann::json& entry : event->at("entries")) output.show(entry);
        } else if (what == "missed") {
            remark(std::to_string(event->value("entries", 0L)) + " calls came too fast to be shown");
        } else if (what == "board") {
            remark("another process's board from here on: " + std::to_string(event->value("process", 0)));
        } else if (what == "end") {
            remark("the board is gone: " + event->value("why", ""));
            break;
        }
    }
    return kHeld;
}

}  // namespace

std::string callText(const nlohmann::json& entry) {
    return entry.value("name", "") + "(" + entry.value("arguments", "") +
           ") = " + std::to_string(entry.value("result", 0L)) +
           (entry.value("injected", false) ? "  (a fault that was asked for)" : "");
}

int AtTraceCommand::run() const {
    return tried("trace", [this] {
        living::Client client(name);
        const TraceOutput output(*this);
        const auto traced = client.ask({{"do", "trace"}, {"most", 0}}).at("traced").get<std::uint64_t>();
        std::uint64_t after = last != 0 && last < traced ? traced - last : 0;
        while (after < traced && lostOutput().empty()) {
            const nlohmann::json reply = client.ask({{"do", "trace"}, {"after", after}});
            if (reply.at("entries").empty()) break;
            for (const nlohmann::json& entry : reply.at("entries")) {
                after = entry.at("number").get<std::uint64_t>();
                output.show(entry);
            }
        }
        return following ? follow(client, after, output) : kHeld;
    });
}

}  // namespace vorn_onu
