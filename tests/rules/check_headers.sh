#!/usr/bin/env bash
# Each public header compiles alone: in C++11, 17 and 20, and those of C functions in C.
#   check_headers.sh SOURCE_DIR CXX CC
set -u
source=$1 cxx=$2 cc=$3
bad=0
flags=(-Wall -Wextra -Wpedantic -Werror -fsyntax-only "-I$source/src" "-I$source/platform/include")

public=$(sed -n '/^set(VORN_PUBLIC_HEADERS/,/)/p' "$source/src/CMakeLists.txt" | grep -oE '[A-Za-z0-9_/]+\.h')
kit=$(cd "$source/platform/include" && ls platform/*.h)
if [ -z "$public" ] || [ -z "$kit" ]; then
    echo "No headers found."
    exit 1
fi

try() {  # try LANGUAGE STANDARD HEADER COMPILER
    # A declaration of its own: C allows no file without one, and some headers have nothing but macros.
    printf '#include "%s"\nextern int nothing;\n' "$3" |
        "$4" -x "$1" "-std=$2" "${flags[@]}" - || { echo "$3 does not compile alone in $2."; bad=1; }
}

for header in $public $kit; do
    for standard in c++11 c++17 c++20; do try c++ $standard "$header" "$cxx"; done
done
c_headers='bridge/BridgeControl.h device/Counters.h device/DeviceInfo.h device/EthernetUni.h hal/CounterRecords.h hal/HalForwarding.h hal/HalState.h hal/Memory.h'
for header in $c_headers $(printf '%s\n' "$kit" | grep -vx platform/logger.h); do
    for standard in c99 c17; do try c $standard "$header" "$cc"; done
done
exit $bad
