#!/usr/bin/env bash
# Can the fault sweep and the thread tests fail? Builds the library with each fault of planted/ in turn, in a copy of the
# sources, and runs against it the program that is to catch it.
#   self_test.sh SOURCE_DIR SWEEP_PROGRAM THREAD_TESTS WORK_DIR
#   self_test.sh --fits SOURCE_DIR    builds nothing; do the faults still fit the sources?
# SWEEP_PROGRAM is built as the preset dev has it, THREAD_TESTS as tsan. Exit codes: 0 every fault caught, 1 one was not, or
# the library without a fault does not pass, 2 a fault could not be planted.
set -euo pipefail
if [ "${1:-}" = --fits ]; then
    status=0
    for fault in "$2"/tests/sweeps/planted/*.patch; do
        patch --dry-run --quiet -d "$2" -p1 <"$fault" && continue
        printf '%s does not fit the sources any more: plant it again.\n' "${fault##*/}"
        status=2
    done
    exit $status
fi
source_dir=$(realpath "$1") sweep=$(realpath "$2") threads=$(realpath "$3")
mkdir -p "$4"
work=$(realpath "$4")
copy=$work/source log=$work/log.txt
missed=()

die() {
    printf '%s\n' "$*" >&2
    exit 2
}

# The sources with a src/ of their own; all else is the project's.
fresh_copy() {
    rm -rf "$copy" "$work/plain" "$work/tsan"
    mkdir -p "$copy"
    local entry
    for entry in "$source_dir"/*; do
        case ${entry##*/} in src | build) ;; *) ln -s "$entry" "$copy/" ;; esac
    done
    cp -r "$source_dir/src" "$copy/src"
}

configure() { # configure KIND SANITIZER
    # The library alone: what provides the kit is not built.
    cmake -S "$copy" -B "$work/$1" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-g1 -DVORN_SANITIZE="$2" \
        -DVORN_PLATFORM=external -DVORN_PLATFORM_INCLUDE_DIR="$copy/platform/include" >"$log" 2>&1 || { cat "$log"; exit 2; }
}

library() { # library KIND: builds it, and answers where it is
    cmake --build "$work/$1" --target vorn_hal >"$log" 2>&1 || { cat "$log" >&2; exit 2; }
    printf '%s' "$work/$1/src"
}

# Runs what a "Caught by" line names against the library as it stands in the copy. Succeeds when nothing is found.
passes() { # passes WORDS...
    local folder
    case $1 in
        sweep)
            folder=$(library plain)
            LD_LIBRARY_PATH=$folder "$sweep" "$source_dir/scenarios/$2.json" "${@:3}" >"$log" 2>&1
            ;;
        threads)
            folder=$(library tsan)
            # A race shows by chance; the tests run until it does, but not for ever.
            for _ in 1 2 3; do
                LD_LIBRARY_PATH=$folder TSAN_OPTIONS="halt_on_error=1 exitcode=66" "$threads" --gtest_brief=1 \
                    --gtest_filter="*Seven*" >"$log" 2>&1 || return 1
            done
            ;;
        *) die "No program \"$1\": sweep or threads." ;;
    esac
}

finding() { # the first line that says what was found
    {
        sed -n '/^Exceptions/,$p' "$log" | sed -n '2s/^ *[0-9]* *//p'
        grep -hE 'WARNING: ThreadSanitizer|Failure' "$log" || true
    } | head -1 | cut -c1-110
}

fresh_copy
configure plain ""
configure tsan thread

# Without a fault nothing may be found: else the faults prove nothing.
while read -r -a words; do
    passes "${words[@]}" || { tail -20 "$log"; printf 'Without a fault this finds something: %s\n' "${words[*]}"; exit 1; }
done < <(sed -n 's/^Caught by: //p' "$source_dir"/tests/sweeps/planted/*.patch | sort -u)

for fault in "$source_dir"/tests/sweeps/planted/*.patch; do
    name=$(basename "$fault" .patch)
    read -r -a words < <(sed -n 's/^Caught by: //p' "$fault")
    patch --quiet -d "$copy" -p1 <"$fault" >"$log" 2>&1 ||
        { cat "$log"; die "$name does not fit the sources any more: plant it again."; }
    if passes "${words[@]}"; then
        missed+=("$name")
        printf '  MISSED  %s  (%s)\n' "$name" "${words[*]}"
    else
        printf '  caught  %-34s %s\n' "$name" "$(finding)"
    fi
    patch --quiet --reverse -d "$copy" -p1 <"$fault"
done
[ ${#missed[@]} -eq 0 ] || { printf '%d planted faults were not caught.\n' "${#missed[@]}"; exit 1; }
