// What a fuzz target needs that drives the library on the virtual ONU.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "Expect.h"
#include "VirtualOnu.h"
#include "xpon/OnuXponHalAdapterBCM.h"

inline virtual_onu::VirtualOnu& onu() {
    return virtual_onu::VirtualOnu::instance();
}
inline EtherSwitchBcm380& engine() {
    static EtherSwitchBcm380& only = *EtherSwitchBcm380::getInstance();
    return only;
}

// The library prints a line for nearly everything; the fuzzer's own words go to standard error. VORN_FUZZ_SHOW=1 lets
// the library speak, for a look at one input.
inline void silence() {
    if (std::getenv("VORN_FUZZ_SHOW") != nullptr) return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

// Takes out of the library what outlives an input: maps, counts, singletons.
inline void forgetServices() {
    while (!m_SERVICE_MAP_ENTRY.empty()) {
        const serviceKey key = m_SERVICE_MAP_ENTRY.begin()->first;
        if (engine().omciServiceDeleteMapEntry(0, key.ifName.c_str(), key.vlanId, key.pbits) == 0)
            m_SERVICE_MAP_ENTRY.clear();
    }
    m_VLAN_RULE_MAP_ENTRY.clear();
    m_BridgeIdToUniId.clear();
    tGemPortMap.clear();
    gemPortPbitToQMap.clear();
    m_dscpConfigInfo.clear();
    m_cTagConfigInfo.clear();
    for (std::size_t pbit = 0; pbit < 8; ++pbit) {
        xgemPortIdForPbit[pbit] = kNoGemPort;
        xgemUpstremQueueForPbit[pbit] = 0;
    }
    protocolNumber = 0;
    m_aniTagRuleId = 0;
    mcastGemPortId = mcastGemPortIndex = 0;
    EtherSwitchBcm380::multicastEnable = EtherSwitchBcm380::numServices = 0;
    engine().iPhost_Stag = kNoStag;
    engine().setOmciAction(0);
    g_GemCnt = 0;
    OnuXponHalAdapterBCM::destroyInstance();
}

#endif
