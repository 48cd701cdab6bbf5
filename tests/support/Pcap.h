// Captures in the format of libpcap.
#ifndef TESTS_PCAP_H
#define TESTS_PCAP_H

#include <cstdint>
#include <string>
#include <vector>

// In this machine's byte order, a packet a millisecond.
inline std::string pcapOf(const std::vector<std::vector<std::uint8_t>>& packets, std::uint32_t link = 1) {
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
        words({number / 1000, number % 1000 * 1000, packet.size(), packet.size()});
        file.append(packet.begin(), packet.end());
    }
    return file;
}

// The packets of such a file.
inline std::vector<std::vector<std::uint8_t>> packetsOf(const std::string& file) {
    constexpr std::size_t kFileHeader = 24, kPacketHeader = 16, kSizeAt = 8;
    std::vector<std::vector<std::uint8_t>> packets;
    for (std::size_t at = kFileHeader; at + kPacketHeader <= file.size();) {
        std::uint32_t size = 0;
        file.copy(reinterpret_cast<char*>(&size), sizeof size, at + kSizeAt);
        const std::string packet = file.substr(at + kPacketHeader, size);
        packets.emplace_back(packet.begin(), packet.end());
        at += kPacketHeader + size;
    }
    return packets;
}

#endif
