#!/usr/bin/env bash
# Tries the Debian packages in a root folder of Debian's with little more than what they
# depend on: see try-packages-inside.sh. scripts/packages.sh --try calls it.
#
#   scripts/try-packages.sh ARCH DIR NEXT
#
# DIR has the packages, NEXT the same with a higher version.
set -euo pipefail
. "$(dirname "$0")/common.sh"
arch=$1 first=$(realpath "$2") next=$(realpath "$3")
base=$root/build/packages/root-$arch
work=$base.try

# Lets the kernel run the target's programs. Entries of binfmt_misc are the machine's: so
# this is one of its own, whoever else has one, and goes when all is tried.
entry=/proc/sys/fs/binfmt_misc/vesk-packages-$$
emulate() {
  [ -e /proc/sys/fs/binfmt_misc/register ] || mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc
  local header='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x28\x00'
  local mask='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
  echo ":${entry##*/}:M::$header:$mask:/usr/bin/qemu-arm-static:OF" >/proc/sys/fs/binfmt_misc/register
}
clean_up() {
  [ ! -e "$entry" ] || echo -1 >"$entry"
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# Debian's smallest root folder, and the libraries. Made once: it takes minutes.
make_base() {
  [ "$(cat "$base.complete" 2>/dev/null)" != "${library_packages[*]}" ] || return 0
  local suite mirror include
  # From where this machine's own packages come.
  suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
  # shellcheck disable=SC2016 # for apt to expand
  mirror=$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk -v suite="$suite" '$2 == suite && $3 == "main" { print $1; exit }')
  rm -rf "$base" "$base.complete"
  include=$(IFS=, && echo "${library_packages[*]}")
  # With mounts of its own, which go with it however it ends.
  unshare --mount debootstrap --arch="$arch" --variant=minbase --include="$include" "$suite" "$base" "$mirror" \
    >"$base.log" 2>&1 || { tail -n 20 "$base.log"; die "no root folder for $arch"; }
  echo "${library_packages[*]}" >"$base.complete"
}

# All that is there, but for what dpkg and the linker note for themselves.
inventory() {
  find "$work" \( -path "$work/var/lib/dpkg" -o -path "$work/packages" -o -path "$work/proc" \) -prune -o \
    ! -name 'ld.so.cache' ! -name 'aux-cache' ! -path '*/var/log/dpkg.log' ! -name '.pwd.lock' -printf '%P\n' | sort
}

[ "$arch" = amd64 ] || emulate
echo "Preparing $base"
make_base
rm -rf "$work"
cp -a "$base" "$work"
mkdir -p "$work"/packages/{1,2}
cp "$first"/*.deb "$work/packages/1"
cp "$next"/*.deb "$work/packages/2"
cp "$root/scripts/try-packages-inside.sh" "$work/packages"
inventory >"$work/packages/before"

# In a process table of its own, which ends with all that runs in it. In the foreground, or
# Ctrl-C would not reach it.
timeout --foreground -k 10 900 unshare --mount --pid --fork --kill-child chroot "$work" \
  /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C DEBIAN_FRONTEND=noninteractive \
  /bin/sh /packages/try-packages-inside.sh
inventory >"$work/packages/after"
diff "$work/packages/before" "$work/packages/after" || die "purged, and these files are left"
echo "ok: purged, no file is left"
