#!/usr/bin/env bash
# Runs the unit tests of the Windows build under Wine.
# usage: unit-tests.sh BUILD_FOLDER TEST...      TEST as in test_<TEST>.exe
set -uo pipefail
build=$(cd "$1" && pwd)
shift
. "$(dirname "$0")/wine-prefix.sh"
make_wine_prefix "$build/wine"
trap stop_wine EXIT
failed=0
for name in "$@"; do
    start=$SECONDS log="$build/test_$name.log"
    # A file takes the output: a pipe would be held open for seconds.
    if timeout 600 wine "$build/test_$name.exe" --gtest_shuffle --gtest_brief=1 --gtest_color=no >"$log" 2>&1; then
        echo "$name: $(tail -n 1 "$log" | tr -d '\r') after $((SECONDS - start)) s"
    else
        failed=1
        tail -n 60 "$log"
        echo "$name: FAILED after $((SECONDS - start)) s"
    fi
done
exit $failed
