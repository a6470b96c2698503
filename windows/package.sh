#!/usr/bin/env bash
# Makes velloray-<version>-windows.zip: the exe, stripped, and the program folder. Fails when the exe asks for a DLL that a
# user may not have, or is not what it should be.
# usage: package.sh BUILD_FOLDER
set -euo pipefail
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
version=$(sed -n 's/^project(velloray VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
[ -n "$version" ] || { echo "package: no version in CMakeLists.txt" >&2 && exit 1; }

folder="$build/package/Velloray"
rm -rf "$build/package"
mkdir -p "$folder"
cp -r "$root/install/." "$folder/"
x86_64-w64-mingw32-strip -o "$folder/Velloray.exe" "$build/Velloray.exe"

headers=$(x86_64-w64-mingw32-objdump -p "$folder/Velloray.exe")
asked=$(sed -n 's/^\tDLL Name: //p' <<<"$headers" | sort -fu)
allowed=$(sed 's/#.*//' "$root/windows/allowed-dlls.txt" | awk 'NF {print tolower($1)}')
[ -n "$asked" ] || { echo "package: the exe asks for no DLL at all" >&2 && exit 1; }
while read -r dll; do
    grep -qxF "${dll,,}" <<<"$allowed" || { echo "package: the exe asks for $dll, which is not allowed" >&2 && exit 1; }
done <<<"$asked"
grep -q 'Windows GUI' <<<"$headers" || { echo "package: the exe would open a console window" >&2 && exit 1; }

zip="$build/velloray-$version-windows.zip"
rm -f "$zip"
(cd "$build/package" && cmake -E tar cf "$zip" --format=zip Velloray)
echo "$(basename "$zip"): $(stat -c %s "$zip") bytes; Velloray.exe: $(stat -c %s "$folder/Velloray.exe") bytes"
echo "DLLs: $(paste -sd' ' <<<"$asked")"
