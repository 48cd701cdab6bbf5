// The multicast proxy's configuration file with any content: it is rewritten whole, and no other file stays.
#include <string>

#include "Fuzz.h"

namespace {

constexpr const char* kProxyFile = "/var/mcpd.conf";
constexpr const char* kProxyTemporary = "/var/mcpdTmp.conf";

bool namesKeyword(const std::string& text) {
    return text.find("igmp-snooping-interfaces") != std::string::npos ||
           text.find("igmp-mcast-interfaces") != std::string::npos;
}

}  // namespace

int LLVMFuzzerInitialize(int*, char***) {
    silence();
    onu().reset();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    onu().clearTrace();
    onu().writeFile(kProxyFile, content);
    EtherSwitchBcm380::updateMcpdConf();
    const auto rewritten = onu().readFile(kProxyFile);
    FUZZ_EXPECT(rewritten.has_value());
    FUZZ_EXPECT(!onu().readFile(kProxyTemporary));
    FUZZ_EXPECT(onu().openDescriptors() == 0);
    // A zero byte ends its line; text without one is kept to the byte.
    const bool plain = content.find('\0') == std::string::npos;
    if (plain && !namesKeyword(content)) FUZZ_EXPECT(*rewritten == content);
    return 0;
}
