#!/usr/bin/env bash
# Shows driverhost reading and writing a slave on this machine through the plug-in, and checks every answer. Needs
# build/release. The last line says whether all went as expected.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

bin=$PWD/build/release/bin
work=$(mktemp -d)
slave=
unexpected=0
trap '[ -z "$slave" ] || kill "$slave" 2>/dev/null || true; rm -rf "$work"' EXIT

say() {
    echo
    step "$@"
}

# start_slave OPTION...: a slave on a free port of this machine; sets device.
start_slave() {
    [ -z "$slave" ] || { kill "$slave"; wait "$slave" || true; }
    "$bin/slavesim" "$@" >"$work/slave" &
    slave=$!
    for _ in $(seq 100); do
        device=$(sed -n 's/^slavesim: listening on //p' "$work/slave")
        [ -z "$device" ] || return 0
        sleep 0.05
    done
    echo "slavesim did not start" >&2
    exit 1
}

# run STATUS PATTERN ARGUMENT...: runs driverhost on the slave, shows the call and what it printed, and checks its exit
# status and that the output, as one line, matches the extended regular expression.
run() {
    local status=0 wanted=$1 pattern=$2 output
    shift 2
    echo "\$ driverhost $*"
    output=$("$bin/driverhost" --device "$device" "$@" 2>&1) || status=$?
    printf '%s\n' "$output"
    if [ "$status" -ne "$wanted" ]; then
        echo "   NOT AS EXPECTED: exit status $status instead of $wanted"
        unexpected=$((unexpected + 1))
    elif ! printf '%s' "$output" | tr -s '\n ' '  ' | grep -qE -- "$pattern"; then
        echo "   NOT AS EXPECTED: no match for $pattern"
        unexpected=$((unexpected + 1))
    fi
}

# write_and_read ADDRESS "WRITE ARGUMENTS" "READ ARGUMENTS" PATTERN: a separate read must return the value written.
write_and_read() {
    local address=$1
    local -a written read_back
    read -ra written <<<"$2"
    read -ra read_back <<<"$3"
    run 0 '' write "$address" "${written[@]}"
    run 0 "$4" read "$address" "${read_back[@]}"
}

start_slave
say "a sample project: its bit tags decide what byte reads ask the device for"
run 0 'created' project create --replace --tag DO3 --tag DO4 --tag DO6 --tag DI5 --tag DI10 --tag 1-DI20 --tag FN5DO9
run 0 'STATION' project show

say "the driver and the device"
run 0 'Modbus TCP Slave' info
echo "slavesim answers at $device: HR n holds n, IR n holds 65535 - n, DO n is on for multiples of 3, DI n of 5"

say "registers"
run 0 'HR100 100 .*HR109 109$' read HR100 --count 10
run 0 'FN6HR1 1$' read FN6HR1
run 0 'IR1 65534 .*IR3 65532$' read IR1 --count 3
run 0 'IR1 -2$' read IR1 --as int
run 0 'HR100 0x0064$' read HR100 --as hex

say "double words: the low word first, or the high word first with the mark SW"
run 0 'HR1 131073 ' read HR1 --type dword --count 2
run 0 'HR1SW 65538$' read HR1SW --type dword

say "bytes and blocks of registers, low byte first; bits inside registers, here across a register's border"
run 0 '2 .*1 .*3 .*1$' read HR258 --type byte --count 4
run 0 '2 .*1 .*1$' read IR65277 --type block --count 3
run 0 'HR3.0 1 .*HR3.1 1 .*HR3.2 0' read HR3.0 --type bit --count 20
run 0 'IR' read IR7.14 --type bitblock --count 4

say "coils and discrete inputs"
run 0 'DO1 0 .*DO3 1 .*DO6 1' read DO1 --count 8
run 0 'FN5DO3 1$' read FN5DO3
run 0 'DI5 1 .*DI6 0' read DI5 --count 2 --type bitblock

say "a byte read over scattered tags: the trace shows one request for each run of configured bits"
run 0 'quantity 2.* 36.* 1$' read DO1 --type byte --count 2 --trace
run 0 ' 16.* 2.* 8$' read DI1 --type block --count 3

say "the same as one JSON object a line, for programs"
run 0 '"values":\[100,101\]' --format json read HR100 --count 2

say "writes, each read back by a fresh read"
write_and_read HR200 '1 2 0xFFFF' '--count 3' 'HR200 1 .*HR201 2 .*HR202 65535$'
write_and_read FN6HR210 '-1' '--as int' 'FN6HR210 -1$'
write_and_read HR220 '--type dword 305419896' '--type dword --as hex' '0x12345678$'
run 0 'HR220 0x5678 HR221 0x1234$' read HR220 --count 2 --as hex
write_and_read HR220SW '--type dword 305419896' '--type dword --as hex' '0x12345678$'
run 0 'HR220 0x1234 HR221 0x5678$' read HR220 --count 2 --as hex
write_and_read HR230 '--type float32 3.5' '--type float32' ' 3.5$'
write_and_read HR240 '--type byte --as text pump' '--type byte --count 4 --as text' 'pump'
write_and_read HR250.15 '--type bit 1 1' '--type bit --count 2' 'HR250.15 1 .* 1$'
run 0 'HR250 33018 HR251 251$' read HR250 --count 2
write_and_read FN6HR260.2 '--type bit 0' '--type bit' ' 0$'
write_and_read DO100 '1 0 1 1' '--count 4' 'DO100 1 DO101 0 DO102 1 DO103 1$'
write_and_read FN5DO110 '1 1' '--count 2' 'FN5DO110 1 FN5DO111 1$'

say "signals by their names, in their units"
run 0 'created' project create --replace --tags <(printf '%s\n' 'address;name;type;scale;offset;unit;decimals' \
    'HR6;Oven 3 temp;int16;0,1;-12,9;°C;1' 'HR20;Setpoint oven;uint16;0,5;;°C;1' 'DO3;Pump;bool')
run 0 'Oven 3 temp -12.3 °C .*Setpoint oven 10.0 °C' read 'Oven*' 'Setpoint*'
run 0 '180.5 °C' write 'Setpoint oven' 180.5 --verify
run 2 'in steps of 0.5' write 'Setpoint oven' 180.3
run 0 'HR20 361$' read HR20

say "what the device or the driver refuses"
run 1 "error: read 126 word\(s\) from 1-HR1> can't read any word from HR1" read HR1 --count 126
run 1 "error: write 1 word\(s\) to 1-IR3> can't write any word to IR3" write IR3 5
run 2 '70000' write HR1 70000
start_slave --serve HR=1-50
run 1 'error: read 1 word\(s\) from 1-HR51> exception code:02' read HR51

say "a slave that makes faults: drops every second answer; the driver tries again"
start_slave --fault drop --fault-every 2
run 0 '"attempts":1' --format json --timeout 100 read HR1
run 0 '"attempts":2' --format json --timeout 100 read HR1
run 1 'error: read 1 word\(s\) from 1-HR1> no answer from .* within 100 ms' --timeout 100 --retry 0 read HR1

say "a slave that is gone"
kill "$slave"
wait "$slave" || true
slave=
run 1 'error: connection refused by' read HR1

echo
if [ "$unexpected" -ne 0 ]; then
    echo "demo: $unexpected answer(s) not as expected, see NOT AS EXPECTED above"
    exit 1
fi
echo "demo: all went as expected"
