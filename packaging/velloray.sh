#!/bin/sh
# Starts Velloray in its own folder, with the libraries that came with it.
cd "${0%/*}" || exit 1
LD_LIBRARY_PATH="$PWD/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" exec lib/velloray
