#!/usr/bin/env bash
# Prints what a built preset costs a device: the sizes of its files without debug
# information, and veskd's memory while it plays the demonstration in a world of its own.
# Fails if the plug-in for 32-bit ARM is over its limit.
#
#   scripts/footprint.sh default|armhf
set -euo pipefail
. "$(dirname "$0")/common.sh"

plugin=libveskp.watchdog.process.so
plugin_limit=$((100 * 1024)) # bytes, on armhf
seconds=8                    # of the demonstration: its windows are full by then

file_sizes() {
  local name size stripped
  stripped=$(mktemp)
  for name in "$plugin" libvesk.so.1 veskd; do
    "$strip" -o "$stripped" "$out/$name"
    size=$(stat -c %s "$stripped")
    printf '%-34s %5d KiB\n' "$name" $(((size + 1023) / 1024))
    [ "$preset/$name" != "armhf/$plugin" ] || [ "$size" -le $plugin_limit ] ||
      die "$name has $size bytes, more than $plugin_limit"
  done
  rm "$stripped"
}

# KiB that are resident. An emulated program's own memory lies below 4 GiB, what is above
# is the emulator's.
resident() {
  case $preset in
    armhf) awk '/^[0-9a-f]+-/ { own = index($1, "-") <= 9 } /^Rss:/ && own { sum += $2 } END { print sum }' "/proc/$1/smaps" ;;
    *) awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" ;;
  esac
}

# Within a world that ends with this, so everything may be left running.
play() {
  local name words veskd
  folder=$(mktemp -d)
  trap 'rm -rf "$folder"' EXIT
  cd "$folder"
  export PATH=$folder:$PATH
  for name in server spinner leaker crowd hopeless; do cp "$out/demo_program" "demo-$name"; done
  for words in spinner\ spin leaker\ leak crowd\ idle{,,,} hopeless\ spin; do
    "${launch[@]}" "$folder/demo-${words% *}" "${words#* }" &
  done
  "${launch[@]}" "$out/veskd" -c "$root/examples/demo.toml" --plugin "$out/$plugin" 2>veskd.log &
  veskd=$!
  sleep $seconds
  printf '%-34s %5d KiB\n' "veskd on the demo, resident" "$(resident $veskd)"
}

preset=$1 out=$root/build/$1
if [ "$preset" = armhf ]; then
  strip=arm-linux-gnueabihf-strip launch=("$root/scripts/on-target.sh")
  world=("${launch[@]}" --native)
else
  strip=strip launch=()
  world=(unshare --map-root-user --mount --pid --fork --kill-child --mount-proc)
fi
if [ "${2-}" = --play ]; then play; exit; fi
echo "== $preset: what it costs a device"
file_sizes
if ! "${world[@]}" true 2>/dev/null; then
  echo "veskd on the demo: not measured, for no namespaces can be made here"
  exit
fi
"${world[@]}" "$0" "$preset" --play
