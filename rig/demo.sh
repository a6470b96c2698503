#!/usr/bin/env bash
# Starts the stand-ins and the program at an airport with traffic and shows them working.
# usage: demo.sh BUILD_FOLDER [--seconds N] [--check]
#   --seconds N  ends by itself after N seconds (default: runs until Ctrl-C)
#   --check      fails unless aircraft fly, taxi and stand on stands, and the log ends in order
set -euo pipefail
build=$(cd "$1" && pwd)
shift
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=0 check=no
wanted_aircraft=20 wanted_stands=3 wanted_parked=10 # what --check asks for, of at least 60 seconds
while [ $# -gt 0 ]; do
    case "$1" in
        --seconds) seconds=$2 && shift 2 ;;
        --check) check=yes && shift ;;
        *) echo "demo: unknown option $1" >&2 && exit 2 ;;
    esac
done

place="$root/build/demo"
program="$place/program folder" # a blank, so that one is always tried
rm -rf "$place"
mkdir -p "$program"
home=$(mktemp -d) # apart: a scan goes below no folder whose path is long or holds the name of a scenery
cp -r "$root/install/." "$program/"
cp "$build/velloray" "$program/"
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data"

. "$root/rig/script.sh"
after_end() { rm -rf "$home"; }

# A screen: the user's, or a virtual one.
virtual=no
if [ -z "${DISPLAY:-}" ]; then
    virtual=yes
    virtual_screen "$place" 1800x960 || { echo "demo: no virtual screen" >&2 && exit 1; }
    start "$place/openbox.log" openbox --sm-disable
fi

# The installation: a simulator with livery packages that the program scans, and RealTraffic on this computer.
"$build/rig" fleet "$home" --tables "$root/rig/refdata/tables" --liveries 4000 >"$place/fleet.log"
mkdir -p "$XDG_CONFIG_HOME/InsideSystems"
touch "$XDG_CONFIG_HOME/InsideSystems/RealTraffic.jar"
mkdir -p "$XDG_CONFIG_HOME/Velloray" # a wider circle than the program would choose for a user on the ground
cat >"$XDG_CONFIG_HOME/Velloray/parameters.xml" <<'XML'
<parameters>
  <parameter name="AUTO_RANGE" value="false"/>
  <parameter name="LATERAL_RANGE" value="30"/>
  <parameter name="MAIN_WINDOW_X" value="5"/>
  <parameter name="MAIN_WINDOW_Y" value="30"/>
</parameters>
XML

# The simulator, and how the program finds it.
start "$place/simulator.log" stdbuf -oL "$build/rig" simulator --edition 2020 --port 0 --http 0 --ready-file "$place/ready" \
    --user 38.9526,-77.4513,312,180,ground --stands "$root/rig/airports/KIAD.csv" --titles "$home/titles.txt" \
    --utc "$(date +%s)" --journal "$place/journal"
wait_for 10 test -s "$place/ready" || { echo "demo: the simulator does not start" >&2 && exit 1; }
sim_port=$(sed 's/.*://' "$place/ready")
map=$(sed -n 's/^map on //p' "$place/simulator.log")
printf '[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=%s\nDisableNagle=1\n' "$sim_port" >"$program/SimConnect.cfg"

# What was seen at the airport in the weeks before: static aircraft stand on the stands, and make way for live ones.
mkdir -p "$program/airports/learned/stock"
"$build/rig" learn KIAD --made 60 --save "$program/airports/learned/stock/KIAD.xml"

# The program, then RealTraffic.
(cd "$program" && exec ./velloray) >"$place/program.log" 2>&1 &
program_pid=$!
pids+=("$program_pid")
start "$place/feed.log" "$build/rig" feed --generate KIAD --movements 120 --flights 120 --minutes 90 --from 10 --seed 1 --control 10747
started=$SECONDS
echo "The map of the simulator's world: $map"
if [ "$virtual" = yes ]; then
    echo "The program's window is on the virtual screen $DISPLAY; its picture comes at the end."
elif command -v xdg-open >/dev/null; then # the map beside the window
    xdg-open "$map" >"$place/browser.log" 2>&1 || true
fi

