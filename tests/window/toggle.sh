#!/usr/bin/env bash
# Clicks and types at random in every control of the program's window while traffic flies, for some minutes, then closes
# it. Meant for a build with the thread sanitizer, whose reports it counts.
# usage: toggle.sh PROGRAM RIG OUT [SECONDS] [SEED]
set -euo pipefail
program=$(realpath "$1") rig=$(realpath "$2") seconds=${4:-120}
RANDOM=${5:-1}
mkdir -p "$3"
out=$(cd "$3" && pwd)
root=$(cd "$(dirname "$0")/../.." && pwd)
rm -rf "${out:?}"/*
outside=$(mktemp -d)
. "$root/rig/script.sh"
after_end() { rm -rf "$outside"; }
wait_or_fail() { wait_for "$@" || { echo "toggle: in vain: ${*:2}" >&2 && exit 1; }; }
virtual_screen "$out" 1400x900 ${SESSION_DISPLAY:-} || { echo "toggle: no virtual screen" >&2 && exit 1; }
start "$out/openbox.log" openbox --sm-disable
export XDG_CONFIG_HOME=$outside/config XDG_DATA_HOME=$outside/data
"$rig" fleet "$outside" --tables "$root/rig/refdata/tables" --liveries 400 >"$out/fleet.log"
mkdir -p "$outside/program" "$XDG_CONFIG_HOME/InsideSystems" "$XDG_CONFIG_HOME/Velloray"
touch "$XDG_CONFIG_HOME/InsideSystems/RealTraffic.jar"
cp -r "$root/install/." "$outside/program/"
start "$out/simulator.log" stdbuf -oL "$rig" simulator --edition 2020 --port 0 --http 0 --ready-file "$out/ready" \
    --user 38.9526,-77.4513,312,180,ground --titles "$outside/titles.txt" --stands "$root/rig/airports/KIAD.csv" --utc "$(date +%s)"
wait_or_fail 20 test -s "$out/ready"
map=$(sed -n 's/^map on //p' "$out/simulator.log")
printf '[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=%s\n' "$(sed 's/.*://' "$out/ready")" >"$outside/program/SimConnect.cfg"
cd "$outside/program"
TSAN_OPTIONS="halt_on_error=0 exitcode=0 ${TSAN_OPTIONS:-}" "$program" >"$out/program.log" 2>&1 &
pid=$!
pids+=("$pid")
start "$out/feed.log" "$rig" feed --generate KIAD --movements 120 --flights 120 --minutes 90 --from 10 --seed 1 --control 10747
in_simulator() { curl -sf --max-time 5 "${map}world.json" | sed 's/{"age_s":/\n&/g' | grep -c '"released":true' || true; }
some_fly() { [ "$(in_simulator)" -gt 0 ]; }
wait_or_fail 240 some_fly
window=$(xdotool search --onlyvisible --name '^Velloray$')

# Place and kind of each control: c a check box, b a button, e an edit box. The first three, which may end the run, are
# used in the last sixth of the time.
places=(c:5:119 c:5:147 c:5:175 c:217:147 e:368:147 c:430:147 c:536:147 c:652:147 c:748:147 c:652:175 c:748:175 e:217:203
    c:323:203 c:430:203 c:536:203 c:652:203 c:748:203 e:217:231 c:323:231 e:455:231 c:748:231 c:217:287 c:323:287 c:430:287
    e:217:259 b:323:257 e:460:259 e:353:315 e:601:315 e:217:343 e:353:343 e:566:343 c:652:315 c:5:371 c:71:371 c:151:371
    e:323:371 c:430:371 e:566:371 b:758:341 b:758:369)
texts=(1 3 25 40 100 7.5 0 -1 500 99999999999 abc BAW1 KJFK KIAD ZZZZ "")
end=$((SECONDS + seconds)) late=$((SECONDS + seconds * 5 / 6)) acts=0 most=0
while [ "$SECONDS" -lt "$end" ] && kill -0 "$pid" 2>/dev/null; do
    first=$((SECONDS < late ? 3 : 0))
    IFS=: read -r kind x y <<<"${places[$((first + RANDOM % (${#places[@]} - first)))]}"
    xdotool mousemove --window "$window" $((x + 6)) $((y + 8)) click 1
    if [ "$kind" = e ]; then
        text=${texts[$((RANDOM % ${#texts[@]}))]}
        xdotool key Escape
        [ -n "$text" ] && xdotool type --delay 4 -- "$text" || xdotool key Delete
        xdotool key Return
    fi
    acts=$((acts + 1))
    [ $((acts % 50)) -ne 0 ] || most=$(($(in_simulator) > most ? $(in_simulator) : most))
done
import -window "$window" "$out/window.png" || true
kill "$pid"
code=0
wait "$pid" || code=$?
cp Log.txt "$out/"
reports=$(grep -c 'WARNING: ThreadSanitizer' "$out/program.log" || true)
echo "$acts acts, $most aircraft at most, exit code $code, $reports reports of the sanitizer"
[ "$code" -eq 0 ] && [ "$reports" -eq 0 ] && [ "$most" -gt 0 ]
