// What a run of messages leaves in files.
#ifndef VORN_ONU_OMCI_FILES_H
#define VORN_ONU_OMCI_FILES_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "views/audit/Audit.h"
#include "living/Playing.h"
#include "commands/Commands.h"
#include "commands/FrameSending.h"
#include "running/state/DeviceState.h"

namespace vorn_onu {

struct OmciRun {
    std::string name;  // of the file
    DeviceState newBoard;
    std::vector<Played> messages;
    std::function<std::size_t(std::uint64_t)> numberOf;  // a message's number by the agent's
    std::optional<SentFrame> sent;
    std::vector<std::size_t> origins;  // for each hop of the sent frame the call that its rule came with
    std::vector<Return> returns;
    std::vector<std::vector<std::size_t>> returnOrigins;
    std::optional<audit::Result> audit;
    std::string sendCommand;  // that sends a frame through the same device

    std::vector<HalStep> calls() const;
};

std::string omciJson(const OmciRun& run, const nlohmann::json& device);
// A scenario that makes the same calls.
std::string recordedCalls(const OmciRun& run);
// The files that were asked for. Throws a FileProblem.
void writeOmciFiles(const OmciCommand& command, const OmciRun& run, const nlohmann::json& device);

}  // namespace vorn_onu

#endif
