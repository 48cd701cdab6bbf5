#include "running/capture/CaptureReader.h"

#ifndef VORN_WITHOUT_PCAP
#include "running/capture/Pcap.h"
#endif

#include <cstdio>

#include "running/io/Files.h"

namespace vorn_onu {

#ifdef VORN_WITHOUT_PCAP

struct CaptureReader::Handle {};

CaptureReader::CaptureReader(const std::string& path) {
    throw FileProblem(path, "cannot be read: this build has no libpcap");
}
CaptureReader::~CaptureReader() = default;
bool CaptureReader::next(Captured&) {
    return false;
}

#else

struct CaptureReader::Handle {
    const Pcap& library;
    pcap_t* pcap = nullptr;
};

CaptureReader::CaptureReader(const std::string& path) : path_(path), handle_(new Handle{libpcap(path)}) {
    char reason[PCAP_ERRBUF_SIZE] = {};
    std::FILE* file = std::fopen(path.c_str(), "rbe");  // libpcap takes "-" for standard input
    if (file == nullptr) throw FileProblem(path, "cannot be read");
    handle_->pcap = handle_->library.fopenOffline(file, reason);
    if (handle_->pcap == nullptr) {
        std::fclose(file);
        throw FileProblem(path, std::string("is no capture: ") + reason);
    }
    const int link = handle_->library.datalink(handle_->pcap);
    if (link == DLT_EN10MB) return;
    const char* name = handle_->library.nameOfLink(link);
    handle_->library.close(handle_->pcap);
    throw FileProblem(path, std::string("holds no Ethernet frames but ") + (name == nullptr ? "others" : name));
}

CaptureReader::~CaptureReader() {
    handle_->library.close(handle_->pcap);
}

bool CaptureReader::next(Captured& captured) {
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = handle_->library.next(handle_->pcap, &header, &bytes);
    if (result == PCAP_ERROR_BREAK) return false;
    if (result != 1) throw FileProblem(path_, std::string("is damaged: ") + handle_->library.error(handle_->pcap));
    captured.bytes = bytes;
    captured.size = header->caplen;
    captured.wireSize = header->len;
    captured.timeMs =
        static_cast<std::uint64_t>(header->ts.tv_sec) * 1000 + static_cast<std::uint64_t>(header->ts.tv_usec) / 1000;
    return true;
}

#endif

}  // namespace vorn_onu
