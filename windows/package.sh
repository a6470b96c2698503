#!/usr/bin/env bash
# Makes velloray-<version>-windows.zip: the exe, stripped, and the program folder. Fails when the exe asks for a DLL that a
# user may not have, or is not what it should be.
# usage: package.sh BUILD_FOLDER
set -euo pipefail
fail() { echo "package: $1" >&2 && exit 1; }
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
version=$("$root/packaging/version.sh")

folder="$build/package/Velloray"
rm -rf "$build/package"
"$root/packaging/program-folder.sh" "$folder"
x86_64-w64-mingw32-strip -o "$folder/Velloray.exe" "$build/Velloray.exe"

headers=$(x86_64-w64-mingw32-objdump -p "$folder/Velloray.exe")
asked=$(sed -n 's/^\tDLL Name: //p' <<<"$headers" | sort -fu)
allowed=$(sed 's/#.*//' "$root/windows/allowed-dlls.txt" | awk 'NF {print tolower($1)}')
[ -n "$asked" ] || fail "the exe asks for no DLL at all"
while read -r dll; do
    grep -qxF "${dll,,}" <<<"$allowed" || fail "the exe asks for $dll, which is not allowed"
done <<<"$asked"
grep -q 'Windows GUI' <<<"$headers" || fail "the exe would open a console window"

# What the exe says of itself, read back from it.
resources=$(x86_64-w64-mingw32-windres -J coff -O rc -i "$folder/Velloray.exe")
says() { grep -qE "$1" <<<"$resources" || fail "the exe has no $2"; }
says "^ FILEVERSION ${version//./, }, 0\$" "file version $version"
for name in FileVersion ProductVersion; do says "VALUE \"$name\", \"$version\"\$" "$name $version"; done
says 'VALUE "ProductName", "Velloray"$' "product name"
says '^100 14 /\* RT_GROUP_ICON' "icon 100"
says '^  101, "Velloray"$' "title 101"
says '"asInvoker""' "manifest that asks for the rights of its caller"
! grep -qiE 'requireAdministrator|highestAvailable' <<<"$resources" || fail "the exe asks for an administrator's rights"
! grep -qi 'dpiAware' <<<"$resources" || fail "the exe does not leave the screen's resolution to the system"

zip="$build/velloray-$version-windows.zip"
rm -f "$zip"
(cd "$build/package" && cmake -E tar cf "$zip" --format=zip Velloray)
echo "$(basename "$zip"): $(stat -c %s "$zip") bytes; Velloray.exe: $(stat -c %s "$folder/Velloray.exe") bytes"
echo "DLLs: $(paste -sd' ' <<<"$asked")"
