// The instance numbers of another ONU: out of a capture with its MIB upload, out of a file, or as they were typed.
#ifndef VORN_ONU_LAYOUT_H
#define VORN_ONU_LAYOUT_H

#include <string>
#include <vector>

#include "living/MessageFile.h"
#include "omci/mib/Board.h"

namespace vorn_onu {

// What the answers to MIB upload next in the file say; empty lists where there are none.
omci::BoardNumbering layoutInUpload(const MessageFile& file);

// Words are KEY=VALUE or the name of a file with an object of such keys in JSON, later ones win. A value is an
// instance, a range or a list of both: "0x0A01", "0x0A01..0x0A04", "1,5..7". Keys: ethernetPorts, veips, tConts, ani,
// upstreamQueues, downstreamQueues; queues are shared out evenly, in order, among T-CONTs and among ports (Ethernet
// ports, then VEIPs). Throws std::invalid_argument with the word, or a FileProblem.
omci::BoardNumbering layoutOf(const std::vector<std::string>& words);

// "Ethernet ports 0x0A01 to 0x0A04, T-CONTs 0x8000 to 0x8007"; "" when nothing differs from the usual numbers.
std::string layoutWords(const omci::BoardNumbering& numbering);

}  // namespace vorn_onu

#endif
