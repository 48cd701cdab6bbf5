#include "living/ExchangeCapture.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include "running/capture/Pcapng.h"
#include "running/io/Files.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxWaiting = std::size_t{256} * 1024;  // bytes
using Header = std::uint8_t[14];
// Addresses of nobody: the channel has none.
constexpr Header kDownstreamHeader = {2, 0, 0, 0, 0, 2, 2, 0, 0, 0, 0, 1, 0x88, 0xB5};
constexpr Header kUpstreamHeader = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x88, 0xB5};

}  // namespace

ExchangeCapture::ExchangeCapture(const std::string& path) : path_(path) {
    if (path_.empty()) return;
    file_.open(path_, std::ios::binary);
    appendSectionHeader(blocks_);
    appendInterface(blocks_, "omci");
    flush();
}

void ExchangeCapture::add(omci::Direction direction, omci::ByteView message) {
    if (path_.empty()) return;
    const bool down = direction == omci::Direction::kDownstream;
    const Header& header = down ? kDownstreamHeader : kUpstreamHeader;
    std::vector<std::uint8_t> frame(sizeof(Header) + message.size());
    std::copy(message.begin(), message.end(), std::copy(std::begin(header), std::end(header), frame.begin()));
    PcapngPacket packet;
    packet.timeUs = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count());
    packet.direction = down ? PcapngPacket::Direction::In : PcapngPacket::Direction::Out;
    appendPacket(blocks_, packet, frame);
    if (blocks_.size() >= kMaxWaiting) flush();
}

void ExchangeCapture::flush() {
    if (path_.empty() || blocks_.empty()) return;
    file_.write(reinterpret_cast<const char*>(blocks_.data()), static_cast<std::streamsize>(blocks_.size()));
    blocks_.clear();
    if (!file_.flush()) throw FileProblem(path_, "cannot be written");
}

}  // namespace vorn_onu
