#!/bin/sh
# Nothing in the virtual ONU but RealLibc.cpp may call a C library function that libc/interposed/ defines: the call would
# come back to the virtual ONU. Takes the project's root folder.
set -eu
folder=$1/virtual_onu

names=$(sed -n 's/.*INTERPOSES(\([A-Za-z0-9_]*\)).*/\1/p' "$folder"/libc/interposed/*.cpp | grep -v '^name$' | sort -u)
count=$(printf '%s\n' "$names" | wc -l)
if [ "$count" -lt 30 ]; then
    echo "found only $count interposed functions: is INTERPOSES still how they are marked?"
    exit 1
fi
any=$(printf '%s\n' "$names" | tr '\n' '|' | sed 's/|$//')

# A plain or global call; not a member (x.open), a qualified one (real::open), or a declaration (int open(...).
# std::remove is also an algorithm and therefore not looked at.
plain="(^|[^A-Za-z0-9_:.>*& ]|[^A-Za-z0-9_.>*&] +|&& +|return +|^ +|[^A-Za-z0-9_>]::)($any)\\("
standard="std::(fopen|fclose|fflush|rename|system)\("

# All files at once, a line with its file's name in front; texts and comments are emptied.
found=$(grep -n '' "$folder"/*.[ch]* "$folder"/*/*.[ch]* "$folder"/*/*/*.[ch]* /dev/null | grep -v '^[^:]*/RealLibc.cpp:' |
    sed -e 's/"\([^"\\]\|\\.\)*"/""/g' -e 's,//.*,,' -e 's/^[^:]*:[0-9]*:/&\n/' | awk '
        NR % 2 { place = $0; next } { print place "\t" $0 }' | grep -E "	(.*($plain)|.*($standard)|($any)\()" || true)
if [ -n "$found" ]; then
    printf '%s\n' "$found"
    echo "call these through real:: (RealLibc.h); the virtual ONU's own functions of the same name are called qualified"
    exit 1
fi
