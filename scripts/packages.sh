#!/usr/bin/env bash
# Makes the Debian packages and checks them, after installing what is missing (Debian, as
# root). They come to lie in build/packages/ARCH.
#
#   scripts/packages.sh [--tree PRESET] [--twice] [--next] [--try] [ARCH...]
#
# ARCH: amd64, armhf, or all. Without one: amd64.
#   --tree PRESET   packs what stands built in build/PRESET, in place of the preset
#                   package or package-armhf: quick, to check all but the flags
#   --twice         makes them again from a copy of the sources at another place; they
#                   must be the same bit for bit (with --tree: packs them again)
#   --next          makes them also as the next revision, to try an upgrade with, in
#                   build/packages/ARCH-next
#   --try           installs, upgrades and removes them in a root folder of Debian's, see
#                   scripts/try-packages.sh
set -euo pipefail
. "$(dirname "$0")/common.sh"

tree='' twice='' next='' try='' archs=()
while [ $# -gt 0 ]; do
  case $1 in
    --tree) tree=${2:?} && shift ;;
    --twice) twice=yes ;;
    --next) next=yes ;;
    --try) try=yes ;;
    all) archs+=(amd64 armhf) ;;
    amd64 | armhf) archs+=("$1") ;;
    *) die "unknown: $1" ;;
  esac
  shift
