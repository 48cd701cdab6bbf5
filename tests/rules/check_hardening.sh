#!/usr/bin/env bash
# The binaries that were built have the hardening that SECURITY.md promises.
#   check_hardening.sh BUILD_TYPE SANITIZERS NM READELF FILE...
set -u
build_type=$1 sanitizers=$2 nm=$3 readelf=$4
shift 4
bad=0

complain() {
    printf '%s: %s\n' "$1" "$2"
    bad=1
}

for file in "$@"; do
    headers=$("$readelf" -lW "$file") dynamic=$("$readelf" -dW "$file") symbols=$("$nm" -D --undefined-only "$file")
    grep -q GNU_RELRO <<<"$headers" || complain "$file" "is not read-only after relocation (RELRO)"
    grep -qE '\(FLAGS(_1)?\).*NOW' <<<"$dynamic" || complain "$file" "is not resolved at load time (BIND_NOW)"
    grep -qE 'GNU_STACK .* RW ' <<<"$headers" || complain "$file" "has an executable stack"
    grep -q '__stack_chk_fail' <<<"$symbols" || complain "$file" "has no stack protector"
    [[ $sanitizers = *address* ]] || "$readelf" -hW "$file" | grep -qE 'Type: +DYN' ||
        complain "$file" "is not position-independent"
    grep -q TEXTREL <<<"$dynamic" && complain "$file" "has relocations in its code"
    path=$(sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/\2/p' <<<"$dynamic")
    # What stands between colons; no path is no element at all.
    while IFS= read -r -d : element; do
        case $element in
            /* | "\$ORIGIN" | "\$ORIGIN/"*) ;;
            *) complain "$file" "looks for libraries in the current directory: \"$path\"" && break ;;
        esac
    done <<<"${path:+$path:}"
    case "$build_type/$sanitizers" in
        Release/ | RelWithDebInfo/ | MinSizeRel/)
            grep -qE '__[a-z]+_chk' <<<"${symbols//__stack_chk_fail/}" ||
                complain "$file" "does not use the checked functions of the C library (_FORTIFY_SOURCE)"
            ;;
    esac
done
exit $bad
