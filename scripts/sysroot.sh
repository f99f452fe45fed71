#!/usr/bin/env bash
# Fills a root folder with the target's libraries and programs: Debian's armhf packages,
# unpacked and not set up, so that this machine's own packages stay as they are.
#
#   scripts/sysroot.sh [DIR]        DIR: build/sysroot-armhf unless given
set -euo pipefail
. "$(dirname "$0")/common.sh"

sysroot=$(realpath -m "${1:-$root/build/sysroot-armhf}")
store=$sysroot.packages

# apt as on a machine of the target's, with nothing installed.
target_apt() {
  apt-get -o APT::Architecture=armhf -o APT::Architectures=armhf \
    -o Dir::State="$store/state" -o Dir::State::status="$store/status" \
    -o Dir::Cache="$store/cache" -o Acquire::Languages=none \
    -o APT::Install-Recommends=false -o APT::Sandbox::User=root -qq "$@"
}

stamp=$sysroot.complete
[ "$(cat "$stamp" 2>/dev/null)" = "${target_packages[*]}" ] && exit 0

echo "Filling $sysroot"
rm -rf "$stamp" "$sysroot" "$store"
mkdir -p "$store"/state/lists/partial "$store"/cache/archives/partial
: >"$store/status"
# An index that cannot be had may not be needed; what is missed shows with the next step.
target_apt update || echo "Some package indexes could not be fetched; going on without them"
target_apt -y --download-only install "${target_packages[@]}"

mkdir -p "$sysroot"/usr/{bin,sbin,lib}
ln -s usr/bin usr/sbin usr/lib "$sysroot"
for package in "$store"/cache/archives/*.deb; do
  dpkg-deb --fsys-tarfile "$package" | tar -x -C "$sysroot" --keep-directory-symlink
done
rm -rf "$store"
# Users are what setting up would have brought.
cp "$sysroot/usr/share/base-passwd/passwd.master" "$sysroot/etc/passwd"
cp "$sysroot/usr/share/base-passwd/group.master" "$sysroot/etc/group"
echo "${target_packages[*]}" >"$stamp"
