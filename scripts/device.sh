#!/usr/bin/env bash
# Tries the watchdog on a whole machine of the target's: makes a small armhf Debian with
# its own kernel and puts the Debian packages into it, boots it in qemu's full emulation
# with systemd as its first process, and runs packaging/image/trial.sh there: installation,
# the unit, the init script, upgrades, the demonstration, a restart of the machine, removal.
# Exit status 0 only if all went well.
#
#   scripts/device.sh [TRANSCRIPT]      TRANSCRIPT: build/device/transcript.md unless given
#
# docs/device.md is such a transcript. Not a part of the tests: on two cores that built
# other things meanwhile the root folder took 22 minutes, once, and each run 8 to 15 after
# that. The packages come from the machine's own mirror of Debian, or from $DEBIAN_MIRROR.
set -euo pipefail
. "$(dirname "$0")/common.sh"

work=$root/build/device
transcript=$(realpath -m "${1:-$work/transcript.md}")
machine_minutes=40
memory=512
disk_size=1500M
trial=/var/lib/trial

install_missing "${packages[@]}" "${cross_packages[@]}" "${device_packages[@]}"
only_one "$work"
mkdir -p "$(dirname "$transcript")"

machine_pid=
# A TERM, which `timeout' hands on: killed, it would leave the machine running.
clean_up() { [ -z "$machine_pid" ] || kill "$machine_pid" 2>/dev/null || true; }
trap clean_up EXIT
trap 'exit 130' INT TERM

# step NAME COMMAND...: says what is done, and notes how long it took.
declare -A taken=()
step() {
  local name=$1 begin=$SECONDS
  shift
  echo "== $name"
  "$@"
  taken[$name]=${taken[$name]:-$((SECONDS - begin))}
}

find_mirror() {
  local mirror=${DEBIAN_MIRROR:-}
  [ -n "$mirror" ] || mirror=$(apt-get indextargets --format "\$(SITE) \$(RELEASE) \$(COMPONENT)" \
    'Created-By: Packages' | sed -n 's/ bookworm main$//p' | sed -n 1p)
  [ -n "$mirror" ] || die "apt knows no mirror of bookworm; set DEBIAN_MIRROR"
  echo "$mirror"
}

# Made once: it changes with what is to be in it only. How long it took is told again.
make_base() {
  local wanted begin=$SECONDS
  wanted="${image_packages[*]} $(cat "$root/packaging/image/make-root.sh")"
  if [ "$(cat "$work/base.complete" 2>/dev/null)" = "$wanted" ]; then
    taken[${steps[0]}]="$(cat "$work/base.seconds"), in an earlier run"
    return
  fi
  rm -rf "$work/base" "$work/base.complete"
  unshare --mount --pid --fork --kill-child "$root/packaging/image/make-root.sh" "$(find_mirror)" \
    "$work/base" "${image_packages[@]}" >"$work/base.log" 2>&1 ||
    die "no root folder could be made, see $work/base.log"
  echo $((SECONDS - begin)) >"$work/base.seconds"
  echo "$wanted" >"$work/base.complete"
}

# As they are delivered; `demo_program', which is not, comes from the same folder.
make_packages() { "$root/scripts/packages.sh" --next armhf; }

# put MODE FILE DESTINATION: into the machine's root folder; what is there is not written to,
# for it is shared with the base.
put() { install -D -m "$1" "$2" "$work/root$3"; }
put_program() { install -D -s --strip-program=arm-linux-gnueabihf-strip "$1" "$work/root$2"; }

# The packages lie there for the trial, which installs them.
install_trial() {
  local folder=/usr/local/lib/trial name
  mkdir "$work/root$trial"
  for name in libvesk veskp-watchdog-process veskd; do
    put 644 "$root"/build/packages/armhf/"$name"_*.deb "$folder/1/$name.deb"
    put 644 "$root"/build/packages/armhf-next/"$name"_*.deb "$folder/2/$name.deb"
  done
  put 755 "$root/packaging/image/trial.sh" "$folder/trial.sh"
  put 644 "$root/packaging/image/trial.service" /usr/lib/systemd/system/trial.service
  ln -s /usr/lib/systemd/system/trial.service "$work/root/etc/systemd/system/multi-user.target.wants/"
  put 755 "$root/scripts/play-demo.sh" "$folder/play-demo.sh"
  put 644 "$root/examples/demo.toml" "$folder/demo.toml"
  put_program "$root/build/package-armhf/demo_program" "$folder/demo_program"
  ln -s /usr/sbin/veskd /usr/lib/vesk/libveskp.watchdog.process.so "$work/root$folder/"
  for name in pump valve boiler; do
    ln -s "$folder/demo_program" "$work/root/usr/local/bin/$name"
  done
}

make_disk() {
  rm -rf "$work/root" "$work/disk"
  cp -al "$work/base" "$work/root"
  install_trial
  rm "$work/root/etc/hostname"
  echo device >"$work/root/etc/hostname"
  mke2fs -q -t ext4 -d "$work/root" "$work/disk" "$disk_size"
}

run_machine() {
  rm -f "$work/console"
  timeout -k 10 "$((machine_minutes * 60))" qemu-system-arm -M virt,highmem=off -cpu cortex-a15 \
    -smp 2 -m "$memory" -nic none -display none -monitor none -serial stdio \
    -kernel "$work"/base/boot/vmlinuz-* -initrd "$work"/base/boot/initrd.img-* \
    -append "console=ttyAMA0 root=/dev/vda rw systemd.log_color=0" \
    -drive "if=none,id=disk,format=raw,file=$work/disk" -device virtio-blk-device,drive=disk \
    </dev/null > >(tee "$work/console") &
  machine_pid=$!
  wait "$machine_pid" || die "the machine did not go down by itself: exit status $?"
  machine_pid=
}

read_file() { debugfs -R "cat $trial/$1" "$work/disk" 2>/dev/null; }

# Without colours and the terminal's other commands.
kernel_lines() { sed -e 's/\x1b\[[0-9;?]*[a-zA-Z]//g' -e 's/\r$//' "$work/console" | grep -a '^\[ *[0-9]*\.[0-9]*\]'; }

write_transcript() {
  local name
  cat <<EOF
# veskd on a whole machine

Printed by \`scripts/device.sh docs/device.md\`, which makes a small Debian 12 for 32-bit
ARM, with Debian's kernel and systemd as the first process, puts the packages of
\`scripts/packages.sh\` into it, and boots it in qemu's full emulation (machine \`virt\`,
Cortex-A15, two cores, $memory MiB). There \`packaging/image/trial.sh\` does what follows. The
times are those of an emulation on a busy machine, and say nothing of a device's.

| Part | Seconds |
|---|---|
EOF
  for name in "${steps[@]}"; do printf '| %s | %s |\n' "$name" "${taken[$name]}"; done
  printf '\nThe first lines of the kernel, and the last of both boots:\n\n'
  kernel_lines | sed -n 1,8p | sed 's/^/    /'
  echo "    ..."
  kernel_lines | grep 'reboot:' | sed 's/^/    /'
  echo
  read_file report.md
}

steps=("The root folder, with its packages" "The packages for armhf, in two revisions"
  "The disk" "The machine: two boots, and the trial")
step "${steps[0]}" make_base
step "${steps[1]}" make_packages
step "${steps[2]}" make_disk
step "${steps[3]}" run_machine
write_transcript >"$transcript"
echo "The transcript is in $transcript"
[ "$(read_file verdict)" = ok ] || die "the trial failed"
