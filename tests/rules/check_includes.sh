#!/usr/bin/env bash
# Heavy headers stay out of ours: each of them costs every source that reads it a second or more.
#   check_includes.sh SOURCE_DIR
set -u
cd "$1" || exit 2
bad=0

# Who may name the header: sources (*.cpp) may, unless a pattern says which; headers only those in the list.
only_in() {  # only_in "what to do instead" INCLUDE PATTERN-OF-FILES
    local hits
    hits=$(grep -rlF --include='*.h' --include='*.cpp' "#include <$2>" src virtual_onu omci tools tests bench fuzz examples |
               grep -vE "^($3)$")
    [ -z "$hits" ] && return
    printf '<%s> is not read here: %s\n%s\n\n' "$2" "$1" "$hits"
    bad=1
}
only_in 'a header needs <nlohmann/json_fwd.hpp>; a member is a Held<json> (running/io/HeldJson.h), what uses it goes to a source.' \
    nlohmann/json.hpp '.*\.cpp|virtual_onu/(Records|StateJson)\.h|tools/vorn-onu/running/scenario/operations/Operations\.h|tools/recorder/Answers\.h|tests/tools/(living/BoardClient|page/Browser|page/ServedBoard|vorn-onu/ReadJson)\.h'
only_in 'words and options of commands belong to commands/*Options.cpp; its headers name the classes only.' \
    CLI/CLI.hpp 'tools/vorn-onu/commands/([A-Za-z]*Options|CommandLine|HelpFormat|ManualPage)\.cpp|tests/sweeps/(main|Soak|KillSweep)\.cpp'
only_in 'the page is served by HttpServer.cpp alone.' httplib.h 'tools/vorn-onu/views/page/(HttpServer\.cpp|LimitedServer\.h)'
only_in 'it is slow to compile: compare characters instead.' regex 'tests/sweeps/(Stays|Leaving|FaultPlan)\.cpp|tests/.*Test\.cpp'

# So many sources read a header, themselves or through others. Quoted names are looked up beside the file and below the
# folders that are searched for headers.
readers() {  # readers INCLUDE FOLDER...
    local include=$1
    shift
    grep -rnE --include='*.h' --include='*.cpp' '^#include [<"]' src virtual_onu omci tools platform |
        awk -v include="$include" -v folders="$*" '
        function resolved(from, name,   directory, i) {
            directory = from; sub("[^/]*$", "", directory)
            if ((directory name) in known) return directory name
            for (i = 1; i <= count; ++i) if ((roots[i] name) in known) return roots[i] name
            return ""
        }
        BEGIN {
            count = split("tools/vorn-onu/ virtual_onu/ src/ platform/include/ tools/recorder/ tests/sweeps/", roots, " ")
            roots[++count] = ""
        }
        {
            file = $0; sub(":.*", "", file)
            name = $0; sub("^[^<\"]*[<\"]", "", name); sub("[>\"].*", "", name)
            known[file] = 1
            ++lines; from[lines] = file; to[lines] = name
        }
        END {
            for (i = 1; i <= lines; ++i) {
                if (to[i] == include) reads[from[i]] = 1
                to[i] = resolved(from[i], to[i])
            }
            do {
                changed = 0
                for (i = 1; i <= lines; ++i)
                    if (to[i] in reads && !(from[i] in reads)) { reads[from[i]] = 1; changed = 1 }
            } while (changed)
            split(folders, wanted, " ")
            for (file in reads)
                for (i in wanted)
                    if (file ~ /\.cpp$/ && index(file, wanted[i]) == 1) print file
        }' | sort
}
at_most() {  # at_most NUMBER INCLUDE FOLDER...
    local limit=$1 found
    shift
    found=$(readers "$@")
    [ "$(printf '%s\n' "$found" | grep -c .)" -le "$limit" ] && return
    printf '<%s> is read by %d sources of %s, %d at most: parse and print JSON where that is done already.\n%s\n\n' "$1" \
        "$(printf '%s\n' "$found" | grep -c .)" "${*:2}" "$limit" "$found"
    bad=1
}
if [ "${2:-}" = --list ]; then
    readers "${@:3}"
    exit 0
fi
at_most 110 nlohmann/json.hpp tools/vorn-onu/ virtual_onu/
exit $bad
