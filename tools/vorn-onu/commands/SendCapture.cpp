#include "commands/SendCapture.h"

#include <algorithm>
#include <chrono>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

std::string placeName(const virtual_onu::Exit& exit) {
    return exit.gemPort ? "GEM port " + std::to_string(*exit.gemPort) : exit.device;
}

}  // namespace

CaptureRun runCapture(CaptureReader& reader, const virtual_onu::FrozenDataPath& path, const CaptureEntry& entry,
                      CaptureWriter* writer) {
    const auto start = std::chrono::steady_clock::now();
    CaptureRun run;
    CaptureReader::Captured captured;
    virtual_onu::WireFrame wire;
    std::vector<std::uint8_t> out;
    std::uint64_t number = 0, lastMs = 0;
    while (reader.next(captured)) {
        ++number;
        run.octets += captured.wireSize;
        if (number > 1 && captured.timeMs > lastMs) path.pass(captured.timeMs - lastMs);
        lastMs = std::max(lastMs, captured.timeMs);
        if (!readFrame(captured.bytes, captured.size, captured.wireSize, wire)) {
            run.outcomes.addUnreadable(number, captured.wireSize);
            continue;
        }
        const virtual_onu::Walk walk =
            entry.gemPort ? path.sendFromPon(*entry.gemPort, wire.frame) : path.sendFromPort(entry.port, wire.frame);
        run.outcomes.add(walk, number, captured.wireSize);
        if (writer == nullptr) continue;
        for (const virtual_onu::Exit& exit : walk.exits) {
            writeFrame(exit.frame, captured.bytes, captured.size, wire.payloadAt, out);
            writer->add(placeName(exit), captured.timeMs, out);
        }
    }
    if (writer != nullptr) writer->finish();
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return run;
}

std::string captureWords(const CaptureRun& run, const Terminal& terminal) {
    std::string text;
    for (const FrameOutcome& outcome : run.outcomes.byFrequency()) {
        const std::string frames = std::to_string(outcome.frames) + (outcome.frames == 1 ? " frame" : " frames");
        text += "  " + (outcome.left ? terminal.green("✓") : terminal.red("✗")) + " " + terminal.bold(frames) + " " +
                outcome.words + "\n";
        if (outcome.example.empty()) continue;
        const std::string example = "such as number " + std::to_string(outcome.first) + ": " + outcome.example;
        for (const std::string& line : wrapped(example, terminal.width() - 6))
            text += "      " + terminal.dim(line) + "\n";
    }
    const std::uint64_t all = run.outcomes.frames();
    text += "\n  " + std::to_string(all) + " frames, " + std::to_string(run.octets) + " octets; " +
            std::to_string(run.outcomes.left()) + " left the device, " + std::to_string(all - run.outcomes.left()) +
            " did not\n";
    return text;
}

nlohmann::json captureJson(const CaptureRun& run, std::size_t step) {
    nlohmann::json outcomes = nlohmann::json::array();
    for (const FrameOutcome& outcome : run.outcomes.byFrequency())
        outcomes.push_back({{"left", outcome.left},
                            {"fate", outcome.words},
                            {"frames", outcome.frames},
                            {"octets", outcome.octets},
                            {"first", outcome.first},
                            {"example", outcome.example}});
    return {{"afterStep", step},           {"frames", run.outcomes.frames()}, {"octets", run.octets},
            {"left", run.outcomes.left()}, {"seconds", run.seconds},          {"fates", outcomes}};
}

}  // namespace vorn_onu
