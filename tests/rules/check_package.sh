#!/usr/bin/env bash
# Makes the packages, unpacks them and uses them as strangers do: every header by itself, the three ways to link a daemon
# as the README writes them, the example, and the documents' command lines with the installed tool.
#   check_package.sh BUILD_DIR COMPILER SANITIZERS [EMULATOR...]
set -euo pipefail
build=$1 compiler=$2 sanitizers=$3
shift 3
emulator=("$@")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
quietly() { "$@" >"$scratch/log" 2>&1 || { echo "failed: $*"; cat "$scratch/log"; exit 1; }; }
fail() { printf '%s\n' "$*"; exit 1; }

# ---- packages ----

quietly cpack --config "$build/CPackConfig.cmake" -B "$scratch/packages" -G "DEB;TGZ"
for package in "$scratch"/packages/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x -C "$scratch"
done
names=$(cd "$scratch/packages" && ls ./*.deb | sed -E 's,^\./([a-z0-9-]+)_.*,\1,' | tr '\n' ' ')
[ "$names" = "libvorn-hal-dev libvorn-hal1 python3-vorn-onu vorn-onu " ] || fail "the packages are: $names"
in_archive() { tar -tzf "$scratch"/packages/*.tar.gz | sed -E '/\/$/d; s,^[^/]*/,,' | sort; }
in_packages() { (cd "$scratch" && find usr ! -type d | sort); }
diff <(in_archive) <(in_packages) || fail "archive and packages hold different files"

prefix=$scratch/usr
doc=$prefix/share/doc
for name in $names; do
    [ -s "$doc/$name/copyright" ] || fail "$name has no copyright file"
done
# What the files are linked with comes with a package that is named (an emulated program's libraries are another machine's).
if [ -z "$sanitizers" ] && [ ${#emulator[@]} -eq 0 ]; then
    depends=$(for package in "$scratch"/packages/*.deb; do dpkg-deb -f "$package" Depends; done |
        sed -E 's/ \([^)]*\)//g; s/, /\n/g')
    find "$prefix/bin" "$prefix/lib" -type f \( -perm -100 -o -name '*.so*' \) -exec readelf -d {} + |
        sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' | sort -u |
        while IFS= read -r library; do
            compgen -G "$prefix/lib/$library*" >/dev/null ||
                dpkg -S "*/$library" | sed 's/[:,].*//' | grep -qxF -e libgcc-s1 -e "$depends" ||
                fail "no package that the packages depend on has $library"
        done
fi
# Links from one document to another lead somewhere.
while IFS=: read -r file link; do
    target=${link#*](}
    target=${target%%[#)]*}
    [ -e "$(dirname "$file")/$target" ] || fail "${file#"$doc/"} links to $target, which is not installed"
done < <(grep -roE '\]\([^)#:]+[^):]*\)' --include='*.md' "$doc")

# ---- headers ----

flags=(-std=c++17 -Wall -Wextra -Werror)
[ -n "$sanitizers" ] && flags+=("-fsanitize=$sanitizers")
for folder in vorn-hal virtual_onu; do
    for header in $(cd "$prefix/include/$folder" && find . -name '*.h' | sed 's|^\./||'); do
        printf '#include "%s"\n' "$header" >"$scratch/one.cpp"
        "$compiler" "${flags[@]}" -fsyntax-only -I"$prefix/include/$folder" "$scratch/one.cpp" ||
            fail "$header cannot be included on its own"
    done
done

# ---- a daemon, linked in the three ways of the README ----

readme=$doc/vorn-onu/README.md
block() { awk -v kind="$1" '$0 == "```" kind {on = 1; next} $0 == "```" {on = 0} on' "$2"; }
ways=$(sed -nE 's/^\| on .*\| `(vorn-hal[a-z-]*)` \| `(vorn::[a-z_]+)` \|$/\1=\2/p' "$readme")
[ "$(wc -w <<<"$ways")" -eq 3 ] || fail "the README should name three ways to link a daemon, not: $ways"

work=$scratch/work
mkdir "$work"
cd "$work"
block cpp "$readme" >daemon.cpp

# The device's kit: a library that defines what libvorn_hal.so leaves to it.
mkdir kit
sed 's/.*/void &(void) {}/' "$here/../../platform/kit_symbols.txt" >kit/kit.c
quietly "$compiler" -x c -shared -fPIC kit/kit.c -o kit/libkit.so
export KIT_LIBS="-L$work/kit -lkit"

export LD_LIBRARY_PATH=$prefix/lib:$work/kit PKG_CONFIG_PATH=$prefix/lib/pkgconfig
start() { # PROGRAM...: by itself
    "${emulator[@]}" "$@"
}
start_on_virtual_onu() { # PROGRAM...: as vorn-onu exec does, with what the HAL prints
    if [ ${#emulator[@]} -eq 0 ]; then
        "$prefix/bin/vorn-onu" exec --hal-output - -- "$@"
    else
        "${emulator[@]}" -E "LD_PRELOAD=$prefix/lib/libvirtual_onu.so" "$@"
    fi
}
# PROGRAM WAY: the daemon makes its bridge on the virtual ONU, however it was linked.
check_daemon() {
    case $2 in
        *virtual) start "$1" >"$scratch/daemon.log" 2>&1 ;;
        *) start_on_virtual_onu "$1" >"$scratch/daemon.log" 2>&1 ;;
    esac || { cat "$scratch/daemon.log"; fail "the daemon that is linked with $2 does not run"; }
    grep -q 'CONFIGURE BRIDGE.*gpon3\.3' "$scratch/daemon.log" || fail "the daemon that is linked with $2 makes no bridge"
}

if command -v pkg-config >/dev/null; then
    # shellcheck disable=SC2317
    c++() { command "$compiler" "${flags[@]}" "$@"; }
    block sh "$readme" | grep '^c++ ' >lines
    for way in $ways; do
        line=$(grep -E -- "${way%=*}\)" lines) || fail "the README has no line to compile with ${way%=*}"
        rm -f daemon
        eval "$line" || fail "this line of the README does not link: $line"
        check_daemon ./daemon "${way%=*}"
    done
fi

block cmake "$readme" >snippet.cmake
for way in $ways; do
    target=${way#*=}
    [ "$target" = vorn::hal ] && target="vorn::hal \${KIT_LIBS}"
    # The libraries of the kit are a list for CMake, and each way's daemon has a name of its own.
    sed -E "s/vorn::hal_exec\)/$target)/; s/\(daemon /(daemon-${way%=*} /" snippet.cmake
done >ways.cmake
configured() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
configure() { # SOURCE BUILD
    quietly cmake -S "$1" -B "$2" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_TOOLCHAIN_FILE="$(configured CMAKE_TOOLCHAIN_FILE)" ${sanitizers:+-DCMAKE_CXX_FLAGS=-fsanitize=$sanitizers} \
        "${@:3}"
    quietly cmake --build "$2"
}
configure "$here/../consumer/package" consumer -DREADME_WAYS="$work/ways.cmake" -DKIT_LIBS="-L$work/kit;-lkit"
for way in $ways; do
    check_daemon "consumer/daemon-${way%=*}" "${way#*=}"
done
start consumer/omci

# ---- the example, and the documents' lines ----

configure "$doc/libvorn-hal-dev/examples" example
start_on_virtual_onu example/example-daemon >"$scratch/daemon.log"
grep -q "daemon: the service is up" "$scratch/daemon.log" || fail "the example daemon's service is not up"

if [ ${#emulator[@]} -eq 0 ]; then
    mkdir lines-of-the-documents
    cd lines-of-the-documents
    cp -r "$doc/vorn-onu/scenarios" .
    export PATH="$prefix/bin:$work/example:$PATH"
    while IFS= read -r line; do
        (eval "$line") >"$scratch/log" 2>&1 </dev/null ||
            { cat "$scratch/log"; fail "this line of getting-started.md fails: $line"; }
    done < <(block sh "$doc/vorn-onu/docs/getting-started.md")
fi

# ---- the Python module, as another Python finds it ----

python=$(command -v /usr/bin/python3 python3 | head -1)
if [ ${#emulator[@]} -eq 0 ] && [ -n "$python" ]; then
    export PYTHONPATH=$prefix/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1
    quietly env "VORN_ONU=$prefix/bin/vorn-onu" "$python" "$doc/python3-vorn-onu/examples/internet_service.py"
    found=$("$python" -c 'import importlib.metadata as installed
one = installed.distribution("vorn-onu")
print(one.version, *[point.value for point in one.entry_points if point.group == "pytest11"])')
    version=$(dpkg-deb -f "$scratch"/packages/python3-vorn-onu_*.deb Version)
    [ "$found" = "$version vorn_onu.pytest_plugin" ] || fail "the installed Python module says of itself: $found"
fi

# ---- what the tool's man page and completion know ----

tool=("${emulator[@]}" "$prefix/bin/vorn-onu")
commands=$("${tool[@]}" --help | awk '/^Subcommands:/ {on = 1; next} !NF {on = 0} on && /^  [^ ]/ {print $1}')
[ -n "$commands" ] || fail "vorn-onu --help names no commands"
# shellcheck disable=SC1091
. "$prefix/share/bash-completion/completions/vorn-onu"
completed() { # WORD... : the last one is what is being typed
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _vorn_onu
    [[ " ${COMPREPLY[*]} " == *" ${!#} "* ]]
}
for heading in FILES ENVIRONMENT "SEE ALSO"; do
    grep -A1 -x -- "\.SH $heading" "$prefix/share/man/man1/vorn-onu.1" | grep -q '^\.[TB]' ||
        fail "the man page has nothing under $heading"
done
for command in $commands; do
    grep -qx -- "\.SS $command" "$prefix/share/man/man1/vorn-onu.1" || fail "the man page does not know $command"
    completed vorn-onu "$command" || fail "the completion does not know $command"
    for option in $("${tool[@]}" "$command" --help | grep -oE '^ +--[a-z-]+'); do
        grep -q -- "$(printf '%s' "$option" | sed 's/-/\\\\-/g')" "$prefix/share/man/man1/vorn-onu.1" ||
            fail "the man page does not know $option of $command"
        completed vorn-onu "$command" "$option" || fail "the completion does not know $option of $command"
    done
done
