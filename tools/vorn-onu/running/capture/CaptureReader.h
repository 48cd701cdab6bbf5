// Frames of a capture file, pcap or pcapng, one after the other.
#ifndef VORN_ONU_CAPTURE_READER_H
#define VORN_ONU_CAPTURE_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vorn_onu {

class CaptureReader {
public:
    struct Captured {
        const std::uint8_t* bytes = nullptr;  // good until the next one is read
        std::size_t size = 0;                 // of what the file holds
        std::size_t wireSize = 0;             // of the frame when it was captured
        std::uint64_t timeMs = 0;
    };

    // Throws a FileProblem: no such file, no capture, or none of Ethernet frames.
    explicit CaptureReader(const std::string& path);
    ~CaptureReader();
    CaptureReader(const CaptureReader&) = delete;
    CaptureReader& operator=(const CaptureReader&) = delete;

    // False at the end. Throws a FileProblem where the file is damaged.
    bool next(Captured& captured);

private:
    struct Handle;
    std::string path_;
    std::unique_ptr<Handle> handle_;
};

}  // namespace vorn_onu

#endif
