#!/usr/bin/env bash
# The libraries export what is documented and leave open what others provide, and nothing else.
#   check_exports.sh LIBVORN_HAL LIBVIRTUAL_ONU
set -u
library=$1 virtual_onu=$2
source=$(cd "$(dirname "$0")/../.." && pwd)
bad=0

complain() {  # complain "what is wrong" NAMES
    [ -z "$2" ] && return
    printf '%s\n%s\n' "$1" "$2"
    bad=1
}

kit=$(sed -nE 's/^.*[ *]((vlanCtl|gponCtl|tmctl|cmsMsg|cmsMem|cmsTmr|cmsPsp|devCtl|bcm|nand)[A-Za-z0-9_]*)\(.*$/\1/p' \
    "$source"/platform/include/platform/*.h | sort -u)
sanitizers='^(__(asan|ubsan|tsan|sanitizer|odr_asan)|asan\.)'

# ---- the library ----

# Variables that a daemon or a test reaches by name (BRCM/BCM968580/DATA/EngineState.h, xpon/OnuXponHalAdapterBCM.h).
state='m_BridgeIdToUniId m_VLAN_RULE_MAP_ENTRY tGemPortMap gemPortPbitToQMap xgemPortIdForPbit xgemUpstremQueueForPbit
protocolNumber m_aniTagRuleId mcast mcastGemPortId mcastGemPortIndex m_dscpConfigInfo m_cTagConfigInfo m_SERVICE_MAP_ENTRY
msgHandle tmrHandle syncOmciRgLock syncOmciRgCond g_GemCnt
HALFactory::m_Instance HALFactory::vornHalImpl VornBrcmHal::ipHostMac VornBrcmHal::subHostMac VornBrcmHal::operStatus
VornBrcmHal::operStatus1G EtherSwitchBcm380::m_Instance EtherSwitchBcm380::multicastEnable EtherSwitchBcm380::numServices
OnuXponHalAdapterBCM::instance OnuXponHalAdapterBCM::singletonLock OnuXponHalAdapterBcmNgponLib::instance
OnuXponHalAdapterBcmNgponLib::singletonLock'
state=$(printf '%s\n' $state)

exported='^(VornHal|VornBrcmHal|HALFactory|EtherSwitchBcm380|OnuXponHalAdapterBCM|OnuXponHalAdapterBcmNgponLib)::'
exported+='|^(vlanRuleKey|serviceKey)::(vlanRuleKey|serviceKey|operator<)'
exported+='|^(vtable|typeinfo|typeinfo name) for Vorn(Brcm)?Hal$'
exported+='|^(omci_malloc|omci_free|onu_xpon_hal_adapter_bcm_hello_world|vorn_omci_[a-z_]+|vorn_hal_(state_open|state_settle|clean_device|[sg]et_forwarding)|getIntfStats|br_[a-z_]+)$'
exported+='|^(updateEthernetUniSpeed|setEthernetUniStatus|getEthernetUniOperState|getEthernetUniConfig)$'
complain "Exported, but not documented (see src/vorn_hal.map):" \
    "$(nm -DC --defined-only "$library" | cut -d' ' -f3- | grep -vE "$exported" | grep -vE "$sanitizers" | grep -vxFf <(printf "%s\n" "$state"))"
complain "State that is reached by name, but not exported as a variable (see src/vorn_hal.map):" \
    "$(printf '%s\n' "$state" | grep -vxFf <(nm -DC --defined-only "$library" | sed -nE 's/^[0-9a-f]+ [BD] ([^[]*).*/\1/p'))"
# What a process must define for the library to load: the list that daemons' tests go by.
if ! nm -D --undefined-only "$library" | grep -qE ' __(asan|tsan|ubsan)_'; then
    complain "platform/kit_symbols.txt and what the library leaves open differ:" \
        "$(diff <(nm -D --undefined-only "$library" | awk '$1 == "U" && $2 !~ /@/ {print $2}' | LC_ALL=C sort) \
            <(LC_ALL=C sort "$source/platform/kit_symbols.txt") | grep '^[<>]')"
fi
# A sanitizer's runtime takes over C library functions, which then look like somebody else's.
if ! nm -D --undefined-only "$library" | grep -qE ' __(asan|tsan|ubsan)_'; then
    complain "Undefined, and not a function of the device kit:" \
        "$(nm -D --undefined-only "$library" | awk '$1 == "U" {print $2}' | grep -v '@' |
            grep -vE '^_ZN6Logger' | grep -vxFf <(printf "%s\n" "$kit"))"
fi

# ---- the virtual ONU ----

interposed=$(sed -nE 's/.*INTERPOSES\(([a-zA-Z0-9_]+)\)[;]?.*/\1/p' "$source"/virtual_onu/libc/interposed/*.cpp | grep -vx name | sort -u)
names=$(nm -DC --defined-only "$virtual_onu" | cut -d' ' -f3- | grep -vE "$sanitizers")
complain "Exported by the virtual ONU, but none of its interface (see virtual_onu/virtual_onu.map):" \
    "$(printf '%s\n' "$names" | grep -vE '^(virtual_onu|Logger)::' | grep -vxFf <(printf "%s\n" "$kit") | grep -vxFf <(printf "%s\n" "$interposed"))"
complain "Not exported by the virtual ONU (see virtual_onu/virtual_onu.map):" \
    "$(printf '%s\n%s\n' "$kit" "$interposed" | grep -vxFf <(printf "%s\n" "$names"))"
without_result='cmsMem_free|cmsTmr_executeExpiredEvents|gponCtl_getMsgError|vlanCtl_cleanup'
complain "Functions of the kit that a fault cannot name (see virtual_onu/FaultNames.cpp):" \
    "$(printf '%s\n' "$kit" | grep -vxE "$without_result" |
        grep -vxFf <(sed -nE 's/.*"([A-Za-z0-9_]+)".*/\1/p' "$source/virtual_onu/FaultNames.cpp"))"
exit $bad
