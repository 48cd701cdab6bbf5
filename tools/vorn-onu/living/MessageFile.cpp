#include "living/MessageFile.h"

#ifndef VORN_WITHOUT_PCAP
#include "running/capture/Pcap.h"
#endif

#include <algorithm>
#include <cstdio>
#include <memory>

#include "running/io/Files.h"

namespace vorn_onu {

namespace {

constexpr std::uint16_t kOmciEtherType = 0x88B5;
constexpr std::size_t kMaxSkipped = 1000;  // reported

bool isCapture(const std::string& bytes) {
    if (bytes.size() < 4) return false;
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::uint32_t magic = omci::number32({first, 4}, 0);
    for (const std::uint32_t known : {0xA1B2C3D4U, 0xD4C3B2A1U, 0xA1B23C4DU, 0x4D3CB2A1U, 0x0A0D0D0AU})
        if (magic == known) return true;
    return false;
}

#ifdef VORN_WITHOUT_PCAP

MessageFile readCapture(const std::string&, const std::string& path, const std::optional<omci::Integrity>&) {
    throw FileProblem(path, "cannot be read: this build has no libpcap");
}

#else

constexpr int kFirstUserLink = 147, kLastUserLink = 162;  // LINKTYPE_USER0 to LINKTYPE_USER15
constexpr int kCooked = 113, kCookedV2 = 276;

bool isKnownLink(int link) {
    return link == DLT_EN10MB || link == kCooked || link == kCookedV2 ||
           (link >= kFirstUserLink && link <= kLastUserLink);
}

// The message in a packet; empty where it is of another protocol.
omci::ByteView messageIn(int link, omci::ByteView packet) {
    if (link == DLT_EN10MB) return messageInEthernet(packet);
    if (link == kCooked) return omci::number16(packet, 14) == kOmciEtherType ? packet.part(16) : omci::ByteView();
    if (link == kCookedV2) return omci::number16(packet, 0) == kOmciEtherType ? packet.part(20) : omci::ByteView();
    const omci::ByteView inner = messageInEthernet(packet);
    return inner.empty() ? packet : inner;
}

MessageFile readCapture(const std::string& bytes, const std::string& path,
                        const std::optional<omci::Integrity>& codes) {
    const Pcap& library = libpcap(path);
    char why[PCAP_ERRBUF_SIZE] = "";
    std::FILE* stream = fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "rb");
    if (stream == nullptr) throw FileProblem(path, "cannot be read");
    const std::unique_ptr<pcap_t, decltype(library.close)> capture(library.fopenOffline(stream, why), library.close);
    if (!capture) {
        std::fclose(stream);
        throw FileProblem(path, std::string("is no capture: ") + why);
    }
    const int link = library.datalink(capture.get());
    if (!isKnownLink(link)) {
        const char* name = library.nameOfLink(link);
        throw FileProblem(path, std::string("holds packets of a link type without OMCI messages: ") +
                                    (name == nullptr ? std::to_string(link) : name));
    }
    MessageFile file;
    file.placeName = "packet";
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    std::optional<double> begin;
    for (std::size_t place = 1;; ++place) {
        const int result = library.next(capture.get(), &header, &data);
        if (result == PCAP_ERROR_BREAK) return file;
        const std::string where = "packet " + std::to_string(place) + ": ";
        if (result != 1) {  // what is before the damage is good
            file.skipped.push_back(where + "the capture is damaged: " + library.error(capture.get()));
            return file;
        }
        const double seconds = static_cast<double>(header->ts.tv_sec) + static_cast<double>(header->ts.tv_usec) / 1e6;
        if (!begin) begin = seconds;
        const omci::ByteView inner = messageIn(link, {data, header->caplen});
        if (inner.empty()) {
            ++file.others;
            continue;
        }
        const omci::DecodedFrame decoded = decodePadded(inner);
        if (decoded.error == omci::FrameError::kNone) {
            file.messages.push_back(judged(place, decoded, inner, codes));
            file.messages.back().seconds = seconds - *begin;
        } else if (file.skipped.size() < kMaxSkipped)
            file.skipped.push_back(where + omci::nameOf(decoded.error));
    }
}

#endif

}  // namespace

omci::ByteView messageInEthernet(omci::ByteView frame) {
    std::size_t at = 12;
    for (int tags = 0; tags < 4; ++tags, at += 4) {
        const std::uint16_t type = omci::number16(frame, at);
        if (type == kOmciEtherType) return frame.part(at + 2);
        if (type != 0x8100 && type != 0x88A8 && type != 0x9100) break;
    }
    return {};
}

omci::DecodedFrame decodePadded(omci::ByteView bytes) {
    std::size_t size = bytes.size();
    if (size > 3 && bytes[3] == static_cast<std::uint8_t>(omci::MessageSet::kBaseline)) size = omci::kBaselineFrame;
    if (size > 10 && bytes[3] == static_cast<std::uint8_t>(omci::MessageSet::kExtended))
        size = std::size_t{10} + omci::number16(bytes, 8) + 4;
    return omci::decodeFrame(bytes.part(0, size));
}

std::size_t MessageFile::wrongCodes() const {
    return static_cast<std::size_t>(std::count_if(
        messages.begin(), messages.end(), [](const FileMessage& one) { return one.code == CodeState::kWrong; }));
}

FileMessage judged(std::size_t place, const omci::DecodedFrame& decoded, omci::ByteView bytes,
                   const std::optional<omci::Integrity>& codes) {
    FileMessage message{place, {}, decoded.message, CodeState::kNotJudged};
    const bool empty = !decoded.integrityCode || *decoded.integrityCode == 0;
    if (codes ? !codes->used() : empty) return message;
    const auto direction =
        omci::isUpstream(decoded.message) ? omci::Direction::kUpstream : omci::Direction::kDownstream;
    const auto right = codes.value_or(omci::Integrity::crc()).codeOf(bytes.part(0, decoded.protectedSize), direction);
    message.code = decoded.integrityCode && right == decoded.integrityCode ? CodeState::kRight : CodeState::kWrong;
    return message;
}

MessageFile readMessages(const std::string& bytes, const std::string& path,
                         const std::optional<omci::Integrity>& codes) {
    MessageFile file = isCapture(bytes) ? readCapture(bytes, path, codes) : readHexText(bytes, codes);
    const bool crc = codes || std::any_of(file.messages.begin(), file.messages.end(),
                                          [](const FileMessage& one) { return one.code == CodeState::kRight; });
    // None is right: they are of another kind.
    for (FileMessage& message : file.messages)
        if (!crc) message.code = CodeState::kNotJudged;
    if (!file.messages.empty()) return file;
    std::string why = "holds no messages of the management channel";
    if (!file.skipped.empty()) why += "; " + file.skipped.front();
    throw FileProblem(path, why);
}

}  // namespace vorn_onu
