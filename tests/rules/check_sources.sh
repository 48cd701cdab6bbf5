#!/usr/bin/env bash
# Rules over the sources: the layers, and no door for tests in the device's code.
#   check_sources.sh SOURCE_DIR
set -u
rules=$(cd "$(dirname "$0")" && pwd)
cd "$1" || exit 2
bad=0
"$rules/check_includes.sh" "$PWD" || bad=1
rule() {  # rule "what is wrong and what to do instead" PATTERN PATHS...
    local text=$1 pattern=$2 hits
    shift 2
    hits=$(grep -rnE --include='*.h' --include='*.cpp' "$pattern" "$@" 2>/dev/null)
    [ -z "$hits" ] && return
    printf '%s\n%s\n\n' "$text" "$hits"
    bad=1
}

rule "src/ must not know the virtual ONU: it is put in the device's place at link time." \
    '#include "(.*/)?(VirtualOnu|Core|Network|Facilities|RealLibc)\.h"|virtual_onu' src
rule "src/ has no code for tests: test the device's binary against the virtual ONU." \
    '#[[:space:]]*if.*(TEST|VIRTUAL)|\bgetenv\b[^V]*$|friend .*[Tt]est' src
rule "The virtual ONU knows the device kit, never the library above it." \
    '#include "(hal|BRCM|xpon|device|bridge)/' virtual_onu
rule "The standard's side knows the HAL's interface alone." \
    '#include "(BRCM|xpon|device|bridge|platform)/|#include "VirtualOnu|virtual_onu' omci
rule "Messages and the MIB know nothing of the HAL." '#include "hal/' omci/message omci/mib
rule "The audit's model is the standard's alone: no rules of the HAL, no device kit, nothing of the data path." \
    '#include "(BRCM|xpon|device|bridge|platform|frames|kit)/' tools/vorn-onu/views/audit
rule "The platform headers declare the device kit and include nothing of ours." \
    '#include "(hal|BRCM|xpon|device|bridge)/' platform/include
rule "Unbounded text functions overrun buffers: use hal/Text.h or snprintf." \
    '\b(sprintf|vsprintf|strcpy|strcat|gets)[[:space:]]*\(' src virtual_onu tools omci
rule "The C library's sleeps are the virtual ONU's, and take no time in the tool: pause() of running/io/Pause.h does." \
    'sleep_(for|until)|\b(u|nano)?sleep\(' tools/vorn-onu
rule "The HAL interface needs the standard library only." '#include "(BRCM|xpon|device|bridge|platform)/' src/hal/VornHal.h src/hal/*Records.h

# The layers of a tree, lowest first; folders of one layer are joined by a comma. A file may include from its own folder, from its
# layer and from below, never from above. The folder "." is the tree's own.
layers() {  # layers TREE PREFIX-OF-INCLUDES LAYER...
    local tree=$1 prefix=$2 hits
    shift 2
    hits=$(grep -rn --include='*.h' --include='*.cpp' '^#include "' "$tree" | awk -v tree="$tree/" -v prefix="$prefix" -v layers="$*" '
        function folder_of(path,   folder) {  # the innermost folder listed that holds the path; a file can be listed too
            for (folder = path; folder != ""; sub("(^|/)[^/]*$", "", folder))
                if (folder in layer) return folder
            return "."
        }
        BEGIN {
            count = split(layers, levels, " ")
            for (i = 1; i <= count; ++i) {
                folders = split(levels[i], names, ",")
                for (j = 1; j <= folders; ++j) layer[names[j]] = i
            }
        }
        {
            file = substr($0, length(tree) + 1); sub(":.*", "", file)
            included = $0; sub(".*#include \"", "", included); sub("\".*", "", included)
            if (prefix != "" && index(included, prefix) != 1) next
            included = substr(included, length(prefix) + 1)
            if ((getline line < (tree included)) < 0) next  # not a file of this tree
            close(tree included)
            if (layer[folder_of(included)] > layer[folder_of(file)])
                print tree file " includes " included ": " folder_of(included) " is above " folder_of(file)
        }')
    [ -z "$hits" ] && return
    printf 'A lower layer includes an upper one; turn the dependency round (layers of %s, lowest first: %s):\n%s\n\n' "$tree" "$*" "$hits"
    bad=1
}

# The factory names the board whose object it makes.
layers src "" hal state bridge device kit xpon BRCM/BCM968580/DATA BRCM/BCM968580,hal/HALFactory.cpp
layers src/BRCM/BCM968580/DATA BRCM/BCM968580/DATA/ g988 . ani,uni,gateway,iphost forwarding restart
layers virtual_onu "" . real_libc persistence kernel kit shell frames taps libc
layers omci omci/ message mib agent,services
layers tools/vorn-onu "" running/io running/state running/capture,running/scenario/fields running/scenario/expect,running/scenario/operations running/scenario running/program living views/audit views views/page commands .

# Two headers with one guard cannot both be included.
guards=$(grep -rh --include='*.h' -A1 '^#ifndef [A-Z_]*_H$' src platform virtual_onu omci tools tests bench fuzz | grep '^#ifndef' | sort | uniq -d)
[ -n "$guards" ] && { printf 'Several headers have the same include guard:\n%s\n\n' "$guards"; bad=1; }

# A using declaration that nothing uses; clang-tidy would have to read each file by itself for these alone.
unused=$(find src virtual_onu omci tools tests bench fuzz examples -name '*.cpp' -exec awk '
    function report(   name) {
        for (name in place) if (!(name in used)) print place[name]
        split("", place); split("", used)
    }
    FNR == 1 { report() }
    { sub("//.*", "") }
    /^[ \t]*using [A-Za-z_:]+::[A-Za-z_]+;/ {
        name = $0; sub(".*::", "", name); sub(";.*", "", name)
        place[name] = FILENAME ":" FNR ":" $0
        next
    }
    { gsub("::[A-Za-z_0-9]+", ""); count = split($0, words, "[^A-Za-z_0-9]+"); for (i = 1; i <= count; ++i) used[words[i]] }
    END { report() }' {} +)
[ -n "$unused" ] && { printf 'Nothing uses these:\n%s\n\n' "$unused"; bad=1; }

# What a daemon fills in or gets: nobody can guess unit, range and meaning. A comment stands behind the field or above it.
# The counters' record is left out: its comment above tells of all of them.
undocumented() {  # undocumented FILE PATTERN-OF-DECLARATION
    awk -v file="$1" -v declaration="$2" '
        $0 ~ declaration && !/\/\// && above !~ /^ *\/\// { print file ":" FNR ": " $0 }
        { above = $0 }' "$1"
}
bare=$(
    for file in src/hal/BridgeRecords.h src/hal/PonRecords.h src/hal/TwdmRecords.h; do
        undocumented "$file" '^    [a-z].*;'
    done
    undocumented src/hal/VornHal.h '^    virtual [a-z]'
)
if [ -n "$bare" ]; then
    printf 'Say what this is, in a comment behind it or above it: unit, range, meaning, result.\n%s\n\n' "$bare"
    bad=1
fi

long=$(find src virtual_onu tools tests platform omci \( -name '*.cpp' -o -name '*.h' \) -exec wc -l {} + |
    awk '$1 > 600 && $2 != "total" { print $2 " has " $1 " lines" }')
[ -n "$long" ] && { printf 'Split these by subject (600 lines at most):\n%s\n\n' "$long"; bad=1; }
exit $bad
