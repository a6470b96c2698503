#!/usr/bin/env bash
# A user's whole session at the real window, with mouse and keys on a virtual screen, between the stand-ins: a wrong path, the
# right one, every check box, boxes, park airport, object ids, the other simulator and back, the close box; and closing
# in states in which a run waits. Pictures, logs and journals stay in OUT.
# usage: session.sh NATIVE_BUILD OUT [WINDOWS_BUILD]      with the third, of the exe under Wine; after windows/package.sh
set -euo pipefail
native=$(cd "$1" && pwd)
mkdir -p "$2"
out=$(cd "$2" && pwd)
windows=${3:+$(cd "$3" && pwd)}
root=$(cd "$(dirname "$0")/../.." && pwd)
export LC_ALL=C.UTF-8
patience=120 # seconds that a step may take on a busy machine
closing_ms=2000

rm -rf "${out:?}"/*
outside=$(mktemp -d) # a scan passes over long paths
program=$outside/program
. "$root/rig/script.sh"
on_end() { # CODE
    [ "$1" -eq 0 ] || tail -n 15 "$program/Log.txt" >&2 || true
}
after_end() {
    [ -z "$windows" ] || stop_wine
    rm -rf "$outside"
}
fail() { shot failed && echo "session: $1" >&2 && exit 1; }
stop() {
    kill "$@" 2>/dev/null || true
    wait "$@" 2>/dev/null || true
}

# ---- a screen, an installation, the program ---------------------------------------------------------------------
virtual_screen "$out" 1400x900 ${SESSION_DISPLAY:-} || { echo "session: no virtual screen" >&2 && exit 1; }
start "$out/openbox.log" openbox --sm-disable

"$native/rig" fleet "$outside/home" --liveries 400 --tables "$root/rig/refdata/tables" >"$out/fleet.log"
packages=$(find "$outside/home" -type d -name Community | sed -n 1p)
packages=${packages%/Community}
mv "$packages" "$outside/MSFS" # where the program does not look
packages=$outside/MSFS wrong_path=/no/such/folder typed_path=$packages
roaming=$outside/roaming
if [ -n "$windows" ]; then
    . "$root/windows/wine-prefix.sh"
    make_wine_prefix "$windows/wine-session"
    stop_wine
    drive=$WINEPREFIX/drive_c roaming=$(echo "$WINEPREFIX/drive_c/users"/*/AppData/Roaming | sed 's# /.*##')
    case "$roaming" in *Public*) roaming=$WINEPREFIX/drive_c/users/$(id -un)/AppData/Roaming ;; esac
    rm -rf "$drive/MSFS" "$drive/Velloray" "$roaming/Velloray"
    (cd "$drive" && cmake -E tar xf "$windows"/velloray-*-windows.zip)
    program=$drive/Velloray
    cp -r "$packages" "$drive/MSFS"
    wrong_path='C:\no\such' typed_path='C:\MSFS'
else
    mkdir -p "$program"
    cp -r "$root/install/." "$program/"
    cp "$native/velloray" "$program/"
fi
mkdir -p "$roaming/Velloray" "$roaming/InsideSystems"
touch "$roaming/InsideSystems/RealTraffic.jar"
cat >"$roaming/Velloray/parameters.xml" <<'XML'
<parameters>
  <parameter name="AUTO_RANGE" value="false"/>
  <parameter name="LATERAL_RANGE" value="60"/>
  <parameter name="MAIN_WINDOW_X" value="40"/>
  <parameter name="MAIN_WINDOW_Y" value="60"/>
</parameters>
XML
run_program() {
    cd "$program"
    if [ -n "$windows" ]; then
        exec wine Velloray.exe
    else
        XDG_CONFIG_HOME=$roaming XDG_DATA_HOME=$outside/local exec ./velloray
    fi
}
window=""
one_window() {
    window=$(xdotool search --onlyvisible --name '^Velloray$' 2>/dev/null)
    [ "$(wc -l <<<"$window")" -eq 1 ] && [ -n "$window" ]
}
run() {
    start "$out/program.log" run_program
    program_pid=$!
    wait_for "$patience" one_window || fail "no window"
    sleep 1 # the manager places it
}
start_simulator() {
    start "$out/simulator.log" stdbuf -oL "$native/rig" simulator --edition 2020 --port "${sim_port:-0}" --http 0 \
        --ready-file "$out/ready" --user 38.9526,-77.4513,312,180,ground --titles "$outside/home/titles.txt" \
        --stands "$root/rig/airports/KIAD.csv" --utc "$(date +%s)" --journal "$out/journal" "$@"
    sim_pid=$!
    wait_for 20 test -s "$out/ready" || fail "the simulator does not start"
    sim_port=$(sed 's/.*://' "$out/ready")
    map=$(sed -n 's/^map on //p' "$out/simulator.log")
    printf '[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=%s\n' "$sim_port" >"$program/SimConnect.cfg"
}
start_feed() {
    start "$out/feed.log" "$native/rig" feed --generate KIAD --movements 120 --flights 120 --minutes 90 --from 10 --seed 1 --control 10747
    feed_pid=$!
}

