#!/usr/bin/env bash
# Installs the library into a scratch directory, compiles a program against the installed headers alone and runs it on
# the virtual ONU: what a daemon's developer gets must be enough.
#   check_installed_headers.sh BUILD_DIR COMPILER SANITIZERS
set -euo pipefail
build=$1 compiler=$2 sanitizers=$3
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/usr" >"$scratch/install.log"
lib=$(dirname "$(find "$scratch/usr" -name libvorn_hal.so)")
flags=(-std=c++17 -Wall -Wextra -Werror)
[ -n "$sanitizers" ] && flags+=("-fsanitize=$sanitizers")

for header in $(cd "$scratch/usr/include/vorn-hal" && find . -name '*.h' | sed 's|^\./||'); do
    printf '#include "%s"\n' "$header" >"$scratch/one.cpp"
    "$compiler" "${flags[@]}" -fsyntax-only -I"$scratch/usr/include/vorn-hal" "$scratch/one.cpp" ||
        { echo "$header cannot be included on its own"; exit 1; }
done

"$compiler" "${flags[@]}" -I"$scratch/usr/include/vorn-hal" "$here/consumer/slots.cpp" -o "$scratch/slots" \
    -L"$lib" -lvorn_hal -lvirtual_onu -Wl,-rpath,"$lib"
"$scratch/slots"
