#include "running/capture/Pcapng.h"

namespace vorn_onu {

namespace {

// pcapng, draft-ietf-opsawg-pcapng: little-endian blocks of type, length, body, length.
constexpr std::uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr std::uint32_t kInterfaceDescription = 1;
constexpr std::uint32_t kEnhancedPacket = 6;
constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr std::uint16_t kEthernet = 1;
constexpr std::uint16_t kOptionEnd = 0;
constexpr std::uint16_t kOptionComment = 1;
constexpr std::uint16_t kOptionInterfaceName = 2;
constexpr std::uint16_t kOptionPacketFlags = 2;
constexpr std::size_t kMaxCommentLength = 4096;  // the format lets an option have 65535 octets

class Bytes {
public:
    void u16(std::uint16_t value) {
        data.push_back(static_cast<std::uint8_t>(value));
        data.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    void u32(std::uint32_t value) {
        u16(static_cast<std::uint16_t>(value));
        u16(static_cast<std::uint16_t>(value >> 16));
    }
    template <typename Container>
    void padded(const Container& content) {
        data.insert(data.end(), content.begin(), content.end());
        while (data.size() % 4 != 0) data.push_back(0);
    }
    template <typename Container>
    void option(std::uint16_t code, const Container& content) {
        u16(code);
        u16(static_cast<std::uint16_t>(content.size()));
        padded(content);
    }
    void endOfOptions() {
        u16(kOptionEnd);
        u16(0);
    }
    void block(std::uint32_t type, const Bytes& body) {
        const auto length = static_cast<std::uint32_t>(body.data.size() + 12);
        u32(type);
        u32(length);
        padded(body.data);
        u32(length);
    }

    std::vector<std::uint8_t> data;
};

Bytes sectionHeader() {
    Bytes body;
    body.u32(kByteOrderMagic);
    body.u16(1);  // version 1.0
    body.u16(0);
    body.u32(0xFFFFFFFF);  // section length not given
    body.u32(0xFFFFFFFF);
    return body;
}

Bytes interfaceDescription(const std::string& name) {
    Bytes body;
    body.u16(kEthernet);
    body.u16(0);
    body.u32(0);  // no snapshot limit
    body.option(kOptionInterfaceName, name);
    body.endOfOptions();
    return body;
}

}  // namespace

void appendSectionHeader(std::vector<std::uint8_t>& file) {
    Bytes all;
    all.block(kSectionHeader, sectionHeader());
    file.insert(file.end(), all.data.begin(), all.data.end());
}

void appendInterface(std::vector<std::uint8_t>& file, const std::string& name) {
    Bytes all;
    all.block(kInterfaceDescription, interfaceDescription(name));
    file.insert(file.end(), all.data.begin(), all.data.end());
}

void appendPacket(std::vector<std::uint8_t>& file, const PcapngPacket& packet, const std::vector<std::uint8_t>& frame) {
    Bytes body;
    const auto length = static_cast<std::uint32_t>(frame.size());
    body.u32(packet.interface);
    body.u32(static_cast<std::uint32_t>(packet.timeUs >> 32));
    body.u32(static_cast<std::uint32_t>(packet.timeUs));
    body.u32(length);
    body.u32(length);
    body.padded(frame);
    if (!packet.comment.empty()) body.option(kOptionComment, packet.comment.substr(0, kMaxCommentLength));
    Bytes flags;
    flags.u32(static_cast<std::uint32_t>(packet.direction));
    body.option(kOptionPacketFlags, flags.data);
    body.endOfOptions();
    Bytes all;
    all.block(kEnhancedPacket, body);
    file.insert(file.end(), all.data.begin(), all.data.end());
}

}  // namespace vorn_onu
