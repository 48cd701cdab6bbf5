#ifndef VORN_WITHOUT_PCAP

#include "running/capture/Pcap.h"

#include <dlfcn.h>

#include "running/io/Files.h"

namespace vorn_onu {

namespace {

// As Debian calls it, and as others do.
constexpr const char* kPcapNames[] = {"libpcap.so.0.8", "libpcap.so.1"};

template <typename Function>
bool findIn(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

bool loadPcap(Pcap& pcap) {
    for (const char* name : kPcapNames) {
        void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) continue;
        return findIn(library, "pcap_fopen_offline", pcap.fopenOffline) &&
               findIn(library, "pcap_datalink", pcap.datalink) &&
               findIn(library, "pcap_datalink_val_to_name", pcap.nameOfLink) &&
               findIn(library, "pcap_next_ex", pcap.next) && findIn(library, "pcap_geterr", pcap.error) &&
               findIn(library, "pcap_close", pcap.close);
    }
    return false;
}

}  // namespace

const Pcap& libpcap(const std::string& path) {
    static Pcap one;
    static const bool loaded = loadPcap(one);
    if (!loaded) throw FileProblem(path, "cannot be read: libpcap is not installed");
    return one;
}

}  // namespace vorn_onu

#endif
