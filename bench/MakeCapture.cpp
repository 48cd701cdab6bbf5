// Writes a capture for `vorn-onu send --pcap-in`:   vorn_capture FILE FRAMES
// Frames of a home's port by chance: IPv4 and IPv6 of several lengths, PPPoE, ARP, with the customer's VLAN and
// without.
#include <cstdio>
#include <cstdlib>
#include <random>

#include "VirtualOnu.h"
#include "running/capture/CaptureWriter.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    std::mt19937 chance{9};
    const auto upTo = [&](unsigned most) { return static_cast<unsigned>(chance()) % (most + 1); };
    vorn_onu::CaptureWriter writer(argv[1]);
    const long frames = std::strtol(argv[2], nullptr, 10);
    for (long i = 0; i < frames; ++i) {
        virtual_onu::Frame frame;
        constexpr std::uint16_t kTypes[] = {0x0800, 0x0800, 0x0800, 0x86DD, 0x0806, 0x8863};
        frame.etherType = kTypes[upTo(5)];
        if (frame.etherType == 0x0800 || frame.etherType == 0x86DD) {
            frame.ipProtocol = upTo(1) != 0 ? 6 : 17;
            frame.payloadSize = 60 + upTo(1400);
        }
        if (upTo(3) == 0) frame.tags.push_back({0x8100, static_cast<std::uint8_t>(upTo(7)), false, 20});
        frame.source = "02:00:5e:00:00:1" + std::to_string(upTo(9));
        writer.add("home", static_cast<std::uint64_t>(i) / 100, frame.bytes());
    }
    writer.finish();
    return 0;
}
