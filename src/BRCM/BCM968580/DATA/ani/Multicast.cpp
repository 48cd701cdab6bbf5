// Multicast: the downstream path from the PON to the VEIP side, the GEM port that carries it, and the multicast proxy's
// configuration file.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/ani/AniCodes.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "platform/vlanctl.h"

std::uint8_t mcast = 0;
std::int32_t mcastGemPortId = 0;
std::int32_t mcastGemPortIndex = 0;
std::int32_t EtherSwitchBcm380::multicastEnable = 0;

namespace {

constexpr std::uint16_t kMulticastQueue = 5;

constexpr const char* kProxyFile = "/var/mcpd.conf";
constexpr const char* kProxyTemporary = "/var/mcpdTmp.conf";
constexpr const char* kProxyReload = "mcpctl reload";
constexpr std::size_t kProxyLineSize = 128;

// A line of the proxy's file that names the keyword becomes the replacement.
struct ProxyLine {
    const char* keyword;
    const char* replacement;
};
constexpr ProxyLine kProxyLines[] = {
    {"igmp-snooping-interfaces", "igmp-snooping-interfaces br0 br256 br257 \n"},
    {"igmp-mcast-interfaces", "igmp-mcast-interfaces gpon256.256 gpon257.257 \n"},
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Kept: the keyword counts wherever it is in the line, and a piece of an overlong line counts as a line.
const char* rewritten(const char* line) {
    for (const ProxyLine& known : kProxyLines)
        if (std::strstr(line, known.keyword) != nullptr) return known.replacement;
    return line;
}

bool copyRewritten(std::FILE* from, std::FILE* to) {
    std::array<char, kProxyLineSize> line = {};
    while (std::fgets(line.data(), static_cast<int>(line.size()), from) != nullptr)
        if (std::fputs(rewritten(line.data()), to) == EOF) return false;
    return std::ferror(from) == 0;
}

}  // namespace

int EtherSwitchBcm380::configureDsMcastIngress_rule(const BridgeServiceProvisioning* bridgeProv, unsigned short uniPort,
                                                    unsigned short gemPortIndex) {
    if (bridgeProv == nullptr) return 0;
    DeviceName ponDevice("%s", kPonDevice);
    DeviceName uniName("%s", kVeipRealDevice);
    DeviceName uniVlanName;
    DeviceName aniName;
    DeviceName aniVlanName;
    getVeipVlanName(uniVlanName.get());
    getInterfaceName(PHY_GPON, bridgeProv->bridgeId, aniName.get());
    getVirtualInterfaceName(PHY_GPON, bridgeProv->bridgeId, bridgeProv->bridgeId, aniVlanName.get());
    std::printf("\n configureDsMcastIngress_rule uniInterfaceName:%s, uniVirtualName:%s", uniName.get(),
                uniVlanName.get());
    std::printf("\n configureDsMcastIngress_rule aniInterfaceName:%s, aniVirtualName:%s \n ", aniName.get(),
                aniVlanName.get());

    // The one entry is in the place of the wildcard, so no rule is made for it.
    VlanTci_t entry = {static_cast<std::uint8_t>(bridgeProv->innerVlanPrioFilter & 0xFF), 0,
                       bridgeProv->innerVlanIdFilter};
    VlanTciFilterInfo_t filter = {1, 0, &entry};
    std::array<std::uint8_t, 8> pbits;
    pbits.fill(kPbitNotMapped);
    pbits[0] = 0;

    insertDefaultAniTagRules(ponDevice.get(), aniName.get(), gemPortIndex, kMulticastQueue, VLANCTL_DIRECTION_RX,
                             kDefaultDrop);
    createAniFilterTagRules(filter, pbits.data(), aniName.get(), aniVlanName.get(), gemPortIndex, kMulticastQueue);
    configureBridge(bridgeProv->bridgeId, uniPort, false);

    std::printf("Inside configureDsMcastIngress_rule  for gemPortIndex=%d \n", gemPortIndex);
    vlanCtl_init();
    insertExtVlanUsTagRules(bridgeProv, uniPort, gemPortIndex, uniName.get(), uniVlanName.get());
    if (bridgeProv->dsMode == 0)
        insertExtVlanDsTagRules(bridgeProv, uniPort, gemPortIndex, uniName.get(), uniVlanName.get());
    vlanCtl_cleanup();

    setMcastGemInfo(bridgeProv->gemPortId, gemPortIndex);
    insertUniAllowAllTxRxRules(uniName.get(), uniVlanName.get(), uniPort);
    createVlanFlows(aniVlanName.get(), uniVlanName.get());
    createVlanFlows(uniVlanName.get(), aniVlanName.get());
    return 1;
}

void EtherSwitchBcm380::setMcastGemInfo(int gemPortId, int gemPortIndex) {
    engine_maps::setMulticastGem(gemPortId, gemPortIndex);
    ENGINE_LOG("setMcastGemInfo", kDataProvSource, kLogTrace, "Setting mcastGemPortId: %d, mcastGemPortIndex: %d\n",
               gemPortId, gemPortIndex);
}

void EtherSwitchBcm380::getMcastGemInfo(int* gemPortId, int* gemPortIndex) {
    if (gemPortId != nullptr) *gemPortId = mcastGemPortId;
    if (gemPortIndex != nullptr) *gemPortIndex = mcastGemPortIndex;
    ENGINE_LOG("getMcastGemInfo", kDataProvSource, kLogTrace, "Returning mcastGemPortId: %d, mcastGemPortIndex: %d\n",
               mcastGemPortId, mcastGemPortIndex);
}

void EtherSwitchBcm380::setProtocolNumber(unsigned char protocol) {
    engine_maps::setLastProtocol(protocol);
}

int EtherSwitchBcm380::updateMcpdConf() {
    File from(std::fopen(kProxyFile, "r"));
    File to(from ? std::fopen(kProxyTemporary, "w") : nullptr);
    if (!from || !to) {
        std::puts("\n MCPD can't open file mcpd.conf ");
        return -1;
    }
    const bool copied = copyRewritten(from.get(), to.get());
    from.reset();
    const bool written = std::fclose(to.release()) == 0;
    if (!copied || !written) {  // a full file system must not cost the proxy its configuration
        std::puts("\n MCPD can't write file mcpdTmp.conf ");
        std::remove(kProxyTemporary);
        return -1;
    }
    // Kept: removed first and then renamed, although that leaves a moment without a configuration.
    std::remove(kProxyFile);
    std::rename(kProxyTemporary, kProxyFile);
    return std::system(kProxyReload);
}
