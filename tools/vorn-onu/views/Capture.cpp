#include "views/Capture.h"

#include <fstream>

#include "running/capture/Pcapng.h"

namespace vorn_onu {

namespace {

constexpr std::uint64_t kMicrosecondsApart = 1000;

}  // namespace

void Capture::add(const std::string& port, Direction direction, const std::vector<std::uint8_t>& frame,
                  const std::string& comment) {
    const auto [entry, isNew] = interfaceNumbers_.emplace(port, static_cast<std::uint32_t>(interfaces_.size()));
    if (isNew) interfaces_.push_back(port);
    frames_.push_back({entry->second, direction, frame, comment});
}

std::vector<std::uint8_t> Capture::bytes() const {
    std::vector<std::uint8_t> file;
    appendSectionHeader(file);
    for (const std::string& name : interfaces_) appendInterface(file, name);
    std::uint64_t timeUs = 0;
    for (const Captured& captured : frames_) {
        const auto direction =
            captured.direction == Direction::In ? PcapngPacket::Direction::In : PcapngPacket::Direction::Out;
        appendPacket(file, {captured.interface, timeUs, direction, captured.comment}, captured.frame);
        timeUs += kMicrosecondsApart;
    }
    return file;
}

bool Capture::write(const std::string& path) const {
    std::ofstream file(path, std::ios::binary);
    const auto content = bytes();
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    return static_cast<bool>(file.flush());
}

}  // namespace vorn_onu