# ---- what a user does and sees ----------------------------------------------------------------------------------
shot() { # NAME
    sleep 0.4
    [ -z "$window" ] || import -window "$window" "$out/$1.png" 2>/dev/null || true
}
click() { xdotool mousemove --window "$window" "$1" "$2" click 1 && sleep 0.2; }
enter() { # X Y TEXT      in the edit box there, in the place of what it has
    click "$1" "$2"
    xdotool key Escape # selects what it has, when it had the focus already
    [ -n "$3" ] && xdotool type --delay 8 -- "$3" || xdotool key Delete
    xdotool key Return
    sleep 0.2
}
logged() { grep -qF -- "$1" "$program/Log.txt"; }
log_says() { wait_for "$patience" logged "$1" && ok "log: $1" || fail "the log does not say \"$1\""; }
times_logged() { grep -cF -- "$1" "$program/Log.txt" || true; }
is_set() { [ "$(sed -n "s/.*name=\"$1\" value=\"\([^\"]*\)\".*/\1/p" "$roaming/Velloray/parameters.xml")" = "$2" ]; }
set_to() { wait_for 10 is_set "$1" "$2" || fail "$1 is not \"$2\""; }
tails() { curl -sf --max-time 5 "${map}world.json" | sed 's/{"age_s":/\n&/g' | grep '"released":true' | grep "$1" |
    sed -n 's/.*"tail":"\([^"]*\)".*/\1/p'; }
some_fly() { [ "$(tails '"on_ground":false' | wc -l)" -ge "$1" ]; }
closes() { # WHEN      from the close box
    local before after code=0
    before=$(date +%s%N)
    wmctrl -ic "$(printf '0x%x' "$window")"
    wait_for 30 ended "$program_pid" || fail "$1: the close box does not end it"
    after=$((($(date +%s%N) - before) / 1000000))
    wait "$program_pid" || code=$?
    [ "$code" -eq 0 ] || fail "$1: exit code $code"
    [ "$after" -le "$closing_ms" ] && ok "$1: closed in $after ms" || { echo "LATE $1: closed in $after ms" && late=yes; }
}
late=no

# ---- the session ------------------------------------------------------------------------------------------------
start_simulator
run
log_says "150: No install path detected"
shot 01-no-path
enter 150 127 "$wrong_path"
log_says "This install path does not exist: $wrong_path"
shot 02-wrong-path
xdotool key Escape
enter 150 127 "$typed_path"
log_says "Community path found, Velloray will restart ..."
shot 03-right-path
log_says "liveries scan ends"
log_says "Waiting for RealTraffic"
shot 04-waiting-for-realtraffic
start_feed
wait_for "$patience" some_fly 3 || fail "nothing flies"
ok "aircraft fly"
shot 05-traffic

# Each check box that only changes a setting, there and back.
while read -r name x row first; do
    second=$([ "$first" = true ] && echo false || echo true)
    click $((x + 6)) $((row + 8)) && set_to "$name" "$first"
    [ "$name" != ALWAYS_ON_TOP ] || { shot 06-toggled && xprop -id "$window" _NET_WM_STATE | grep ABOVE >/dev/null || fail "not on top"; }
    click $((x + 6)) $((row + 8)) && set_to "$name" "$second"
done <<'BOXES'
LIG_AUTOMATIC 217 147 false
LIG_PRIORITIZE 430 147 true
SUPPRESS_STUB 536 147 false
LOG 652 147 false
ALWAYS_ON_TOP 748 147 true
NAV_LIGHTS_WHILE_PARKED 652 175 false
AEROWINX 652 203 true
GUID_CHANGES 748 203 false
AUTO_RANGE 323 231 true
CALLSIGN_OBJECTIDS 748 231 true
COLLISION_USER_GND 217 287 false
COLLISION_USER_AIR 323 287 false
COLLISION_LIVE_PARKED_GND 430 287 true
STRAIGHT_PBS_ONLY 652 315 true
BOXES
ok "fourteen check boxes, there and back"

# Boxes with numbers: a good one, the same, none, a huge one, an empty box; and Tab, Escape, the space bar. On Windows a box
# takes no more than it is wide.
enter 225 211 3 && set_to MATCHING_DEPTH 3
enter 225 211 3 && log_says "Same MATCHING_DEPTH value 3, no changes made"
enter 225 211 ab && log_says "invalid input: ab"
shot 07-invalid
xdotool key Escape && sleep 0.2 && xdotool key Return
sleep 0.3 && [ "$(times_logged 'Same MATCHING_DEPTH value 3')" -eq 2 ] || fail "Escape does not bring the value back"
[ -n "$windows" ] || { enter 225 211 99999999999 && log_says "lf_processTbInt exception"; }
enter 225 211 "" && set_to MATCHING_DEPTH 4
enter 230 239 25 && set_to LATERAL_RANGE 25
click 225 211 && xdotool key Tab space && set_to LIGHT_AIRCRAFT false # the next control of the row
xdotool key space && set_to LIGHT_AIRCRAFT true
enter 230 239 60 && set_to LATERAL_RANGE 60
enter 615 323 200 && set_to MAX_LIVE 200
ok "boxes with numbers"

# Callsigns.
blocked=$(tails '"on_ground":false' | sed -n 1p)
asked=$(tails '"on_ground":false' | sed -n 2p)
enter 230 267 "abc" && log_says 'callsign "abc" is not valid'
enter 230 267 "$(tr 'A-Z' 'a-z' <<<"$blocked")" && log_says "live aircraft with callsign \"$blocked\" will be blocked"
gone() {
    local all
    all=$(tails '"tail"') && ! grep -qx "$blocked" <<<"$all"
}
wait_for 10 gone || fail "$blocked is still there"
ok "$blocked is gone"
shot 08-blocked
click 358 267 && log_says "no more blocking of live aircraft \"$blocked\""
enter 480 267 "NOBODY" && log_says 'callsign "NOBODY" is unknown'
enter 480 267 "$asked" && sleep 1.5
shot 09-object-id
ok "object id of $asked (see the picture)"

# The park airport.
log_says "The park airport is KIAD"
enabled_button() { [ "$(times_logged 'park airports and stands are okay')" -gt "$1" ]; }
for attempt in 1 2 3 4 5 6; do # the button waits for static work
    click 803 351 # Re-read
    wait_for 5 enabled_button 0 && break
    [ "$attempt" -lt 6 ] || fail "no re-read"
done
ok "the list of park airports was read again"
shot 10-re-read
enter 230 351 "zzzz" && log_says 'destination "ZZZZ" is unknown'
enter 230 351 "kjfk" && log_says "New destination: KJFK" && set_to DESTINATION KJFK
shot 11-destination
enter 230 351 "" && log_says "destination set to empty"
click 803 379
sleep 0.3
shot 12-flush
click 11 155 # a scan, asked too late
shot 13-scan-later
set_to SCAN_LIVERIES true
click 11 155 && set_to SCAN_LIVERIES false

# The other simulator, which is not installed, and back.
click 11 127
log_says "Switching Simulator to MSFS 2024"
shot 14-switch
shot 15-counting-down
twice() { [ "$(times_logged '150: No install path detected')" -ge 2 ]; }
wait_for "$patience" twice || fail "no second error"
shot 16-2024
click 11 127
log_says "Switching Simulator to MSFS 2020"
scanned_again() { [ "$(times_logged 'liveries scan ends')" -ge 2 ]; }
wait_for "$patience" scanned_again || fail "no second scan"
wait_for "$patience" some_fly 1 || fail "nothing flies again"
shot 17-flies-again
closes "in flight"
tail -n 1 "$program/Log.txt" | grep -qE '^[A-Z][a-z]{2} [A-Z][a-z]{2} ' || fail "the log has no last line"
cp "$program/Log.txt" "$roaming/Velloray/parameters.xml" "$out/"
is_set BLOCK_CALLSIGN "" && is_set DESTINATION "" || fail "block and destination outlive the run"

# ---- closing while a run waits ----------------------------------------------------------------------------------
stop "$feed_pid" "$sim_pid"
rm -f "$out/ready"
run && log_says "Waiting for MSFS" && sleep 1 && closes "waiting for the simulator"
sed -i 's/name="SCAN_LIVERIES" value="[a-z]*"/name="SCAN_LIVERIES" value="true"/' "$roaming/Velloray/parameters.xml"
run && log_says "liveries scan" && closes "scanning"
start_simulator
run && log_says "Waiting for RealTraffic" && closes "waiting for RealTraffic"
start_feed
run && wait_for "$patience" some_fly 1 && curl -sf --data "sim 0" "${map}script" >/dev/null || fail "no pause"
log_says "Flight not running"
sleep 1 && closes "paused"
run && log_says "Waiting for MSFS" && sleep 3 && closes "waiting for the flight"
curl -sf --data "sim 1" "${map}script" >/dev/null || fail "no flight"
stop "$feed_pid"
run && log_says "Waiting for RealTraffic" && click 11 155 && log_says "Restarting after" && closes "counting down"
mv "$program/docs" "$program/docs-away"
run && log_says "must be run from" && sleep 1 && shot 18-error && closes "error on show"
mv "$program/docs-away" "$program/docs"
[ "$late" = no ] || fail "a closing took longer than $closing_ms ms"
ok "session done; pictures in $out"
