#!/usr/bin/env bash
# The library is small, asks the system for nothing but memory, mathematics and puts, and has nothing
# that can be written but the coefficient tables, the choice of level and what compiler and loader need.
set -euo pipefail
library=$1 strip=$2 objdump=$3 # as CMake calls them
scratch=$(mktemp)
trap 'rm -f "$scratch"' EXIT
"$strip" -o "$scratch" "$library"
[ "$(stat -c %s "$scratch")" -le $((232 * 1024)) ]
if "$objdump" -T "$library" | sed -nE 's/.*\*UND\*.* ([a-z]\w*)$/\1/p' |
    grep -vxE 'malloc|calloc|free|mem(cpy|move|set)|puts|(atan|sincos|cos|sin|fma|sqrt|pow|exp2)f?'; then exit 1; fi
writable=$("$objdump" -tC "$library" | sed -nE 's/.* [gl] +O \.(data|bss)\s+\w+\s+(\.hidden )?//p' |
    grep -vE '^(completed\.0|__dso_handle|__cpu_model|__cpu_features2|DW\.ref\..*|__TMC_END__)$' | sort)
diff - <(echo "$writable") <<'END'
rsmpl::(anonymous namespace)::active
s_FiltCoeffs_2_1
s_FiltCoeffs_3_1
s_FiltCoeffs_3_2
s_FiltCoeffs_4_1
s_FiltCoeffs_6_1
END
