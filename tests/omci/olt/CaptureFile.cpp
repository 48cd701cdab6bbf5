#include "omci/olt/CaptureFile.h"

#include <pcap/pcap.h>

#include <stdexcept>

#include "omci/message/Message.h"

namespace olt {

namespace {

constexpr std::size_t kEthernetHeader = 14;
constexpr std::uint16_t kEtherType = 0x88B5;
constexpr long kBegin = 1767225600;  // seconds: the first of January 2026
constexpr omci::Bytes::value_type kOltMac[] = {0x02, 0, 0, 0, 0, 0x01};
constexpr omci::Bytes::value_type kOnuMac[] = {0x02, 0, 0, 0, 0, 0x02};

}  // namespace

CaptureWriter::CaptureWriter(Line& line, const std::string& path) : line_(line) {
    pcap_t* capture = pcap_open_dead(DLT_EN10MB, 65535);
    pcap_dumper_t* file = pcap_dump_open(capture, path.c_str());
    if (file == nullptr) {
        const std::string why = pcap_geterr(capture);
        pcap_close(capture);
        throw std::runtime_error(why);
    }
    capture_ = capture;
    file_ = file;
}

CaptureWriter::~CaptureWriter() {
    pcap_dump_close(static_cast<pcap_dumper_t*>(file_));
    pcap_close(static_cast<pcap_t*>(capture_));
}

std::optional<omci::Message> CaptureWriter::exchange(const omci::Message& request) {
    write(request);
    const auto answer = line_.exchange(request);
    if (answer) write(*answer);
    return answer;
}

void CaptureWriter::write(const omci::Message& message) {
    const bool up = omci::isUpstream(message);
    omci::Bytes frame(up ? std::begin(kOltMac) : std::begin(kOnuMac), up ? std::end(kOltMac) : std::end(kOnuMac));
    frame.insert(frame.end(), up ? std::begin(kOnuMac) : std::begin(kOltMac),
                 up ? std::end(kOnuMac) : std::end(kOltMac));
    omci::appendNumber(frame, kEtherType, 2);
    const omci::Bytes bytes = omci::encodeFrame(message);
    frame.insert(frame.end(), bytes.begin(), bytes.end());
    pcap_pkthdr header{};
    header.ts.tv_sec = kBegin + static_cast<long>(written_ / 1000);
    header.ts.tv_usec = static_cast<long>(written_ % 1000 * 1000);
    header.caplen = header.len = static_cast<bpf_u_int32>(frame.size());
    pcap_dump(static_cast<u_char*>(file_), &header, frame.data());
    ++written_;
}

std::vector<omci::Message> readCapture(const std::string& path) {
    char why[PCAP_ERRBUF_SIZE] = "";
    pcap_t* capture = pcap_open_offline(path.c_str(), why);
    if (capture == nullptr) throw std::runtime_error(why);
    std::vector<omci::Message> messages;
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    std::string wrong;
    while (pcap_next_ex(capture, &header, &data) == 1) {
        const omci::ByteView frame(data, header->caplen);
        const auto decoded = omci::decodeFrame(frame.part(kEthernetHeader));
        if (omci::number16(frame, kEthernetHeader - 2) != kEtherType || decoded.error != omci::FrameError::kNone)
            wrong = "message " + std::to_string(messages.size() + 1) + " is no message";
        messages.push_back(decoded.message);
    }
    pcap_close(capture);
    if (!wrong.empty()) throw std::runtime_error(wrong);
    return messages;
}

}  // namespace olt
