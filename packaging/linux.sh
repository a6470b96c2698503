#!/usr/bin/env bash
# Makes velloray-<version>-linux.tar.gz: the program, stripped, with the libraries that a user's system may lack beside it,
# and the program folder. Fails when the program asks for a library that is neither there nor part of every desktop.
# usage: linux.sh BUILD_FOLDER
set -euo pipefail
fail() { echo "package: $1" >&2 && exit 1; }
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
version=$("$root/packaging/version.sh")

folder="$build/package/Velloray"
rm -rf "$build/package"
mkdir -p "$folder/lib"
"$root/packaging/program-folder.sh" "$folder"
strip -o "$folder/lib/velloray" "$build/velloray"
install -m 755 "$root/packaging/velloray.sh" "$folder/velloray"

of_the_system=$(sed 's/#.*//' "$root/packaging/system-libraries.txt" | awk 'NF {print $1}')
resolved=$(ldd "$build/velloray" | awk '$2 == "=>" {print $1, $3}')
[ -n "$resolved" ] || fail "the program asks for no library at all"
while read -r name file; do
    grep -qxF "$name" <<<"$of_the_system" && continue
    [ -f "$file" ] || fail "the program asks for $name, which is not found"
    cp "$file" "$folder/lib/$name"
done <<<"$resolved"
[ "$(strings -a "$folder/lib/velloray" | grep -cF "$root")" = 0 ] || fail "the program holds names of this computer"

archive="$build/velloray-$version-linux.tar.gz"
rm -f "$archive"
tar -C "$build/package" --owner=0 --group=0 --sort=name -czf "$archive" Velloray
echo "$(basename "$archive"): $(stat -c %s "$archive") bytes; program: $(stat -c %s "$folder/lib/velloray") bytes," \
    "$(($(ls "$folder/lib" | wc -l) - 1)) libraries: $(cat "$folder"/lib/*.so* | wc -c) bytes"
