// libpcap, loaded when a capture is read: with all that it needs it would cost a process that never reads one a fifth
// of its private memory, and half of the time that it takes to start.
#ifndef VORN_ONU_PCAP_H
#define VORN_ONU_PCAP_H

#include <pcap/pcap.h>

#include <string>

namespace vorn_onu {

struct Pcap {
    decltype(&pcap_fopen_offline) fopenOffline = nullptr;
    decltype(&pcap_datalink) datalink = nullptr;
    decltype(&pcap_datalink_val_to_name) nameOfLink = nullptr;
    decltype(&pcap_next_ex) next = nullptr;
    decltype(&pcap_geterr) error = nullptr;
    decltype(&pcap_close) close = nullptr;
};

// Throws a FileProblem with this path where the library is not there.
const Pcap& libpcap(const std::string& path);

}  // namespace vorn_onu

#endif
