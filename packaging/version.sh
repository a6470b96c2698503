#!/usr/bin/env bash
# Prints the version of the program, as the packages name it.
set -euo pipefail
sed -n 's/^project(velloray VERSION \([0-9.]*\).*/\1/p' "$(dirname "$0")/../CMakeLists.txt" | grep . || {
    echo "version: none in CMakeLists.txt" >&2
    exit 1
}
