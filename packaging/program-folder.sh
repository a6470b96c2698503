#!/usr/bin/env bash
# Puts together the program folder as a user gets it, but for the program itself: data, manual, licence, changes.
# usage: program-folder.sh FOLDER
set -euo pipefail
folder=$1
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$folder/docs"
cp -r "$root/install/." "$folder/"

page() { # TITLE MARKDOWN HTML
    {
        sed "s/@TITLE@/$1/" "$root/manual/head.html"
        cmark-gfm --extension table --unsafe "$2"
        echo '</main></body></html>'
    } >"$3"
}
page "Velloray: manual" "$root/manual/manual.md" "$folder/docs/manual.html"
page "Velloray: changes" "$root/CHANGELOG.md" "$folder/docs/changes.html"
cp -r "$root/manual/pictures" "$folder/docs/"
cp "$root/LICENSE" "$folder/docs/licence.txt"
