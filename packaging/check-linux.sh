#!/usr/bin/env bash
# Unpacks the Linux package into a root of its own that has nothing but what every desktop has, and lets it fly aircraft of
# the stand-ins there: no build tools, no libraries of them, no folder of this project.
# usage: check-linux.sh BUILD_FOLDER
set -euo pipefail
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
wanted_aircraft=10 flight_seconds=120
place=$(mktemp -d)
there="$place/root"
. "$root/rig/script.sh"
on_end() { # CODE
    [ "$1" -eq 0 ] || tail -n 20 "$place"/*.log "$there/opt/Velloray/Log.txt" >&2 2>/dev/null || true
}
after_end() { rm -rf "$place"; }
fail() { echo "check-linux: $1" >&2 && exit 1; }

archives=("$build"/velloray-*-linux.tar.gz)
[ ${#archives[@]} -eq 1 ] && [ -f "${archives[0]}" ] || fail "not one package in $build"

# ---- the other computer: a shell, the libraries of a desktop, fonts ------------------------------------------------
mkdir -p "$there"/{bin,lib64,usr/lib,etc,opt,proc,dev,tmp,home/user,usr/share/fonts}
shell=$(readlink -f /bin/sh)
cp "$shell" "$there/bin/sh"
libraries=$(ldconfig -p)
while read -r name; do
    file=$(awk -v n="$name" '$1 == n && /x86-64/ {print $NF; exit}' <<<"$libraries")
    [ -n "$file" ] || fail "this computer has no $name"
    cp -L "$file" "$there/usr/lib/$name"
done < <(sed 's/#.*//' "$root/packaging/system-libraries.txt" | awk 'NF {print $1}')
cp -L /lib64/ld-linux-x86-64.so.2 "$there/lib64/"
cp -r /etc/fonts "$there/etc/"
[ ! -d /usr/share/fontconfig ] || cp -r /usr/share/fontconfig "$there/usr/share/"
[ ! -d /usr/share/X11/locale ] || { mkdir -p "$there/usr/share/X11" && cp -r /usr/share/X11/locale "$there/usr/share/X11/"; }
cp -r /usr/share/fonts/truetype "$there/usr/share/fonts/"
printf '127.0.0.1 localhost\n' >"$there/etc/hosts"
tar -C "$there/opt" -xzf "${archives[0]}"

inside() { # COMMAND      there, with the network of here; replaces the shell that calls it
    exec unshare --map-root-user --mount sh -c 'mount -t proc proc "$0/proc" 2>/dev/null; root=$0; shift 0
        exec chroot "$root" /bin/sh -c "$1"' "$there" "$1"
}
environment='HOME=/home/user XDG_CONFIG_HOME=/home/user/.config XDG_DATA_HOME=/home/user/.local/share LD_LIBRARY_PATH=/usr/lib'
missing=$(inside "cd /opt/Velloray && LD_LIBRARY_PATH=/opt/Velloray/lib:/usr/lib /lib64/ld-linux-x86-64.so.2 --list lib/velloray" |
    grep 'not found' || true)
[ -z "$missing" ] || fail "libraries are missing: $missing"
ok "all libraries are in the package or part of a desktop"

# ---- simulator, RealTraffic, a screen ---------------------------------------------------------------------------
virtual_screen "$place" 1280x800 || fail "no virtual screen"
home="$there/home/user"
XDG_CONFIG_HOME="$home/.config" "$build/rig" fleet "$home" --liveries 300 --tables "$root/rig/refdata/tables" >"$place/fleet.log"
mkdir -p "$home/.config" "$home/.local/share"
[ ! -d "$home/config" ] || cp -r "$home/config/." "$home/.config/"
[ ! -d "$home/data" ] || cp -r "$home/data/." "$home/.local/share/"
{ grep -rlF "$there" --include=UserCfg.opt "$home" || true; } | xargs -rd "\n" sed -i "s|$there||"
mkdir -p "$home/.config/InsideSystems" "$home/.config/Velloray"
touch "$home/.config/InsideSystems/RealTraffic.jar"
printf '<parameters>\n  <parameter name="AUTO_RANGE" value="false"/>\n</parameters>\n' >"$home/.config/Velloray/parameters.xml"
start "$place/simulator.log" stdbuf -oL "$build/rig" simulator --port 0 --http 0 --ready-file "$place/ready" \
    --user 38.9526,-77.4513,312,180,ground --stands "$root/rig/airports/KIAD.csv" --titles "$home/titles.txt" --utc "$(date +%s)"
wait_for 20 test -s "$place/ready" || fail "the stand-in simulator does not start"
map=$(sed -n 's/^map on //p' "$place/simulator.log")
printf '[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=%s\n' "$(sed 's/.*://' "$place/ready")" >"$there/opt/Velloray/SimConnect.cfg"
start "$place/feed.log" "$build/rig" feed --generate KIAD --movements 120 --flights 60 --minutes 30 --from 10 --control 10747

# ---- the program -------------------------------------------------------------------------------------------------
log="$there/opt/Velloray/Log.txt"
begun=$(date +%s%N)
inside "cd / && $environment DISPLAY=$DISPLAY exec /opt/Velloray/velloray" >"$place/program.log" 2>&1 &
program=$!
pids+=("$program")
wait_for 30 xdotool search --onlyvisible --name '^Velloray$' || fail "no window"
ok "its window is there after $((($(date +%s%N) - begun) / 1000000)) ms"
aircraft() { curl -s "${map}world.json" | grep -o '"tail"' | wc -l; }
enough() { [ "$(aircraft)" -gt "$wanted_aircraft" ]; } # one is the user's
wait_for "$flight_seconds" enough || fail "there are only $(aircraft) aircraft after $flight_seconds seconds"
ok "more than $wanted_aircraft aircraft $(((($(date +%s%N) - begun)) / 1000000000)) s after the start"
kill -TERM "$program"
wait_for 20 ended "$program" || fail "it does not end"
grep -q 'Exiting: USER CLOSED SIM' "$log" || fail "the log does not tell of an end in order"
[ -f "$there/opt/Velloray/docs/manual.html" ] || fail "no manual"
ok "it ends in order"