done
[ ${#archs[@]} -gt 0 ] || archs=(amd64)
sysroot=${VESK_SYSROOT:-$root/build/sysroot-armhf}

# Packages bear the time of the commit that they are made of, whoever the sources' folder
# belongs to. Only an unpacked archive has that time on its files.
commit_time() {
  if [ -e "$root/.git" ]; then
    git -c safe.directory="$root" -C "$root" log -1 --format=%ct
  else
    stat -c %Y "$root/CHANGELOG.md"
  fi
}
umask 022

# dpkg's records of the target's packages, for dpkg-shlibdeps: the root folder that is
# built with has their libraries, but nothing is recorded as installed there.
records=$root/build/packages/armhf-records
make_records() {
  [ "$(cat "$records/complete" 2>/dev/null)" != "$sysroot" ] || return 0
  local store=$records/store package name
  rm -rf "$records"
  mkdir -p "$records"/{info,updates} "$store"/state/lists/partial "$store"/cache/archives/partial
  : >"$store/status"
  echo 1 >"$records/info/format"
  local apt=(apt-get -o APT::Architecture=armhf -o APT::Architectures=armhf
    -o Dir::State="$store/state" -o Dir::State::status="$store/status"
    -o Dir::Cache="$store/cache" -o Acquire::Languages=none -o APT::Sandbox::User=root -qq)
  "${apt[@]}" update || echo "Some package indexes could not be fetched; going on without them"
  (cd "$store" && "${apt[@]}" download "${library_packages[@]}")
  for package in "$store"/*.deb; do
    name=$(dpkg-deb -f "$package" Package)
    [ "$(dpkg-deb -f "$package" Multi-Arch)" != same ] || name=$name:armhf
    dpkg-deb -e "$package" "$store/control"
    sed '1a Status: install ok installed' "$store/control/control" >>"$records/status"
    echo >>"$records/status"
    # As the linker finds them: there /lib is a link to /usr/lib.
    dpkg-deb --fsys-tarfile "$package" | tar -t |
      sed -E "s|^\./||; s|/$||; s|^lib/|usr/lib/|; s|^|$sysroot/|" >"$records/info/$name.list"
    for file in symbols shlibs; do
      [ ! -e "$store/control/$file" ] || cp "$store/control/$file" "$records/info/$name.$file"
    done
    rm -rf "$store/control"
  done
  rm -rf "$store"
  echo "$sysroot" >"$records/complete"
}

preset_of() {
  if [ -n "$tree" ]; then echo "$tree"; elif [ "$1" = armhf ]; then echo package-armhf; else echo package; fi
}

# A tree that is borrowed gets back the prefix that its tests count on.
prefix=''
borrow_tree() {
  prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' "$root/build/$tree/CMakeCache.txt" 2>/dev/null) || prefix=/usr/local
  trap return_tree EXIT
  trap 'exit 130' INT TERM
}
return_tree() { (cd "$root" && cmake --preset "$tree" -DCMAKE_INSTALL_PREFIX="$prefix" -Wno-dev >/dev/null); }

# build_tree ARCH SOURCE: builds in SOURCE/build/PRESET.
build_tree() {
  local arch=$1 preset options=(-DCMAKE_INSTALL_PREFIX=/usr)
  preset=$(preset_of "$arch")
  [ "$arch" = amd64 ] || options+=(-DVESK_SYSROOT="$sysroot")
  cd "$2"
  cmake --preset "$preset" "${options[@]}" -Wno-dev >/dev/null
  cmake --build --preset "$preset"
}

# pack ARCH SOURCE OUT [REVISION]
pack() (
  arch=$1 out=$3 options=()
  [ "$arch" = amd64 ] ||
    options+=(-D CPACK_VESK_DPKG_DIR="$records"
      -D CPACK_VESK_LIBRARY_DIR="$sysroot/usr/lib/arm-linux-gnueabihf")
  [ -z "${4-}" ] || options+=(-D CPACK_DEBIAN_PACKAGE_RELEASE="$4")
  rm -rf "$out"
  mkdir -p "$out"
  cd "$2/build/$(preset_of "$arch")"
  cpack -B "$out" "${options[@]}" >"$out/cpack.log" 2>&1 || { cat "$out/cpack.log"; exit 1; }
  rm -rf "$out/_CPack_Packages" "$out/cpack.log"
  ls "$out"/*.deb >/dev/null
)

run_lintian() {
  local findings options=()
  # Without the stack protector, which other presets do not have, the plug-in calls the C
  # library only through the libraries of C++ and of the framework.
  [ -z "$tree" ] || options=(--suppress-tags library-not-linked-against-libc)
  # As root it says that it would rather not be.
  findings=$(lintian "${options[@]}" "$1"/*.deb 2>&1 | grep -v '^running with root' || true)
  [ -z "$findings" ] || { echo "$findings"; die "lintian has findings"; }
  echo "lintian: no errors, no warnings"
}

# What must hold beyond what lintian looks at.
check_contents() {
  local arch=$1 out=$2 package unpacked triplet expected found file
  triplet=$([ "$arch" = armhf ] && echo arm-linux-gnueabihf || echo x86_64-linux-gnu)
  for package in libvesk veskp-watchdog-process veskd vesk-dev; do
    [ "$(dpkg-deb -f "$out"/"$package"_*.deb Architecture)" = "$arch" ] || die "$package: not for $arch"
    unpacked=$(mktemp -d)
    dpkg-deb -x "$out"/"$package"_*.deb "$unpacked"
    # What is built in may depend on where it is built only by a mistake.
    ! grep -rlF "$root" "$unpacked" || die "$package: has a path of the place where it was built"
    find "$unpacked" -type f | while read -r file; do
      ! readelf -d "$file" 2>/dev/null | grep -E 'R(UN)?PATH' || die "$file: looks for libraries by a path"
    done
    expected=$root/packaging/debian/$package/contents
    found=$(cd "$unpacked" && find . ! -type d -printf '%m %P\n' |
      sed "s|$triplet|TRIPLET|; s|veskTargets-[a-z]*\.|veskTargets-BUILD.|" | LC_ALL=C sort -k 2)
    diff "$expected" <(echo "$found") || die "$package: other files (>) than $expected names (<)"
    rm -rf "$unpacked"
    dpkg-deb -f "$out"/"$package"_*.deb Package Version Depends
  done
}

compare() {
  local file
  (cd "$1" && ls ./*.deb) | while read -r file; do
    cmp "$1/$file" "$2/$file" || die "made twice, $file differs"
  done
  echo "Made twice, the packages are the same bit for bit"
}

make_twice() {
  local arch=$1 out=$2 copy
  if [ -n "$tree" ]; then
    pack "$arch" "$root" "$out.again"
  else
    copy=$(mktemp -d)
    mkdir "$copy/elsewhere"
    tar -C "$root" -c --exclude=./build --exclude=./.git . | tar -C "$copy/elsewhere" -x
    (build_tree "$arch" "$copy/elsewhere")
    pack "$arch" "$copy/elsewhere" "$out.again"
    rm -rf "$copy"
  fi
  compare "$out" "$out.again"
  rm -rf "$out.again"
}

only_one "$root/build/packages"
install_missing "${packages[@]}" "${package_packages[@]}"
SOURCE_DATE_EPOCH=$(commit_time)
export SOURCE_DATE_EPOCH
[ -z "$tree" ] || borrow_tree
for arch in "${archs[@]}"; do
  out=$root/build/packages/$arch
  if [ "$arch" = armhf ]; then
    install_missing "${cross_packages[@]}"
    [ -n "${VESK_SYSROOT-}" ] || "$root/scripts/sysroot.sh"
    make_records
  fi
  echo "== packages $arch: build"
  (build_tree "$arch" "$root")
  pack "$arch" "$root" "$out"
  echo "== packages $arch: check"
  check_contents "$arch" "$out"
  run_lintian "$out"
  [ -z "$twice" ] || { echo "== packages $arch: again" && make_twice "$arch" "$out"; }
  [ -z "$next$try" ] || pack "$arch" "$root" "$out-next" 2
  [ -z "$try" ] || { echo "== packages $arch: try" && "$root/scripts/try-packages.sh" "$arch" "$out" "$out-next"; }
  [ -n "$next" ] || rm -rf "$out-next"
done
echo "Packages are in build/packages: ${archs[*]}"
