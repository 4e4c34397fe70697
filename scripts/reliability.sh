#!/usr/bin/env bash
# Measures the table of docs/reliability.md again. Needs build/release.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

table=$(mktemp)
trap 'rm -f "$table"' EXIT
step "measure the faults one at a time (some minutes)"
build/release/soak/reliability | tee "$table"

# Replace the lines between the two marks of the document.
awk -v table="$table" '
    /<!-- table ends -->/ { inside = 0 }
    !inside { print }
    /<!-- table begins -->/ { inside = 1; print ""; while ((getline line < table) > 0) print line; print "" }
' docs/reliability.md >"$table.md"
mv "$table.md" docs/reliability.md
