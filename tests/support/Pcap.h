// Captures in the format of libpcap.
#ifndef TESTS_PCAP_H
#define TESTS_PCAP_H

#include <cstdint>
#include <string>
#include <vector>

// In this machine's byte order, a packet a millisecond from `begin` (in seconds) on: the same packets give the same
// file.
inline std::string pcapOf(const std::vector<std::vector<std::uint8_t>>& packets, std::uint32_t link = 1,
                          std::size_t begin = 0) {
    std::string file;
    const auto words = [&file](std::initializer_list<std::size_t> values) {
        for (const std::size_t value : values) {
            const auto word = static_cast<std::uint32_t>(value);
            file.append(reinterpret_cast<const char*>(&word), sizeof word);
        }
    };
    words({0xA1B2C3D4, 0x00040002, 0, 0, 65535, link});
    for (std::size_t number = 0; number < packets.size(); ++number) {
        const auto& packet = packets[number];
        words({begin + number / 1000, number % 1000 * 1000, packet.size(), packet.size()});
        file.append(packet.begin(), packet.end());
    }
    return file;
}

#endif
