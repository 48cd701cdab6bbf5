// The frames of a capture, walked one by one.
#ifndef VORN_ONU_SEND_CAPTURE_H
#define VORN_ONU_SEND_CAPTURE_H

#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "running/capture/CaptureReader.h"
#include "running/capture/CaptureWriter.h"
#include "running/capture/FrameOutcomes.h"
#include "views/Terminal.h"

namespace vorn_onu {

struct CaptureRun {
    FrameOutcomes outcomes;
    std::uint64_t octets = 0;
    double seconds = 0;  // that it took
};

struct CaptureEntry {
    std::string port;                 // where the frames arrive,
    std::optional<unsigned> gemPort;  // or in which GEM port
};

// Bridges learn from the frames, and the time between them passes. What leaves goes to the writer, where there is one.
CaptureRun runCapture(CaptureReader& reader, const virtual_onu::FrozenDataPath& path, const CaptureEntry& entry,
                      CaptureWriter* writer);

std::string captureWords(const CaptureRun& run, const Terminal& terminal);
nlohmann::json captureJson(const CaptureRun& run, std::size_t step);

}  // namespace vorn_onu

#endif
