#!/usr/bin/env bash
# House rules over the sources: the layers, and no door for tests in the device's code.
#   check_sources.sh SOURCE_DIR
set -u
cd "$1" || exit 2
bad=0
rule() {  # rule "what is wrong and what to do instead" PATTERN PATHS...
    local text=$1 pattern=$2 hits
    shift 2
    hits=$(grep -rnE --include='*.h' --include='*.cpp' "$pattern" "$@" 2>/dev/null)
    [ -z "$hits" ] && return
    printf '%s\n%s\n\n' "$text" "$hits"
    bad=1
}

rule "src/ must not know the virtual ONU: it is put in the device's place at link time." \
    '#include "(VirtualOnu|Core|Network|Facilities|RealLibc)\.h"|virtual_onu' src
rule "src/ has no code for tests: test the device's binary against the virtual ONU." \
    '#[[:space:]]*if.*(TEST|VIRTUAL)|\bgetenv\b|friend .*[Tt]est' src
rule "The virtual ONU knows the device kit, never the library above it." \
    '#include "(hal|BRCM|xpon|device|bridge)/' virtual_onu
rule "The standard's side knows the HAL's interface alone." \
    '#include "(BRCM|xpon|device|bridge|platform)/|#include "VirtualOnu|virtual_onu' omci
rule "Messages are the lowest room of the standard's side." '#include "(omci/(mib|agent|services)|hal)/' omci/message
rule "The MIB knows messages alone." '#include "(omci/(agent|services)|hal)/' omci/mib
rule "The platform headers declare the device kit and include nothing of ours." \
    '#include "(hal|BRCM|xpon|device|bridge)/' platform/include
rule "Unbounded text functions overrun buffers: use hal/Text.h or snprintf." \
    '\b(sprintf|vsprintf|strcpy|strcat|gets)[[:space:]]*\(' src virtual_onu tools omci
rule "The HAL interface needs the standard library only." '#include "(BRCM|xpon|device|bridge|platform)/' src/hal/VornHal.h src/hal/*Records.h

for file in $(find src virtual_onu tools tests platform omci -name '*.cpp' -o -name '*.h'); do
    lines=$(wc -l <"$file")
    if [ "$lines" -gt 600 ]; then
        printf '%s has %d lines: split it by subject (600 at most).\n' "$file" "$lines"
        bad=1
    fi
done
exit $bad
