#!/usr/bin/env bash
# completion.bash DRIVERHOST SCRIPT SLAVESIM SCRIPT: sources the completion scripts and compares what they offer for
# command lines whose last word is being completed. Words are separated by blanks; "_" is an empty word.
set -uo pipefail
driverhost=$1
declare -A program=([driverhost]=$1 [slavesim]=$3)
tool=driverhost # the one under test
# shellcheck source=/dev/null
source "$2"
# shellcheck source=/dev/null
source "$4"
programs=$(mktemp -d)
cp "$1" "$programs" && cp -r "$(dirname "$1")/drivers" "$programs" || exit 1
program[driverhost]=$programs/driverhost
# shellcheck disable=SC2016 # what the shell would run stays as it is
tags=('HR6,Oven_3' 'HR7,Oven`reboot`' 'HR8,Oven$(reboot)')
"${program[driverhost]}" project create --tags <(printf 'address,name\n' && printf '%s\n' "${tags[@]}") || exit 1
cd "$(mktemp -d)" || exit 1
touch tags.csv watch.csv

failures=0

# offers LINE EXPECTED: the words after the tool's name in LINE, and everything that must be offered, in any order.
offers() {
    local words found expected
    read -ra words <<<"$1"
    COMP_WORDS=("${program[$tool]}" "${words[@]/#_/}")
    COMP_CWORD=${#words[@]}
    COMPREPLY=()
    "_$tool"
    found=$(printf '%s\n' "${COMPREPLY[@]}" | sort -u | xargs)
    expected=$(xargs -n 1 <<<"$2" | sort -u | xargs)
    if [ "$found" != "$expected" ]; then
        echo "$tool $1: offers '$found', not '$expected'"
        failures=$((failures + 1))
    fi
}

# includes LINE WORDS: the same, but more may be offered.
includes() {
    local word
    read -ra COMP_WORDS <<<"$tool $1"
    COMP_WORDS=("${program[$tool]}" "${COMP_WORDS[@]:1}")
    COMP_WORDS=("${COMP_WORDS[@]/#_/}")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    "_$tool"
    for word in $2; do
        if ! printf '%s\n' "${COMPREPLY[@]}" | grep -qxF -- "$word"; then
            echo "$tool $1: does not offer '$word'"
            failures=$((failures + 1))
        fi
    done
}

includes "_" "info read write project scan help"
offers "rea" "read"
offers "nothing" ""
offers "project _" "create show import export"
offers "--station 3 project sh" "show"
offers "help _" "$("$driverhost" --help | sed -n '/^Subcommands:/,/^$/ s/^  \([a-z]*\) .*/\1/p')"
offers "help project im" "import"
offers "--form" "--format"
offers "--format _" "text json"
offers "--format = j" "json"
offers "read HR1 --format _" "text json"
offers "read HR1 --type b" "bit bool byte block bitblock"
offers "read HR1 --count _" ""
offers "--trace rea" "read"
offers "--trace read _" "DI DO FN5DO FN6HR HR IR Oven_3"
offers "watch ov" "Oven_3"
offers "write \"O" "Oven_3"
offers "write F" "FN5DO FN6HR"
offers "scan --area _" "HR IR DO DI"
offers "scan --area HR,D" "HR,DO HR,DI"
offers "watch HR1 : b" "bit bool byte block bitblock"
offers "watch HR1 : stri" "string("
offers "watch --csv w" "watch.csv"
offers "scan --f" "--format --from --finest"
includes "scan --" "--stations --area --from --to --finest --values --output --device --station --help"
offers "project import t" "tags.csv"
offers "project create --tags t" "tags.csv"
offers "--driver _" "tags.csv watch.csv"
offers "chart wat" "watch.csv"
offers "chart watch.csv --output t" "tags.csv"
offers "chart --signals x --columns y t" "tags.csv"
offers "project show --a" "--all"

tool=slavesim
offers "--im" "--image"
includes "--" "--host --only-image --fault --fault-every --help --version"
offers "_" ""
offers "--image t" "tags.csv"
offers "--log w" "watch.csv"
offers "--fault d" "drop double drip"
offers "--fault = si" "silent"
includes "--fault =" "late silent refuse"
offers "--serve D" "DO= DI="
offers "--port _" ""
offers "--moving _" ""

[ "$failures" -eq 0 ] && echo "completion: all as expected"
exit "$failures"
