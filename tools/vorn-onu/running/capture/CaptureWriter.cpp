#include "running/capture/CaptureWriter.h"

#include "running/capture/Pcapng.h"
#include "running/io/Files.h"

namespace vorn_onu {

CaptureWriter::CaptureWriter(const std::string& path) : path_(path), file_(path, std::ios::binary | std::ios::trunc) {
    if (!file_) throw FileProblem(path, "cannot be written");
    appendSectionHeader(blocks_);
}

void CaptureWriter::add(const std::string& port, std::uint64_t timeMs, const std::vector<std::uint8_t>& frame) {
    constexpr std::size_t kWriteAt = 1 << 18;
    const auto [entry, isNew] = interfaces_.emplace(port, static_cast<std::uint32_t>(interfaces_.size()));
    if (isNew) appendInterface(blocks_, port);
    appendPacket(blocks_, {entry->second, timeMs * 1000, PcapngPacket::Direction::Out, ""}, frame);
    if (blocks_.size() < kWriteAt) return;
    file_.write(reinterpret_cast<const char*>(blocks_.data()), static_cast<std::streamsize>(blocks_.size()));
    blocks_.clear();
}

void CaptureWriter::finish() {
    file_.write(reinterpret_cast<const char*>(blocks_.data()), static_cast<std::streamsize>(blocks_.size()));
    blocks_.clear();
    if (!file_.flush()) throw FileProblem(path_, "cannot be written");
}

}  // namespace vorn_onu
