#include "show/Capture.h"

#include <fstream>

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
constexpr std::uint64_t kMicrosecondsApart = 1000;

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

void Capture::add(const std::string& port, Direction direction, const std::vector<std::uint8_t>& frame,
                  const std::string& comment) {
    const auto [entry, isNew] = interfaceNumbers_.emplace(port, static_cast<std::uint32_t>(interfaces_.size()));
    if (isNew) interfaces_.push_back(port);
    frames_.push_back({entry->second, direction, frame, comment});
}

std::vector<std::uint8_t> Capture::bytes() const {
    Bytes file;
    file.block(kSectionHeader, sectionHeader());
    for (const std::string& name : interfaces_) file.block(kInterfaceDescription, interfaceDescription(name));
    std::uint64_t time = 0;
    for (const Captured& captured : frames_) {
        Bytes body;
        const auto length = static_cast<std::uint32_t>(captured.frame.size());
        body.u32(captured.interface);
        body.u32(static_cast<std::uint32_t>(time >> 32));
        body.u32(static_cast<std::uint32_t>(time));
        body.u32(length);
        body.u32(length);
        body.padded(captured.frame);
        if (!captured.comment.empty()) body.option(kOptionComment, captured.comment);
        Bytes flags;
        flags.u32(static_cast<std::uint32_t>(captured.direction));
        body.option(kOptionPacketFlags, flags.data);
        body.endOfOptions();
        file.block(kEnhancedPacket, body);
        time += kMicrosecondsApart;
    }
    return file.data;
}

bool Capture::write(const std::string& path) const {
    std::ofstream file(path, std::ios::binary);
    const auto content = bytes();
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    return static_cast<bool>(file.flush());
}

}  // namespace vorn_onu
