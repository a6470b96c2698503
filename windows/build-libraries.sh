#!/usr/bin/env bash
# Builds the libraries that the Windows program and its tests link, from Debian's source packages, static, and prints
# the folder they are in. They stay in the user's cache: a second call takes no time.
# usage: build-libraries.sh      (needs the packages of packages.txt)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
toolchain="$here/../cmake/mingw-w64-x86_64.cmake"
# Another recipe, compiler or Debian release is another folder.
key=$({ cat "$0" "$toolchain" /etc/debian_version; x86_64-w64-mingw32-g++-posix --version; } | sha256sum | cut -c1-16)
cache="${XDG_CACHE_HOME:-$HOME/.cache}/velloray"
prefix="$cache/windows-libraries-$key"
if [ -e "$prefix/complete" ]; then
    echo "$prefix"
    exit 0
fi
mkdir -p "$cache"
exec 9>"$cache/windows-libraries.lock"
flock 9 # another checkout may be building the same
if [ -e "$prefix/complete" ]; then
    echo "$prefix"
    exit 0
fi

work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
rm -rf "$prefix" # what an interrupted build left
mkdir -p "$prefix/include" "$work/apt/parts" "$work/apt/lists/partial" "$work/apt/archives/partial" "$work/src" "$work/build"

# Source packages without a change to the machine's own configuration: a copy of its list, of the other type.
if [ -e /etc/apt/sources.list.d/debian.sources ]; then
    sed 's/^Types:.*/Types: deb-src/' /etc/apt/sources.list.d/debian.sources >"$work/apt/parts/source.sources"
else
    sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$work/apt/parts/source.list"
fi
apt=(apt-get -qq -o "Dir::Etc::sourceparts=$work/apt/parts" -o Dir::Etc::sourcelist=/dev/null
    -o "Dir::State::lists=$work/apt/lists" -o "Dir::Cache::archives=$work/apt/archives" -o "Dir::Cache::pkgcache="
    -o "Dir::Cache::srcpkgcache=" -o Acquire::Languages=none -o Acquire::Retries=3 -o APT::Sandbox::User=root)
"${apt[@]}" update >&2
cd "$work/src"
"${apt[@]}" source --only-source fmtlib pugixml nlohmann-json3 libzip curl cpp-httplib >/dev/null 2>"$work/source.log" ||
    { cat "$work/source.log" >&2 && exit 1; }

launchers=()
if command -v ccache >/dev/null; then
    launchers=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    export CCACHE_BASEDIR=$work CCACHE_NOHASHDIR=1
fi
build() { # NAME SOURCE_FOLDER [CMAKE_OPTION...]
    local name=$1 source=$2 start=$SECONDS
    shift 2
    if ! { cmake -S $source -B "$work/build/$name" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_PREFIX_PATH="$prefix" \
        -DBUILD_SHARED_LIBS=OFF -Wno-dev "${launchers[@]}" "$@" &&
        cmake --build "$work/build/$name" --target install; } >"$work/build/$name.log" 2>&1; then
        tail -n 40 "$work/build/$name.log" >&2
        echo "build-libraries: $name failed" >&2
        exit 1
    fi
    echo "$name: $((SECONDS - start)) s" >&2
}
# HTTP, HTTPS by the system's own certificates, and FILE. Its many tests of the compiler run one by one, beside the others.
without=()
for protocol in FTP LDAP LDAPS TELNET DICT TFTP IMAP POP3 SMTP GOPHER MQTT RTSP SMB; do
    without+=("-DCURL_DISABLE_$protocol=ON")
done
build curl curl-*/ "${without[@]}" -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DENABLE_MANUAL=OFF -DCURL_USE_SCHANNEL=ON \
    -DCURL_USE_OPENSSL=OFF -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DUSE_LIBIDN2=OFF -DCURL_BROTLI=OFF \
    -DCURL_ZSTD=OFF -DUSE_NGHTTP2=OFF -DCURL_ZLIB=ON &
curl=$!
build pugixml pugixml-*/
build fmt fmtlib-*/ -DFMT_TEST=OFF -DFMT_DOC=OFF
build json nlohmann-json3-*/ -DJSON_BuildTests=OFF
build gtest /usr/src/googletest
build libzip libzip-*/ -DENABLE_BZIP2=OFF -DENABLE_LZMA=OFF -DENABLE_ZSTD=OFF -DENABLE_OPENSSL=OFF -DENABLE_GNUTLS=OFF \
    -DENABLE_MBEDTLS=OFF -DENABLE_COMMONCRYPTO=OFF -DENABLE_WINDOWS_CRYPTO=OFF -DBUILD_TOOLS=OFF -DBUILD_REGRESS=OFF \
    -DBUILD_EXAMPLES=OFF -DBUILD_DOC=OFF
wait "$curl"
cp cpp-httplib-*/httplib.h "$prefix/include/"
touch "$prefix/complete"
echo "$prefix"
