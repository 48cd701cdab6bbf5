// Messages as a capture of the management channel: pcap, Ethernet type 0x88b5.
#ifndef TESTS_OMCI_OLT_CAPTURE_FILE_H
#define TESTS_OMCI_OLT_CAPTURE_FILE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "omci/olt/Line.h"

namespace olt {

// Writes what goes over another line, one message a millisecond from the beginning of 2026 on: the same messages give
// the same file.
class CaptureWriter : public Line {
public:
    // Throws std::runtime_error when the file cannot be written.
    CaptureWriter(Line& line, const std::string& path);
    ~CaptureWriter() override;
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;
    std::optional<omci::Message> exchange(const omci::Message& request) override;

private:
    void write(const omci::Message& message);

    Line& line_;
    void* capture_;  // pcap_t
    void* file_;     // pcap_dumper_t
    std::uint64_t written_ = 0;
};

// The messages of a capture that this class has written; throws std::runtime_error for anything else.
std::vector<omci::Message> readCapture(const std::string& path);

}  // namespace olt

#endif
