#!/usr/bin/env bash
# Fills a root folder with a small Debian 12 for armhf and its kernel, as root, in a mount
# namespace of the caller's: unshare --mount --pid --fork make-root.sh ...
#
#   make-root.sh MIRROR DIR PACKAGE...
#
# The packages are set up by the target's own programs, which the kernel hands to qemu's
# user emulation; its handler is there for as long as that takes.
set -euo pipefail

mirror=$1
target=$2
shift 2

minutes=45
kernel=linux-image-armmp
binfmt=/proc/sys/fs/binfmt_misc
handler=vesk-device-$(basename "$(dirname "$target")")

forget_handler() { [ ! -e "$binfmt/$handler" ] || echo -1 >"$binfmt/$handler"; }

# Flag F: the emulator is opened now, for it is not to be found in the target.
register_handler() {
  [ -e "$binfmt/register" ] || mount -t binfmt_misc none "$binfmt"
  forget_handler
  trap forget_handler EXIT
  trap 'exit 130' INT TERM
  # shellcheck disable=SC2028 # the kernel reads the escapes
  echo ":$handler:M::\\x7fELF\\x01\\x01\\x01\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x02\\x00\\x28\\x00:\\xff\\xff\\xff\\xff\\xff\\xff\\xff\\x00\\xff\\xff\\xff\\xff\\xff\\xff\\xff\\xff\\xfe\\xff\\xff\\xff:/usr/bin/qemu-arm-static:OF" \
    >"$binfmt/register"
}

# All modules there are would take minutes to pack.
name_modules() {
  mkdir -p "$target"/{etc/initramfs-tools/conf.d,usr/share/initramfs-tools/modules.d}
  echo MODULES=list >"$target/etc/initramfs-tools/conf.d/device"
  printf '%s\n' virtio_mmio virtio_blk ext4 >"$target/usr/share/initramfs-tools/modules.d/device"
}

# In the foreground, or Ctrl-C would not reach it.
# debootstrap's first stage unpacks, the second one sets up with the target's own programs.
register_handler
included=$(IFS=,; echo "$kernel,$*")
timeout --foreground "$((minutes * 60))" debootstrap --foreign --arch=armhf --variant=minbase \
  --include="$included" bookworm "$target" "$mirror"
name_modules
timeout --foreground "$((minutes * 60))" chroot "$target" /debootstrap/debootstrap --second-stage
rm -rf "$target"/var/cache/apt/archives/*.deb
