#!/usr/bin/env bash
# Runs the real Velloray.exe under Wine between the stand-ins: over TCP and through the simulator's pipe, with a user and
# folders whose names have blanks and letters beyond ASCII. The same is done with the program of this system first, and
# its log and window are what those of the exe are held against. Pictures, logs and journals stay in BUILD/smoke.
# usage: smoke-test.sh WINDOWS_BUILD NATIVE_BUILD      after package.sh WINDOWS_BUILD
set -euo pipefail
windows=$(cd "$1" && pwd)
native=$(cd "$2" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/windows/wine-prefix.sh"
export LC_ALL=C.UTF-8 # Wine takes file names in it

wanted_aircraft=5     # that must fly at the same time
start_seconds=120     # the longest that a step may take on a busy machine
flight_seconds=240    # the feed is shown half a minute late, and aircraft come two a second
user="Jörg Œuvre-Ωmega"
place="$windows/smoke"
rm -rf "$place"
mkdir -p "$place"
outside=$(mktemp -d) # for this system's program: a scan passes over long paths

. "$root/rig/script.sh"
on_end() { # CODE
    [ "$1" -eq 0 ] || for log in "$place"/*/{program,feed}.log "${native_program:-}/Log.txt" "${wine_program:-}/Log.txt"; do
        [ ! -f "$log" ] || { echo "-- $log" && tail -n 15 "$log"; } >&2
    done
}
after_end() {
    [ -z "${WINEPREFIX:-}" ] || stop_wine
    rm -rf "$outside"
}
fail() { echo "smoke-test: ${pass:+$pass: }$1" >&2 && exit 1; }
ok() { echo "ok   ${pass:+$pass: }$1"; }
code=0
reap() { # PID      of a child that has ended; sets code
    code=0
    wait "$1" || code=$?
}

# ---- a screen, and the Windows user -----------------------------------------------------------------------------
virtual_screen "$place" 1400x900 || fail "no virtual screen"
start "$place/openbox.log" openbox --sm-disable

make_wine_prefix "$windows/wine-smoke"
stop_wine # what an interrupted run has left
drive="$WINEPREFIX/drive_c"
home="$drive/users/$user"
rm -rf "$home" "$drive/Flüge & Spiele"
wine_roaming="$home/AppData/Roaming" wine_local="$home/AppData/Local"
mkdir -p "$wine_roaming" "$wine_local"
shell_folders='HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders'
set_shell_folder() { # NAME FOLDER
    wine reg add "$shell_folders" /v "$1" /t REG_EXPAND_SZ /d "C:\\users\\$user\\AppData\\$2" /f >"$place/reg.log" 2>&1 ||
        fail "no shell folder could be set"
}
set_shell_folder AppData Roaming
set_shell_folder "Local AppData" Local

# ---- the window by itself ------------------------------------------------------------------------------
if timeout 300 wine "$windows/test_windows.exe" --gtest_shuffle --gtest_repeat=2 --gtest_brief=1 --gtest_color=no \
    >"$place/test_windows.log" 2>&1; then
    ok "window: $(grep -a PASSED "$place/test_windows.log" | tail -n 1 | tr -d '\r')"
else
    tail -n 60 "$place/test_windows.log" >&2
    fail "the tests of the window"
fi

# ---- an installation --------------------------------------------------------------------------------------------
# The simulator's packages lie on a drive of their own, which its UserCfg.opt names; the program has to find and scan them.
native_home="$outside/$user" native_drive="$outside/Flüge & Spiele/MSFS"
native_roaming="$native_home/config" native_local="$native_home/data"
"$native/rig" fleet "$native_home" --form boxed --liveries 300 --tables "$root/rig/refdata/tables" >"$place/fleet.log"
mkdir -p "$(dirname "$native_drive")"
mv "$native_home/drive/MSFS" "$native_drive"
user_cfg=MSFSPackages/UserCfg.opt
write_user_cfg() { # LOCAL FOLDER      FOLDER as the program's system writes it
    local fleet_cfg="$native_home/drive/UserCfg.opt"
    [ -e "$fleet_cfg" ] || mv "$native_local/$user_cfg" "$fleet_cfg"
    mkdir -p "$1/$(dirname "$user_cfg")"
    { grep -v '^InstalledPackagesPath' "$fleet_cfg" && printf 'InstalledPackagesPath "%s"\r\n' "$2"; } >"$1/$user_cfg"
}
install() { # ROAMING
    mkdir -p "$1/InsideSystems" "$1/Velloray"
    touch "$1/InsideSystems/RealTraffic.jar"
    cat >"$1/Velloray/parameters.xml" <<'XML'
<parameters>
  <parameter name="AUTO_RANGE" value="false"/>
  <parameter name="LATERAL_RANGE" value="60"/>
  <parameter name="MAIN_WINDOW_X" value="40"/>
  <parameter name="MAIN_WINDOW_Y" value="60"/>
</parameters>
XML
}
native_program="$outside/Flüge & Spiele/Velloray"
mkdir -p "$native_program"
cp -r "$root/install/." "$native_program/"
cp "$native/velloray" "$native_program/"
write_user_cfg "$native_local" "$native_drive"
install "$native_roaming"

zips=("$windows"/velloray-*-windows.zip)
[ ${#zips[@]} -eq 1 ] && [ -f "${zips[0]}" ] || fail "not one package in $windows"
mkdir -p "$drive/Flüge & Spiele"
(cd "$drive/Flüge & Spiele" && cmake -E tar xf "${zips[0]}")
wine_program="$drive/Flüge & Spiele/Velloray"
[ -f "$wine_program/Velloray.exe" ] || fail "no Velloray.exe in the package"
cp -r "$native_drive" "$drive/Flüge & Spiele/MSFS"
install "$wine_roaming"
write_user_cfg "$wine_local" 'C:\Flüge & Spiele\MSFS'

# In a process of their own: see start.
run_native() {
    cd "$native_program"
    XDG_CONFIG_HOME=$native_roaming XDG_DATA_HOME=$native_local exec ./velloray
}
run_wine() {
    cd "$wine_program"
    exec wine Velloray.exe
}

# ---- the stand-ins, and what they tell --------------------------------------------------------------------------
sim_pid="" feed_pid="" sim_port="" map=""
start_simulator() {
    start "$place/$pass/simulator.log" stdbuf -oL "$native/rig" simulator --edition 2020 --port 0 --http 0 \
        --ready-file "$place/$pass/ready" --user 38.9445,-77.4558,312,90,ground --titles "$native_home/titles.txt" \
        --utc "$(date +%s)" --journal "$place/$pass/journal"
    sim_pid=$!
    wait_for 20 test -s "$place/$pass/ready" || fail "the simulator does not start"
    sim_port=$(sed 's/.*://' "$place/$pass/ready")
    map=$(sed -n 's/^map on //p' "$place/$pass/simulator.log")
}
start_feed() {
    start "$place/$pass/feed.log" "$native/rig" feed --at 38.9445,-77.4558,312 --flights 400 --minutes 90 --from 10 --seed 1 --now \
        --control 10747 --journal "$place/$pass/feed-journal"
    feed_pid=$!
}
stop() { # PID...
    kill "$@" 2>/dev/null || true
    wait "$@" 2>/dev/null || true
}
# A line for each aircraft that the program holds in the air: tail number, latitude, longitude.
flying() {
    curl -sf --max-time 5 "${map}world.json" | sed 's/"paused":.*//; s/{"age_s":/\n&/g' |
        grep '"position":true' | grep '"on_ground":false' | grep '"released":true' |
        sed -n 's/.*"lat":\([^,]*\),.*"lon":\([^,]*\),.*"tail":"\([^"]*\)".*/\3 \1 \2/p' | sort || true
}
enough_fly() { [ "$(flying | wc -l)" -ge "$wanted_aircraft" ]; }
no_aircraft() { curl -sf --max-time 5 "${map}world.json" | grep '"clients":0.*"objects":\[\]' >/dev/null; }

# ---- windows ----------------------------------------------------------------------------------------------------
windows_shown() { xdotool search --onlyvisible --name '^Velloray$' 2>/dev/null || true; }
one_window() { [ "$(windows_shown | wc -l)" -eq 1 ]; }
no_window() { [ -z "$(windows_shown)" ]; }
click_close_box() { wmctrl -ic "$(printf '0x%x' "$(windows_shown)")"; }
take_picture() { # NAME      of the window; it must have the size of the client area, and more than a few colours
    import -window "$(windows_shown)" "$place/$1.png"
    local width height colours
    read -r width height colours <<<"$(identify -format '%w %h %k' "$place/$1.png")"
    [ "$width" -ge 870 ] && [ "$width" -le 880 ] && [ "$height" -ge 480 ] && [ "$height" -le 516 ] ||
        fail "the window is $width by $height"
    [ "$colours" -ge 5 ] || fail "the picture has only $colours colours"
    ok "window of $width by $height, picture $1.png"
}

# ---- files ------------------------------------------------------------------------------------------------------
sound_text() { # FILE      UTF-8 with line ends of one character, and the last line has one
    [ -s "$1" ] || fail "\"$1\" is not there or empty"
    ! grep -q $'\r' "$1" || fail "\"$1\" has carriage returns"
    iconv -f UTF-8 -t UTF-8 "$1" >/dev/null || fail "\"$1\" is not in UTF-8"
    [ "$(tail -c 1 "$1")" = "" ] || fail "\"$1\" has no end of its last line"
}
date_line='^[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}'
complete_log() { # FILE
    sound_text "$1"
    head -n 1 "$1" | grep -qE "$date_line \(utc\) Velloray version [0-9.]+ for MSFS 2020/2024\$" || fail "first line of $1"
    tail -n 1 "$1" | grep -qE "$date_line\$" || fail "the log ends with \"$(tail -n 1 "$1")\""
    grep -q '^Exiting: USER CLOSED SIM$' "$1" || fail "no closing in $1"
    # Two thirds of the fleet at least, of which some files are broken and some titles double.
    [ "$(sed -n 's/^\([0-9]*\) liveries read from output.*/\1/p' "$1")" -ge 200 ] || fail "too few liveries found in $1"
    ok "log of $(wc -l <"$1") lines, whole and in UTF-8"
}
# A log without what differs from run to run: up to the links all but its first line and the folders; then the lines of
# links and closing without their numbers, sorted, since several threads write them.
comparable_start() { sed -E '1d; /^Waiting for MSFS/q' "$1" | sed -E "$without_folders"; }
comparable_rest() {
    sed -E '1,/^Waiting for MSFS/d; s/[0-9]+/#/g; s/(dropped:).*/\1/; $d' "$1" | grep -E "$link_lines" | sort -u
}
link_lines='^(MSFS|SimConnect|Waiting|RealTraffic|QNH Reader|Traffic Reader|model raw|Exiting|Matches|\*)'
without_folders='y#\\#/#; s#file://+([A-Za-z]:)?#file:/#g; s#(^|[" :=])([A-Za-z]:)?/[^":]*#\1FOLDER#g'
parameter_names() { grep -oE 'name="[^"]*"' "$1"; }
parameter() { sed -n "s/.*name=\"$2\" value=\"\([^\"]*\)\".*/\1/p" "$1"; }

# ---- one flight, from the start to the close box ----------------------------------------------------------------
fly() { # RUN_FUNCTION PROGRAM_FOLDER ROAMING
    local run=$1 program=$2 roaming=$3
    start "$place/$pass/program.log" "$run"
    program_pid=$!
    wait_for "$start_seconds" one_window || fail "no window"
    ok "window after start"

    start "$place/$pass/second.log" "$run"
    local second=$!
    wait_for "$start_seconds" ended "$second" || fail "a second instance goes on"
    reap "$second"
    [ "$code" -eq 255 ] || fail "a second instance ends with $code, not with -1"
    one_window || fail "a second instance has a window"
    [ ! -e "$program/$next_older_log" ] || fail "a second instance has touched the log"
    ok "a second instance ends by itself"

    start_feed
    wait_for "$flight_seconds" enough_fly || fail "$(flying | wc -l) aircraft fly after $flight_seconds seconds"
    local before after moved
    before=$(flying) && sleep 3 && after=$(flying)
    moved=$(comm -13 <(echo "$before") <(echo "$after") | wc -l)
    [ "$moved" -ge "$wanted_aircraft" ] || fail "only $moved of the aircraft move"
    grep -q 'Velloray' "$place/$pass/journal" || fail "the simulator knows no Velloray"
    grep -q . "$place/$pass/feed-journal" || fail "RealTraffic knows nothing of the program"
    ok "$moved aircraft fly"
    take_picture "window-$pass"

    [ -s "$program/Log.txt" ] || fail "no log in the program folder"
    [ -n "$(parameter "$roaming/Velloray/parameters.xml" PROGRAM_INSTALL_PATH)" ] || fail "no parameters in $roaming"
    click_close_box
    wait_for "$start_seconds" ended "$program_pid" || fail "the close box does not end it"
    reap "$program_pid"
    [ "$code" -eq 0 ] || fail "exit code $code"
    no_window || fail "the window is still there"
    wait_for 10 no_aircraft || fail "aircraft are left in the simulator"
    ok "ends from the close box with exit code 0"
    cp "$program/Log.txt" "$roaming/Velloray/parameters.xml" "$place/$pass/"
    complete_log "$place/$pass/Log.txt"
    sound_text "$place/$pass/parameters.xml"
    stop "$feed_pid" "$sim_pid"
}
begin_pass() {
    pass=$1
    mkdir -p "$place/$pass"
}
tcp_config() { printf '[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=%s\nDisableNagle=1\n' "$sim_port"; }

next_older_log=Log0.txt
begin_pass native
start_simulator
tcp_config >"$native_program/SimConnect.cfg"
fly run_native "$native_program" "$native_roaming"

begin_pass tcp
start_simulator
tcp_config >"$wine_program/SimConnect.cfg"
fly run_wine "$wine_program" "$wine_roaming"

diff <(parameter_names "$place/native/parameters.xml") <(parameter_names "$place/tcp/parameters.xml") >&2 ||
    fail "the parameter files have other names"
installed=$(parameter "$place/tcp/parameters.xml" PROGRAM_INSTALL_PATH)
[ "$installed" = 'C:\Flüge &amp; Spiele\Velloray' ] || fail "the program folder is \"$installed\""
[ ! -e "$drive/users/${USER:-root}/AppData/Roaming/Velloray" ] || fail "parameters in another user's folder"
for part in start rest; do
    "comparable_$part" "$place/native/Log.txt" >"$place/native/log-$part"
    "comparable_$part" "$place/tcp/Log.txt" >"$place/tcp/log-$part"
    [ "$(wc -l <"$place/native/log-$part")" -ge 10 ] || fail "hardly a line to compare"
    diff "$place/native/log-$part" "$place/tcp/log-$part" >&2 || fail "the logs differ in their $part"
done
ok "log and parameters as on this system"
convert "$place/window-native.png" "$place/window-tcp.png" -background gray -splice 0x4 -append "$place/windows-compared.png"

next_older_log=Log00.txt
begin_pass pipe
start_simulator
rm "$wine_program/SimConnect.cfg" # then the pipe is where the simulator is
start "$place/$pass/pipe.log" wine "$windows/pipe_server.exe" "$sim_port"
pipe_pid=$!
wait_for "$start_seconds" grep -q 'relays to port' "$place/$pass/pipe.log" || fail "the pipe server does not start"
fly run_wine "$wine_program" "$wine_roaming"
grep -q 'a client' "$place/$pass/pipe.log" || fail "nobody came through the pipe"
stop "$pipe_pid"
cmp -s "$wine_program/Log0.txt" "$place/tcp/Log.txt" || fail "the older log is not that of the run before"
ok "through the pipe"

# ---- the end of the session, and a log that cannot be written ----------------------------------------------------
begin_pass session
start "$place/$pass/program.log" run_wine
program_pid=$!
wait_for "$start_seconds" one_window || fail "no window"
wait_for "$start_seconds" grep -q '^Waiting for MSFS' "$wine_program/Log.txt" || fail "no start"
moved() { # a window manager that has only just taken the window in may place it once more
    local X=0 Y=0
    xdotool windowmove "$(windows_shown)" 300 200
    sleep 1 # until the program has been told too
    eval "$(xdotool getwindowgeometry --shell "$(windows_shown)")"
    [ "$X" -ge 290 ] && [ "$Y" -ge 190 ]
}
wait_for "$start_seconds" moved || fail "the window cannot be moved"
timeout "$start_seconds" wine wineboot --end-session >"$place/$pass/wineboot.log" 2>&1 || true
wait_for "$start_seconds" ended "$program_pid" || fail "the end of the session does not end it"
cp "$wine_program/Log.txt" "$wine_roaming/Velloray/parameters.xml" "$place/$pass/"
complete_log "$place/$pass/Log.txt"
saved_at="$(parameter "$place/$pass/parameters.xml" MAIN_WINDOW_X), $(parameter "$place/$pass/parameters.xml" MAIN_WINDOW_Y)"
[[ $saved_at =~ ^(29|30)[0-9],\ (1[6-9]|20)[0-9]$ ]] || fail "the window's place was saved as $saved_at, not near 300, 200"
ok "the end of the session closes in order"

begin_pass unwritable
rm -f "$wine_program"/Log*.txt
mkdir -p "$wine_program"/Log{,0}.txt "$wine_program/Log00.txt/full"
start "$place/$pass/program.log" run_wine
program_pid=$!
wait_for "$start_seconds" one_window || fail "no message"
import -window "$(windows_shown)" "$place/message.png"
click_close_box
wait_for "$start_seconds" ended "$program_pid" || fail "the message does not end it"
reap "$program_pid"
[ "$code" -eq 1 ] || fail "exit code $code, not 1"
ok "a message, and exit code 1"
pass=""
echo "Pictures and logs: $place"
