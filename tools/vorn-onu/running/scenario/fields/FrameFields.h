// Frames as scenarios and the command line write them.
#ifndef VORN_ONU_FRAME_FIELDS_H
#define VORN_ONU_FRAME_FIELDS_H

#include <optional>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

// A frame and where it arrives.
struct FrameInput {
    std::string from;                 // "sid0", "veip0", "gem 1001"
    std::optional<unsigned> gemPort;  // of "gem 1001"
    virtual_onu::Frame frame;

    std::string place() const;  // "sid0", "GEM port 1001"
    std::string text() const;   // "VID 100 p0, IPv4 from sid0"
    virtual_onu::Walk send(virtual_onu::VirtualOnu& onu, virtual_onu::Learning learning) const;
};

// What was sent and where it went.
struct SentFrame {
    FrameInput input;
    virtual_onu::Walk walk;
};

// {"from": "sid0", "tags": [{"vid": 100, "pbits": 5}], "etherType": "ipv4", ...}. Throws a Problem.
FrameInput frameInputOf(const Json& value);
Json frameInputSchema();

std::vector<virtual_onu::VlanTag> tagsOf(const Json& value);
Json tagsSchema();
std::uint16_t etherTypeOf(const Json& value);
Json etherTypeSchema();

Json frameJson(const virtual_onu::Frame& frame);
// {"leaves": [...], "dropped": [...], "hops": [...]}
Json walkJson(const virtual_onu::Walk& walk);

}  // namespace vorn_onu

#endif
