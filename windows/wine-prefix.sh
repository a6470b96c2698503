# Sourced: a Wine user of one's own for tests. make_wine_prefix FOLDER makes it, with the stock fonts, and exports what
# wine needs; stop_wine ends everything that still runs in it.
make_wine_prefix() {
    export WINEPREFIX=$1 WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" # no offer to download these
    [ -e "$WINEPREFIX/complete" ] && return
    rm -rf "$WINEPREFIX"
    mkdir -p "$(dirname "$WINEPREFIX")"
    wineboot -i >/dev/null 2>&1
    cp /usr/share/wine/fonts/*.fon /usr/share/wine/fonts/system.ttf "$WINEPREFIX/drive_c/windows/Fonts/"
    stop_wine # the fonts are read when the server starts
    touch "$WINEPREFIX/complete"
}
stop_wine() {
    wineserver -k 2>/dev/null || true
    wineserver -w 2>/dev/null || true
}