if [ "$seconds" -eq 0 ]; then
    echo "Ctrl-C ends the demo."
    wait "$program_pid" || true
    exit 0
fi

while [ $((SECONDS - started)) -lt "$seconds" ] && kill -0 "$program_pid" 2>/dev/null; do sleep 0.5; done

# What a person sees, and a summary.
world="$place/world.json"
curl -s "${map}world.json" -o "$world" || true
browser=(chromium --no-sandbox --test-type --disable-gpu --disable-quic --no-first-run --disable-background-networking
    --disable-component-update --disable-sync --user-data-dir="$place/chromium")
if [ "$virtual" = yes ]; then # both beside each other
    start "$place/browser.log" "${browser[@]}" --window-position=895,30 --window-size=900,900 --app="$map"
    browser_pid=$!
    wait_for 20 xdotool search --onlyvisible --class chromium >/dev/null || true
    sleep 4
    import -window root "$place/screen.png" 2>/dev/null || true
    kill "$browser_pid" 2>/dev/null || true
    wait "$browser_pid" 2>/dev/null || true
fi
if window=$(xdotool search --onlyvisible --name '^Velloray$' 2>/dev/null | sed -n 1p) && [ -n "$window" ]; then
    import -window "$window" "$place/window.png" 2>/dev/null || true
fi
map_picture() { # FILE ADDRESS
    timeout 30 "${browser[@]}" --headless --window-size=1280,900 --virtual-time-budget=4000 \
        --screenshot="$place/$1" "$2" >>"$place/chromium.log" 2>&1 || true
}
map_picture map.png "$map"
map_picture ground.png "$map#ground"
# One object a line; the first is the user's aircraft.
objects() { sed 's/"user":.*//; s/},{/}\n{/g' "$world" | grep '"tail"' || true; }
total=$(objects | wc -l)
flying=$(objects | grep -c '"on_ground":false' || true)
standing=$(objects | grep -c '"stand":"[^"]' || true)
parked=$(objects | grep -c '"tail":"[^"]*\*"' || true)
moving=$(objects | grep '"on_ground":true' | grep -vc '"ground_speed_kt":[-0]*0\.[0-9]*' || true)
echo "After $seconds seconds there are $total aircraft in the simulator; $flying fly, $moving roll, $standing stand on stands, $parked of them static:"
objects | sed -n 's/.*"tail":"\([^"]*\)".*"title":"\([^"]*\)".*/\1  \2/p' | sort | sed -n 1,60p | column -c 120 || true
xdotool windowclose "$window" 2>/dev/null || true
kill -TERM "$program_pid" 2>/dev/null || true
wait_for 20 ended "$program_pid" || echo "The program did not end within 20 seconds."
echo "Pictures and logs: build/demo/screen.png (on a virtual screen), build/demo/window.png, build/demo/map.png, build/demo/ground.png, build/demo/program folder/Log.txt"

if [ "$check" = yes ]; then
    fail() { echo "demo: $1" >&2 && exit 1; }
    [ "$total" -ge "$wanted_aircraft" ] || fail "there are only $total aircraft, $wanted_aircraft were expected"
    [ "$flying" -gt 0 ] || fail "no aircraft flies"
    [ "$moving" -gt 0 ] || fail "no aircraft moves on the ground"
    [ "$standing" -ge "$wanted_stands" ] || fail "only $standing aircraft stand on stands, $wanted_stands were expected"
    [ "$parked" -ge "$wanted_parked" ] || fail "only $parked static aircraft are there, $wanted_parked were expected"
    [ -s "$place/window.png" ] || fail "no picture of the window"
    [ -s "$place/map.png" ] && [ -s "$place/ground.png" ] || fail "no picture of the map page"
    grep -q ' liveries scan ends ' "$program/Log.txt" || fail "no liveries were scanned"
    grep -q ' =[0-9]*= ' "$program/Log.txt" || fail "the log does not tell which liveries were chosen"
    grep -q 'live traffic livery matching summary' "$program/Log.txt" || fail "the log has no matching summary"
    grep -q '^Exiting: ' "$program/Log.txt" || fail "the log has no line of the closing"
fi
