// What a run of messages leaves in files.
#ifndef VORN_ONU_OMCI_FILES_H
#define VORN_ONU_OMCI_FILES_H

#include <cstdio>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "commands/Commands.h"
#include "commands/FrameSending.h"
#include "living/Playing.h"
#include "running/state/DeviceState.h"
#include "views/audit/Audit.h"

namespace vorn_onu {

struct OmciRun {
    std::string name;  // of the file
    DeviceState newBoard;
    std::deque<std::shared_ptr<const Played>> messages;
    std::size_t before = 0;  // messages that there were before these, which are kept no more
    std::optional<SentFrame> sent;
    std::vector<std::size_t> origins;  // for each hop of the sent frame the call that its rule came with
    std::vector<Return> returns;
    std::vector<std::vector<std::size_t>> returnOrigins;
    std::optional<audit::Result> audit;
    std::string sendCommand;  // that sends a frame through the same device

    std::vector<HalStep> calls() const;
};

std::string omciJson(const OmciRun& run, const nlohmann::json& device);

// A scenario that makes the calls of a run, written as they come.
class CallRecording {
public:
    // Begins the file; "" records nothing. forwarding: what the HAL does, for who runs the recording; start: the
    // board's identity. Throws a FileProblem, here and below.
    CallRecording(const std::string& path, const std::string& name, const std::string& forwarding,
                  const BoardStart& start);
    void add(const HalStep& call);
    void finish();

private:
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void write(const std::string& text);

    std::string path_;
    std::unique_ptr<std::FILE, Closer> file_;
};

// The files that were asked for, without the recording. Throws a FileProblem.
void writeOmciFiles(const OmciCommand& command, const OmciRun& run, const nlohmann::json& device);

}  // namespace vorn_onu

#endif
