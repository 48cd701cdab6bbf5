#!/usr/bin/env bash
# The library exports what is documented and leaves open what the device kit provides, and nothing else.
#   check_exports.sh LIBRARY
set -u
library=$1
here=$(cd "$(dirname "$0")" && pwd)
bad=0

exported='^(VornHal|VornBrcmHal|HALFactory|EtherSwitchBcm380|OnuXponHalAdapterBCM|OnuXponHalAdapterBcmNgponLib)::'
exported+='|^(vlanRuleKey|serviceKey)::(vlanRuleKey|serviceKey|operator<)'
exported+='|^(vtable|typeinfo|typeinfo name) for Vorn(Brcm)?Hal$'
exported+='|^(omci_malloc|omci_free|onu_xpon_hal_adapter_bcm_hello_world|vorn_omci_[a-z_]+|getIntfStats|br_[a-z_]+|g_GemCnt)$'
exported+='|^(updateEthernetUniSpeed|setEthernetUniStatus|getEthernetUniOperState|getEthernetUniConfig)$'
extra=$(nm -DC --defined-only "$library" | cut -d' ' -f3- | grep -vE "$exported")
if [ -n "$extra" ]; then
    printf 'Exported, but not documented (see src/vorn_hal.map):\n%s\n' "$extra"
    bad=1
fi

kit=$(sed -nE 's/^.*[ *]((vlanCtl|gponCtl|tmctl|cmsMsg|cmsMem|cmsTmr|cmsPsp|devCtl|bcm|nand)[A-Za-z0-9_]*)\(.*$/\1/p' "$here"/../platform/include/platform/*.h)
open=$(nm -D --undefined-only "$library" | awk '$1 == "U" {print $2}' | grep -v '@' |
    grep -vE '^(__(asan|ubsan|tsan|sanitizer)|_ZN6Logger)' | grep -vxF "$kit")
if [ -n "$open" ]; then
    printf 'Undefined, and not a function of the device kit:\n%s\n' "$open"
    bad=1
fi
exit $bad
