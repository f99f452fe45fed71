#!/usr/bin/env bash
# Installs the library and what belongs to developers into a folder, and builds the
# example against that alone, as a reader of docs/writing-a-client.md does.
#
#   sdk.sh BUILD_FOLDER WORK_FOLDER COMPILER READELF [TOOLCHAIN_FILE [SYSROOT]]
set -euo pipefail

build=$1 work=$2 compiler=$3 readelf=$4 toolchain=${5:-} sysroot=${6:-}
here=$(cd "$(dirname "$0")" && pwd)
sdk=$work/sdk client=$work/client

fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
for component in libvesk vesk-dev; do
  cmake --install "$build" --component "$component" --prefix "$work/moved" >/dev/null
done
mv "$work/moved" "$sdk" # nothing in it may know where it was installed
! grep -rIlF -e "$work/moved" -e "$build" "$sdk" || fail "these know of a folder of the build"
cp -r "$sdk/share/doc/vesk-dev/examples/client" "$client"

# It exports the factory alone, and needs libvesk by the name that stays.
check_library() {
  "$readelf" --dyn-syms -W "$1" | awk '$5 == "GLOBAL" && $7 != "UND" { print $8 }' |
    diff - <(echo _Z13veskGetPluginv) || fail "$1 exports something else"
  "$readelf" -dW "$1" | grep -q 'NEEDED.*\[libvesk\.so\.1\]' || fail "$1 does not need libvesk"
}

echo "== CMake"
options=(-DCMAKE_PREFIX_PATH="$sdk")
# What is built for another machine is looked for in root folders only.
[ -z "$toolchain" ] || options=(-DCMAKE_TOOLCHAIN_FILE="$toolchain" -DVESK_SYSROOT="$sysroot"
  -DCMAKE_FIND_ROOT_PATH="$sdk")
cmake -G Ninja -S "$client" -B "$client/build" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS=-Werror "${options[@]}" >"$work/configure.txt" || fail "$(cat "$work/configure.txt")"
cmake --build "$client/build"
check_library "$client/build/libclient.so"
ninja -C "$client/build" -t deps | sed 's/^ *//' | grep "^$(dirname "$(dirname "$here")")/" |
  grep -v "^$work/" && fail "these headers are not of the installed ones"

echo "== the watchdog itself"
cmake -G Ninja -S "$here/../.." -B "$work/watchdog" -DCMAKE_CXX_COMPILER="$compiler" \
  "${options[@]}" -DVESK_FRAMEWORK_DIR="$sdk" >"$work/configure.txt" 2>&1 || fail "$(cat "$work/configure.txt")"

echo "== pkg-config"
export PKG_CONFIG_LIBDIR=$sdk/lib/pkgconfig
unset PKG_CONFIG_PATH PKG_CONFIG_SYSROOT_DIR
read -ra cflags < <(pkg-config --cflags vesk)
read -ra libs < <(pkg-config --libs vesk)
[ -z "$sysroot" ] || cflags+=("--sysroot=$sysroot")
"$compiler" -shared -fPIC -o "$client/libclient.so" "$client/Client.cpp" "${cflags[@]}" "${libs[@]}" \
  -Wl,--version-script="$client/exports.map"
check_library "$client/libclient.so"

echo "== each header alone"
cd "$sdk/include/vesk"
for header in */*.h; do
  printf '#include "%s"\n#include "%s"\n' "$header" "$header" |
    "$compiler" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror "${cflags[@]}" -x c++ - ||
    fail "$header does not compile alone"
done
