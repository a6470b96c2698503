#!/bin/bash
# Checks `rig simulator` with an independent SimConnect client, once in each edition.
# usage: peer-check.sh PEER_FOLDER RIG_BINARY
# PEER_FOLDER holds peer.mjs and package.json; where it is missing the check is skipped. What npm installs is kept
# below build/ for the next time.
set -u
if [ $# -ne 2 ]; then
    echo "usage: peer-check.sh PEER_FOLDER RIG_BINARY" >&2
    exit 2
fi
peer=$1 rig=$2
if [ ! -f "$peer/peer.mjs" ]; then
    echo "peer check skipped: no peer.mjs in $peer"
    exit 0
fi
for tool in node npm; do
    if ! command -v $tool >/dev/null; then
        echo "peer check: $tool is missing" >&2
        exit 1
    fi
done

cache="$(cd "$(dirname "$0")/.." && pwd)/build/peer-check"
mkdir -p "$cache"
if ! cmp -s "$peer/package.json" "$cache/package.json" || [ ! -d "$cache/node_modules" ]; then
    rm -rf "$cache/node_modules"
    cp "$peer/package.json" "$cache/"
    chmod u+w "$cache/package.json"
    if ! (cd "$cache" && npm install --no-audit --no-fund --silent); then
        rm -rf "$cache/node_modules"
        echo "peer check: npm install failed" >&2
        exit 1
    fi
fi
cp -f "$peer/peer.mjs" "$cache/"

server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null' EXIT
failed=0
for edition in "2020 --kitty" "2024 --sunrise"; do
    read -r year mode <<<"$edition"
    ready="$cache/ready-$year"
    rm -f "$ready"
    "$rig" simulator --edition "$year" --seconds 60 --gaps --ready-file "$ready" >"$cache/server-$year.log" 2>&1 &
    server=$!
    for _ in $(seq 100); do
        [ -s "$ready" ] && break
        kill -0 "$server" 2>/dev/null || break
        sleep 0.1
    done
    if [ ! -s "$ready" ]; then
        echo "peer check: the simulator did not start:" >&2
        cat "$cache/server-$year.log" >&2
        exit 1
    fi
    port=$(sed 's/.*://' "$ready")
    echo "== rig simulator --edition $year =="
    (cd "$cache" && node peer.mjs 127.0.0.1 "$port" "$mode") || failed=1
    kill "$server" 2>/dev/null
    wait "$server" || failed=1
    server=
    tail -1 "$cache/server-$year.log"
done
exit $failed
