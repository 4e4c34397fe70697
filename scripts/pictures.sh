#!/usr/bin/env bash
# Redraws the pictures of docs/commissioning.md: driverhost in a terminal, with slavesim as the device. Needs
# build/release. Takes about half a minute, because a watched signal needs time to move.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

top=$PWD
pictures=$top/docs/pictures
work=$(mktemp -d)
slave=
trap '[ -z "$slave" ] || kill "$slave" 2>/dev/null || true; rm -rf "$work"' EXIT

# A copy of the program in a folder of its own, so that the project next to it is the one of the pictures.
mkdir -p "$pictures" "$work/drivers"
cp build/release/bin/driverhost "$work"
cp build/release/bin/drivers/libmodbus_tcp_slave.so "$work/drivers"
cd "$work"

"$top/build/release/bin/slavesim" --moving --stations 1,3 --serve HR=1-200 --serve IR=1-64 --serve DO=1-96 \
    --serve DI=1-32 >slave &
slave=$!
device=
for _ in $(seq 100); do
    device=$(sed -n 's/^slavesim: listening on //p' slave)
    [ -z "$device" ] || break
    sleep 0.05
done
[ -n "$device" ] || { echo "slavesim did not start" >&2; exit 1; }

# picture NAME SIZE UNTIL ARGUMENT...: driverhost with these arguments, once UNTIL is on the screen or it has ended.
picture() {
    local name=$1 size=$2 until=$3
    shift 3
    step "$name"
    /usr/bin/python3 -B "$top/scripts/terminal_picture.py" --size "$size" ${until:+--until "$until"} \
        --title "driverhost $*" --output "$pictures/$name.svg" \
        "$work/driverhost" --device "$device" "$@"
}

cat >tags.csv <<'CSV'
address,name,type,scale,offset,unit,decimals,comment
IR2,Oven 3 temp,uint16,0.02,-20,°C,1,thermocouple in the door
IR4,Oven 3 pressure,uint16,0.001,,bar,2,
HR4,Drive torque,float32,,,Nm,2,
HR100,Setpoint oven,uint16,0.5,,°C,1,
DO1,Pump,bool
DI2,Door open,bool
CSV
./driverhost --device "$device" project create --replace >created
picture scan 84x40 "" --timeout 300 scan --stations 1-4 --to 1000
./driverhost project import tags.csv >imported
picture project 110x40 "" project show --all
picture watch 104x24 "8\d sample" watch "Oven*" "Drive*" Pump "Door*" HR1 HR300 --interval 250 \
    --csv record.csv
step "chart"
./driverhost chart record.csv --title "Twenty seconds of a moving slave" --output "$pictures/chart.svg" >drawn
ls -l "$pictures"
