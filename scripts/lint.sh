#!/usr/bin/env bash
# Checks the sources with tools. Needs build/release to be configured.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

step "clang-format"
sources | xargs clang-format-14 --dry-run -Werror

step "shellcheck"
git ls-files -z --cached --others --exclude-standard | xargs -0 grep -lE '^#!.*\bbash' -- | xargs shellcheck -x -e SC1091

step "floors of host/, include guards"
# A folder may include its own headers and those of lower floors; a folder without a floor may include nothing.
upward=$(grep -rE '^#include "[a-z_.]+/' host | awk -F'[/:"]' '
    BEGIN { split("text 1 session 2 signals 3 project 4 watch 5 scan 5 commands 6 cli 7", words, " ")
            for (i = 1; i in words; i += 2) floor[words[i]] = words[i + 1] }
    $5 == ".." || ($5 != $2 && floor[$5] + 0 >= floor[$2] + 0)')
guards=$(sources | grep '\.h$' | xargs grep -hE '^#ifndef [A-Z0-9_]+_H$' | sort | uniq -d)
if [ -n "$upward$guards" ]; then
    printf "%s\n" "${upward:+not below its folder: $upward }${guards:+twice: $guards}" >&2
    exit 1
fi

step "cppcheck"
folders=()
for folder in runtime host simulator examples; do
    [ ! -d "$folder" ] || folders+=("$folder")
done
cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++17 --library=qt -j "$(nproc)" \
    --enable=warning,performance,portability --suppress=unknownMacro --suppress=missingInclude \
    --suppress='*:*_autogen/*' -I runtime/drivers \
    "${folders[@]}"

# Leaves out the code that Google Benchmark's macros generate, which the analyzer misunderstands.
step "clang-tidy"
run-clang-tidy-14 -quiet -p build/release -j "$(nproc)" -extra-arg=-Wno-gnu-zero-variadic-macro-arguments \
    "$PWD/(runtime|host|simulator|bench|fuzz|examples|soak|tests)/(?!in_process).*\.cpp$" \
    >build/clang-tidy.log 2>&1 || { grep -E '(warning|error):' -A4 build/clang-tidy.log || tail -40 build/clang-tidy.log; exit 1; }
echo "lint: clean"
