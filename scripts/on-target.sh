#!/usr/bin/env bash
# Runs programs of the target on this machine, as root: emulated, in the root folder that
# scripts/sysroot.sh filled. The source tree and /tmp are there under their own paths, and
# no process outside can be seen.
#
#   scripts/on-target.sh PROGRAM [ARGUMENT...]            one of the target's programs
#   scripts/on-target.sh --native COMMAND [ARGUMENT...]   one of this machine's, which may
#                                 call this script: all that it calls share one world
#
# VESK_SYSROOT: the root folder, build/sysroot-armhf unless given
set -euo pipefail

# Within one world already: quick, for it is done for each test.
[ -z "${VESK_TARGET_ROOT-}" ] || exec unshare --root="$VESK_TARGET_ROOT" --wd="$PWD" "$@"

. "$(dirname "$0")/common.sh"
sysroot=$(realpath -m "${VESK_SYSROOT:-$root/build/sysroot-armhf}")
emulator=/usr/bin/qemu-arm-static
registration=/usr/lib/binfmt.d/qemu-arm.conf # a line for the kernel, of the emulator's package

# The kernel starts the emulator for every program of the target's. That holds for the
# whole machine, so it is under a name of our own, and only while this script runs.
register_emulator() {
  kernel=$(mktemp -d)
  handler=vesk-arm-$$
  trap unregister_emulator EXIT
  mount -t binfmt_misc binfmt_misc "$kernel" 2>/dev/null ||
    die "this kernel cannot be told of the emulator: no binfmt_misc (module missing, or a container without the right to mount)"
  grep -m 1 '^:qemu-arm:' "$registration" | sed "s/^:qemu-arm:/:$handler:/" >"$kernel/register" ||
    die "the kernel does not take $registration"
}
unregister_emulator() {
  [ ! -e "$kernel/$handler" ] || echo -1 >"$kernel/$handler"
  umount "$kernel" 2>/dev/null || true
  rmdir "$kernel"
}

# In mount and process namespaces of its own, which end with it.
enter_world() {
  local place
  trap 'exit 130' INT TERM
  mount --bind "$sysroot" "$sysroot" # to its programs it is the root of a file system
  mount --rbind /dev "$sysroot/dev"
  mount -t proc proc "$sysroot/proc"
  mount --rbind /tmp "$sysroot/tmp"
  mount -t tmpfs tmpfs "$sysroot/run"
  for place in "$root" "$(realpath "$root")"; do
    mountpoint -q "$sysroot$place" || { mkdir -p "$sysroot$place" && mount --bind "$root" "$sysroot$place"; }
  done
  export VESK_TARGET_ROOT=$sysroot
  "$0" /bin/true || die "$emulator does not run the target's programs here"
  if [ "$1" = --native ]; then shift; else set -- "$0" "$@"; fi
  "$@"
}

if [ "${1-}" = --inside ]; then
  shift
  enter_world "$@"
  exit
fi
[ "${*#--native}" != "" ] || die "no program given"
[ "$(id -u)" -eq 0 ] || die "not root: programs of the target need mounts and a root folder of their own"
for file in "$emulator" "$registration"; do
  [ -e "$file" ] || die "no emulator: $file is missing; it comes with qemu-user-static"
done
[ -e "$sysroot.complete" ] || die "nothing in $sysroot: scripts/sysroot.sh fills it"
unshare --mount --pid --fork --kill-child true 2>/dev/null ||
  die "namespaces cannot be made here: a container without the right to"
register_emulator
unshare --mount --pid --fork --kill-child --mount-proc "$0" --inside "$@"
