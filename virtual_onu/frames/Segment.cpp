#include "frames/Segment.h"

#include <algorithm>
#include <cstring>

#include "frames/Protocols.h"

namespace virtual_onu {

bool Offload::operator==(const Offload& other) const {
    return cut == other.cut && ecn == other.ecn && checksum == other.checksum && checksumFrom == other.checksumFrom &&
           checksumPlace == other.checksumPlace && headers == other.headers && segmentOctets == other.segmentOctets;
}

namespace datapath {

namespace {

using namespace protocols;

constexpr std::size_t kUdpHeader = 8, kShortestTcp = 20;
constexpr std::size_t kTcpChecksum = 16, kUdpChecksum = 6;
constexpr std::uint8_t kFin = 0x01, kPsh = 0x08, kCwr = 0x80;  // flags of TCP

unsigned wordAt(const std::uint8_t* bytes) {
    return static_cast<unsigned>(bytes[0] << 8 | bytes[1]);
}

void putWord(std::uint8_t* bytes, std::size_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

// The sum of 16-bit words in one's complement (RFC 1071), in the processor's own byte order all the way.
class Sum {
public:
    void add(const std::uint8_t* bytes, std::size_t size) {
        std::uint32_t word = 0;
        for (; size >= sizeof word; bytes += sizeof word, size -= sizeof word) {
            std::memcpy(&word, bytes, sizeof word);
            sum_ += word;
        }
        word = 0;
        std::memcpy(&word, bytes, size);
        sum_ += word;
    }
    void addNumber(std::size_t value) {
        std::uint8_t bytes[2];
        putWord(bytes, value);
        add(bytes, sizeof bytes);
    }
    void take(std::size_t value) { addNumber(~value & 0xFFFF); }
    void put(std::uint8_t* place) const {
        const auto word = static_cast<std::uint16_t>(~folded());
        std::memcpy(place, &word, sizeof word);
    }
    // UDP's 0 says that there is no checksum; TCP takes either.
    void putTransport(std::uint8_t* place) const {
        put(place);
        if (place[0] == 0 && place[1] == 0) place[0] = place[1] = 0xFF;
    }

private:
    std::uint64_t folded() const {
        std::uint64_t sum = sum_;
        while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
        return sum;
    }
    std::uint64_t sum_ = 0;
};

// Where IPv6's headers end and this protocol begins; 0 for another one.
std::size_t behindIpv6(const std::uint8_t* ip, std::size_t size, std::uint8_t protocol) {
    constexpr std::uint8_t kRouting = 43, kDestinationOptions = 60;
    std::size_t at = kIpv6Header;
    std::uint8_t next = ip[6];
    while (next != protocol) {
        if ((next != kHopByHop && next != kRouting && next != kDestinationOptions) || at + 2 > size) return 0;
        next = ip[at];
        at += std::size_t{8} * (ip[at + 1] + std::size_t{1});
    }
    return at;
}

}  // namespace

bool Segment::read(const Offload& offload, const WireHeader& header, const WireSlot& slot) {
    offload_ = offload;
    frames_ = 1;
    etherType_ = header.tags.etherType;
    payloadSize_ = slot.payloadSize;
    if (!offload.checksum) return offload.cut == Offload::Cut::None;
    if (offload.checksumFrom < header.payloadAt) return false;
    transport_ = offload.checksumFrom - header.payloadAt;
    if (transport_ + offload.checksumPlace + 2 > payloadSize_) return false;
    return offload.cut == Offload::Cut::None || findContent(slot);
}

bool Segment::findContent(const WireSlot& slot) {
    const std::uint8_t* bytes = slot.payload;
    unsigned type = etherType_;
    ip_ = 0;
    for (; isTpid(static_cast<std::uint16_t>(type)) && ip_ + kTagOctets <= payloadSize_; ip_ += kTagOctets)
        type = wordAt(bytes + ip_ + 2);
    ipv6_ = type == kIpv6;
    const bool tcp = offload_.cut != Offload::Cut::Udp;
    if (type != kIpv4 && type != kIpv6) return false;
    if (tcp && ipv6_ != (offload_.cut == Offload::Cut::TcpIpv6)) return false;
    if (ip_ + (ipv6_ ? kIpv6Header : kIpv4Header) > payloadSize_) return false;
    const std::uint8_t* ip = bytes + ip_;
    const std::uint8_t protocol = tcp ? kTcp : kUdp;
    const std::size_t ipv4Header = (ip[0] & std::size_t{0xF}) * 4;
    const std::size_t behind = ipv6_ ? behindIpv6(ip, payloadSize_ - ip_, protocol)
                               : ip[9] == protocol && ipv4Header >= kIpv4Header ? ipv4Header
                                                                                : 0;
    if (behind == 0 || transport_ != ip_ + behind) return false;
    if (offload_.checksumPlace != (tcp ? kTcpChecksum : kUdpChecksum)) return false;
    if (transport_ + (tcp ? kShortestTcp : kUdpHeader) > payloadSize_) return false;
    const std::size_t transportHeader = tcp ? (bytes[transport_ + 12] >> 4) * std::size_t{4} : kUdpHeader;
    content_ = transport_ + transportHeader;
    if (transportHeader < (tcp ? kShortestTcp : kUdpHeader) || content_ >= payloadSize_) return false;
    if (content_ + kHeadroom + kHeaderOctets > Piece::kMaxHeaders || offload_.segmentOctets == 0) return false;
    const std::size_t content = payloadSize_ - content_;
    frames_ = static_cast<std::uint32_t>((content + offload_.segmentOctets - 1) / offload_.segmentOctets);
    if (frames_ == 1) offload_.cut = Offload::Cut::None;
    return true;
}

std::size_t Segment::contentOf(std::uint32_t number) const {
    const std::size_t from = std::size_t{number} * offload_.segmentOctets;
    return std::min<std::size_t>(offload_.segmentOctets, payloadSize_ - content_ - from);
}

std::size_t Segment::payloadOf(std::uint32_t number) const {
    return frames_ == 1 ? payloadSize_ : content_ + contentOf(number);
}

std::size_t Segment::payloadOf(std::uint32_t first, std::uint32_t frames) const {
    return (frames - 1) * payloadOf(first) + payloadOf(first + frames - 1);
}

std::uint32_t Segment::alikeFrom(std::uint32_t number) const {
    if (number + 1 >= frames_) return 1;
    return payloadOf(frames_ - 1) == payloadOf(number) ? frames_ - number : frames_ - 1 - number;
}

bool Segment::canStayWhole(const Tags& tags, const WireSlot& slot) const {
    for (std::size_t i = 0; i < tags.count; ++i)
        if (tags.tag[i].tpid != 0x8100 && tags.tag[i].tpid != 0x88A8) return false;
    if (tags.etherType != etherType_) return false;
    const std::size_t last = payloadOf(frames_ - 1), header = kHeaderOctets + kTagOctets * tags.count;
    return header + last >= kShortestFrame || slot.size - slot.payloadSize + last < kShortestFrame;
}

Offload Segment::behind(std::size_t header) const {
    Offload left = offload_;
    if (left.checksum) left.checksumFrom = static_cast<std::uint16_t>(header + transport_);
    if (left.cut != Offload::Cut::None) left.headers = static_cast<std::uint16_t>(header + content_);
    return left;
}

void Segment::finish(WireSlot& slot) {
    Sum sum;
    sum.add(slot.payload + transport_, payloadSize_ - transport_);
    sum.putTransport(slot.payload + transport_ + offload_.checksumPlace);
    offload_ = {};
}

void Segment::cut(const WireSlot& slot, const Tags& tags, std::uint32_t number, Piece& made) const {
    std::uint8_t* payload = made.room.data() + kHeadroom + kHeaderOctets;
    made.headerSize = writeHeader(tags, slot.frame, payload) + content_;
    made.headers = payload + content_ - made.headerSize;
    made.content = slot.payload + content_ + std::size_t{number} * offload_.segmentOctets;
    made.contentSize = contentOf(number);
    std::memcpy(payload, slot.payload, content_);
    std::uint8_t* ip = payload + ip_;
    std::uint8_t* transport = payload + transport_;
    const std::size_t whole = payloadSize_ - transport_, own = content_ - transport_ + made.contentSize;
    const bool isLast = number + 1 == frames_;
    if (ipv6_) {
        putWord(ip + 4, content_ - ip_ - kIpv6Header + made.contentSize);
    } else {
        putWord(ip + 2, content_ - ip_ + made.contentSize);
        putWord(ip + 4, wordAt(ip + 4) + number);
        putWord(ip + 10, 0);
        Sum sum;
        sum.add(ip, transport_ - ip_);
        sum.put(ip + 10);
    }
    if (offload_.cut == Offload::Cut::Udp) {
        putWord(transport + 4, own);
    } else {
        const std::size_t from = std::size_t{number} * offload_.segmentOctets;
        const std::size_t sequence = (std::size_t{wordAt(transport + 4)} << 16 | wordAt(transport + 6)) + from;
        putWord(transport + 4, sequence >> 16);
        putWord(transport + 6, sequence);
        if (!isLast) transport[13] = static_cast<std::uint8_t>(transport[13] & ~(kFin | kPsh));
        if (number > 0) transport[13] = static_cast<std::uint8_t>(transport[13] & ~kCwr);
    }
    // The place of the checksum has the pseudo header's sum, with the length of the whole segment.
    Sum sum;
    sum.take(whole);
    sum.addNumber(own);
    sum.add(transport, content_ - transport_);
    sum.add(made.content, made.contentSize);
    sum.putTransport(transport + offload_.checksumPlace);
    const std::size_t size = made.headerSize + made.contentSize;
    const std::size_t cameAs = slot.size - slot.payloadSize + content_ + made.contentSize;
    made.padding = size < kShortestFrame && cameAs >= kShortestFrame ? kShortestFrame - size : 0;
}

}  // namespace datapath

}  // namespace virtual_onu
