#!/usr/bin/env bash
# Plays the demonstration with what is built, on any machine that has bash and procps:
# runs veskd on a configuration with five programs that misbehave, shows its log live,
# and says what was expected and what happened. Exit status 0 only if all five happened.
#
#   play-demo.sh BINDIR [CONFIG [SECONDS]]
#
# BINDIR has veskd, libveskp.watchdog.process.so and demo_program; CONFIG:
# examples/demo.toml of this source tree unless given; SECONDS that it may all take: 45.
set -euo pipefail

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

[ $# -ge 1 ] || die "usage: $0 BINDIR [CONFIG [SECONDS]]"
out=$(realpath "$1")
config=$(realpath "${2-$(dirname "$0")/../examples/demo.toml}")

deadline_seconds=${3-45}
names=(demo-server demo-spinner demo-leaker demo-crowd demo-hopeless)

for name in "${names[@]}"; do
  ! pgrep -x "$name" >/dev/null || die "a process named $name runs already"
done

folder=$(mktemp -d)
veskd_pid=
clean_up() {
  if [ -n "$veskd_pid" ]; then # first, or it would start them again
    kill "$veskd_pid" 2>/dev/null || true
    wait "$veskd_pid" 2>/dev/null || true
  fi
  for name in "${names[@]}"; do pkill -KILL -x "$name" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

for name in "${names[@]}"; do cp "$out/demo_program" "$folder/$name"; done
export PATH=$folder:$PATH
cd "$folder"

# What misbehaves is there before the watchdog, with no tie to this script.
launch() {
  setsid "$folder/$1" "$2" </dev/null >/dev/null 2>&1 &
  disown # or the shell would comment on its end
}
launch demo-spinner spin
launch demo-leaker leak
for _ in 1 2 3 4; do launch demo-crowd idle; done
launch demo-hopeless spin
await_programs() {
  for _ in $(seq 100); do
    [ "$(pgrep -cx 'demo-(spinner|leaker|crowd|hopeless)')" -eq 7 ] && return
    sleep 0.1
  done
  die "the programs to be watched did not start"
}
await_programs
spinner=$(pgrep -x demo-spinner)
leaker=$(pgrep -x demo-leaker)
crowd=$(pgrep -x demo-crowd | sort)

echo "== The watchdog's log"
"$out/veskd" -c "$config" --plugin "$out/libveskp.watchdog.process.so" \
  2> >(tee veskd.log) &
veskd_pid=$!

# Dead but not yet reaped counts as gone.
is_alive() { grep -q '^State:[[:space:]]*[^ZX]' "/proc/$1/status" 2>/dev/null; }

# One look at each of the five. A fault that was put right stays so.
declare -A seen=()
server=
killed=
look() {
  local now
  now=$(pgrep -x demo-server || true)
  if [ -n "$now" ] && [ -z "$server" ]; then
    server=$now
  elif [ -n "$now" ] && [ -z "$killed" ]; then
    killed=$now
    kill -KILL "$now"
  elif [ -n "$now" ] && [ -n "$killed" ] && [ "$now" != "$killed" ]; then
    seen[server]="pid $killed was killed, pid $now runs"
  fi

  now=$(pgrep -x demo-spinner || true)
  if [ -n "$now" ] && [ "$now" != "$spinner" ] && ! is_alive "$spinner"; then
    seen[spinner]="pid $spinner is gone, pid $now runs"
  fi

  is_alive "$leaker" || seen[leaker]="pid $leaker is gone"

  now=$(pgrep -x demo-crowd || true)
  if [ "$(wc -w <<<"$now")" -eq 1 ] && ! grep -qx "$now" <<<"$crowd"; then
    seen[crowd]="all four are gone, pid $now runs"
  fi

  if [ -e demo-os-restart ]; then
    seen[hopeless]="the configured command was run"
    pkill -KILL -x demo-hopeless || true
  fi
}

for ((tenths = 0; tenths < deadline_seconds * 10; ++tenths)); do
  look
  [ ${#seen[@]} -lt 5 ] || break
  kill -0 "$veskd_pid" 2>/dev/null || break
  sleep 0.1
done

kill -TERM "$veskd_pid" 2>/dev/null || true
status=0
wait "$veskd_pid" || status=$?
veskd_pid=
sleep 0.2 # for the last lines of the log

echo
echo "== What was expected, and what happened"
failures=0
report() {
  local happened=${seen[$1]-}
  [ -n "$happened" ] || failures=$((failures + 1))
  printf '%-4s %-14s %-52s %s\n' "$([ -n "$happened" ] && echo ok || echo FAIL)" "demo-$1" "$2" \
    "${happened:-did not happen}"
}
report server "killed from outside: started again"
report spinner "spins: restarted when its window is full"
report leaker "leaks: terminated when its mean reaches the limit"
report crowd "four instances, three are too many: exactly one left"
report hopeless "restart of the machine: goes to the harmless command"
if [ "$status" -ne 0 ]; then
  echo "FAIL veskd did not stop cleanly: exit status $status"
  failures=$((failures + 1))
fi
[ "$failures" -eq 0 ] || die "$failures of the above went wrong"
