// The messages between an OLT and its ONU as a capture that opens in Wireshark and can be played again: pcapng,
// Ethernet frames of type 0x88b5, both directions.
#ifndef VORN_ONU_EXCHANGE_CAPTURE_H
#define VORN_ONU_EXCHANGE_CAPTURE_H

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "omci/message/Integrity.h"

namespace vorn_onu {

class ExchangeCapture {
public:
    explicit ExchangeCapture(const std::string& path);  // "" writes nothing; throws a FileProblem
    // A message as it went over the line, at this moment.
    void add(omci::Direction direction, omci::ByteView message);
    // Brings what was added into the file. Throws a FileProblem.
    void flush();

private:
    std::string path_;
    std::ofstream file_;
    std::vector<std::uint8_t> blocks_;  // not yet written
};

}  // namespace vorn_onu

#endif
