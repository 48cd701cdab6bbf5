// A TCI list as hex text of any content and length, in a field that it may fill without a terminating zero.
#include <cstring>
#include <string>

#include "Fuzz.h"

namespace {

constexpr unsigned kGemPort = 1000;
constexpr unsigned kMaxEntries = 12;
constexpr std::size_t kMaxRules =
    3 + 6 + 2 * 2 * (kMaxEntries + 1);  // defaults of both devices; two tables, two directions

void decode(const std::string& text) {
    unsigned char* bytes = nullptr;
    unsigned length = 0;
    if (engine().hexStringToBinaryBuf(text.c_str(), &bytes, &length) != 0) {
        FUZZ_EXPECT(bytes == nullptr && length == 0);
        return;
    }
    FUZZ_EXPECT(length == std::strlen(text.c_str()) / 2);
    for (unsigned i = 0; i < length; ++i)
        FUZZ_EXPECT(bytes[i] == std::strtoul(text.substr(std::size_t{2} * i, 2).c_str(), nullptr, 16));
    std::free(bytes);
}

}  // namespace

int LLVMFuzzerInitialize(int*, char***) {
    silence();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) return 0;
    const std::string text(reinterpret_cast<const char*>(data + 3), size - 3);
    decode(text);

    onu().reset();
    engine().configureBridge(3, 0, false);
    onu().addGemPort(kGemPort, 7);
    BridgeServiceProvisioning service{};
    service.bridgeId = 3;
    service.gemPortId = kGemPort;
    service.trafficModel = 2;
    service.forwardOperation = data[0];
    service.numberOfEntries = data[1];
    service.protocolNumber = data[2];
    service.pbitMap[0] = {kGemPort, 2};
    std::memcpy(service.vlanTciFilterList, text.data(), std::min(text.size(), sizeof service.vlanTciFilterList));
    engine().configureAniTagRules(&service);
    FUZZ_EXPECT(onu().ruleCount() <= kMaxRules);

    engine().unsetPbitData(&service);
    engine().deprovisionAniSideBridge(&service);
    engine().deleteVlanRuleMapEntry("gpondef", 7);
    FUZZ_EXPECT(onu().ruleCount() == 0);
    return 0;
}
