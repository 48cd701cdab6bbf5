#!/usr/bin/env bash
# Makes the packages, unpacks them and uses them as a daemon's developer does: every header by itself, a build with
# find_package and one with pkg-config, and the built programs on the virtual ONU.
#   check_package.sh BUILD_DIR COMPILER SANITIZERS [EMULATOR...]
set -euo pipefail
build=$1 compiler=$2 sanitizers=$3
shift 3
emulator=("$@")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
quietly() { "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }; }

# ---- packages ----

quietly cpack --config "$build/CPackConfig.cmake" -B "$scratch/packages" -G "DEB;TGZ"
for package in "$scratch"/packages/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x -C "$scratch"
done
names=$(cd "$scratch/packages" && ls ./*.deb | sed -E 's,^\./([a-z0-9-]+)_.*,\1,' | tr '\n' ' ')
[ "$names" = "libvorn-hal-dev libvorn-hal1 vorn-onu " ] || { echo "the packages are: $names"; exit 1; }
in_archive() { tar -tzf "$scratch"/packages/*.tar.gz | sed -E '/\/$/d; s,^[^/]*/,,' | sort; }
in_packages() { (cd "$scratch" && find usr ! -type d | sort); }
diff <(in_archive) <(in_packages) || { echo "archive and packages hold different files"; exit 1; }

prefix=$scratch/usr
flags=(-std=c++17 -Wall -Wextra -Werror)
[ -n "$sanitizers" ] && flags+=("-fsanitize=$sanitizers")

# ---- headers ----

for header in $(cd "$prefix/include/vorn-hal" && find . -name '*.h' | sed 's|^\./||'); do
    printf '#include "%s"\n' "$header" >"$scratch/one.cpp"
    "$compiler" "${flags[@]}" -fsyntax-only -I"$prefix/include/vorn-hal" "$scratch/one.cpp" ||
        { echo "$header cannot be included on its own"; exit 1; }
done

# ---- builds ----

configured() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
quietly cmake -S "$here/../consumer/package" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DEXAMPLES_DIR="$here/../../examples" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_TOOLCHAIN_FILE="$(configured CMAKE_TOOLCHAIN_FILE)" \
    ${sanitizers:+-DCMAKE_CXX_FLAGS=-fsanitize=$sanitizers}
quietly cmake --build "$scratch/consumer"
if command -v pkg-config >/dev/null; then
    # shellcheck disable=SC2046
    quietly "$compiler" "${flags[@]}" "$here/../../examples/daemon.cpp" -o "$scratch/by-pkg-config" \
        $(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs vorn-hal) \
        -Wl,--unresolved-symbols=ignore-in-shared-libs
fi

# ---- the programs ----

"${emulator[@]}" "$scratch/consumer/slots"
"${emulator[@]}" "$scratch/consumer/vtable"
if [ ${#emulator[@]} -eq 0 ]; then
    "$prefix/bin/vorn-onu" exec -- "$scratch/consumer/daemon" >"$scratch/daemon.log"
else
    "${emulator[@]}" -E "LD_PRELOAD=$prefix/lib/libvirtual_onu.so" "$scratch/consumer/daemon" >"$scratch/daemon.log"
fi
grep -q "daemon: the service is up" "$scratch/daemon.log"

# ---- what the tool's man page and completion know ----

for command in run send exec; do
    for option in $("${emulator[@]}" "$prefix/bin/vorn-onu" "$command" --help | grep -oE '^ +--[a-z-]+'); do
        grep -q -- "$(printf '%s' "$option" | sed 's/-/\\\\-/g')" "$prefix/share/man/man1/vorn-onu.1" ||
            { echo "the man page does not know $option of $command"; exit 1; }
        COMP_WORDS=(vorn-onu "$command" "$option") COMP_CWORD=2
        # shellcheck disable=SC1091
        . "$prefix/share/bash-completion/completions/vorn-onu" && _vorn_onu
        [[ " ${COMPREPLY[*]} " == *" $option "* ]] || { echo "the completion does not know $option of $command"; exit 1; }
    done
done
