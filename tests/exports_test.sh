#!/usr/bin/env bash
# The library exports what the version script lists, no more and no less.
# Usage: exports_test.sh NM LIBRARY VERSION_SCRIPT
set -euo pipefail
exported=$("$1" -D --defined-only "$2" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)
listed=$(sed -n '/^ *global:/,/^ *local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$3" | sort)
[ -n "$listed" ] && diff <(echo "$listed") <(echo "$exported")
