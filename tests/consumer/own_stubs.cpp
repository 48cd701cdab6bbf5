// A daemon's own test: it brings stubs for a part of the kit, leaves the rest to the virtual ONU, passes plain numbers
// and looks at the engine's state by name.
#include <cstdio>
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "hal/HALFactory.h"
#include "platform/tmctl.h"
#include "platform/vlanctl.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

int failures = 0;
int queuesSet = 0;

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "not so: %s\n", what);
    ++failures;
}
#define CHECK(condition) check((condition), #condition)

void numbersAreNumbers(EtherSwitchBcm380& engine) {
    char name[32] = "as it was";
    CHECK(!engine.getInterfaceName(3, 0, name) && std::strcmp(name, "as it was") == 0);
    CHECK(engine.getInterfaceName(1, 0, name) && std::strcmp(name, "sid0") == 0);
    CHECK(engine.getVirtualInterfaceName(2, 5, 5, name) && std::strcmp(name, "gpon5.5") == 0);
    CHECK(engine.createVeipTagRules(1, 3) == 0);

    char sid[] = "sid0", vlan[] = "sid0.3";
    engine.createVlanInterface(3, false, true, sid, vlan);
    UniDataProvisioning record{};
    record.tagAction = 1;
    VlanExtVlanTagOper_t row{};
    VlanExtVlanTagOperInfo_t info{};
    info.rows = &row;
    unsigned int action = 0;
    engine.parseUniDataProvisioningInfo(&record, &info, action);
    VlanTagAction push = 1;
    CHECK(action == push && action == VLAN_TAG_ACTION_PUSH);
    row.outer_filter.prio = row.inner_filter.prio = row.outer_treatment.prio = row.inner_treatment.prio = 15;
    row.etherType = 2;
    CHECK(vlanCtl_init() == 0);
    CHECK(engine.insertExtVlanUsTagRules(1, 2, 1, &row, 1, sid, vlan, false));
    vlanCtl_cleanup();
    CHECK(engine.isVlanRuleMapExist("sid0", 1, 0, &row.outer_filter, &row.inner_filter, 2));
    CHECK(!engine.isVlanRuleMapExist("sid0", 1, 0, &row.outer_filter, &row.inner_filter, 0));
}

void stateIsReachedByName() {
    vlanRuleKey key;
    key.ifName = "sid0";
    key.phyId = 1;
    CHECK(m_VLAN_RULE_MAP_ENTRY.count(key) == 1 && m_VLAN_RULE_MAP_ENTRY[key]->nbrOfNewRules == 1);
    m_BridgeIdToUniId[3] = 2;
    tGemPortMap[1000] = 7;
    gemPortPbitToQMap[1000][2].insert(5);
    unsigned short* const ports = xgemPortIdForPbit;
    unsigned short* const queues = xgemUpstremQueueForPbit;
    CHECK(ports[0] == 65535 && queues[7] == 0);
    unsigned char* const flags[] = {&protocolNumber, &mcast};
    int* const numbers[] = {&mcastGemPortId, &mcastGemPortIndex, &EtherSwitchBcm380::multicastEnable,
                            &EtherSwitchBcm380::numServices, &g_GemCnt};
    CHECK(*flags[0] == 0 && *flags[1] == 0 && *numbers[0] == 0 && *numbers[4] == 0);
    short* const ruleId = &m_aniTagRuleId;
    CHECK(*ruleId == 0);
    m_dscpConfigInfo[2] = m_cTagConfigInfo[2] = true;
    CHECK(m_SERVICE_MAP_ENTRY.empty() && msgHandle == nullptr && tmrHandle == nullptr);
    CHECK(pthread_mutex_lock(&syncOmciRgLock) == 0 && pthread_cond_signal(&syncOmciRgCond) == 0);
    pthread_mutex_unlock(&syncOmciRgLock);
    OnuXponHalAdapterBCM* const adapter = OnuXponHalAdapterBCM::instance;
    CHECK(adapter == nullptr);
    VlanTci_t tci = {7, 0, 100};
    OmciGemSericesInfo_t services{};
    CHECK(tci.vlanId == 100 && services.numberOfEntries == 0);
}

}  // namespace

// The program's own part of the kit; the library's calls come here instead of the virtual ONU.
int tmctl_setQueueCfg(int, const TmctlIf*, const TmctlQueueCfg*) {
    ++queuesSet;
    return 0;
}

int main() {
    VornHal* hal = HALFactory::getInstance()->CreateHALObject(0);
    numbersAreNumbers(*EtherSwitchBcm380::getInstance());
    stateIsReachedByName();
    TContProvisioning tcont{256, 1, 0};
    CHECK(hal->vorn_omci_hal_tcont_set(nullptr, &tcont) == 0);
    CHECK(queuesSet == 8);
    CHECK(OnuXponHalAdapterBCM::getInstance()->allocIdMap[256] == 1);
    return failures == 0 ? 0 : 1;
}
