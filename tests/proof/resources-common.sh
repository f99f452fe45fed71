# For resources.sh: a scratch folder with two programs to watch, and the veskd that does.
# Runs in mount and PID namespaces of its own, which end all that is left.
# shellcheck shell=bash disable=SC2034,SC2154

faults=0
become=() # before the command that launch starts

# for_a_user: what follows runs as an ordinary user, whom no limit spares.
for_a_user() {
  local user=61999
  cp "$build"/{veskd,veskctl,demo_program,libvesk.so.1,libveskp.watchdog.process.so} "$scratch"
  build=$scratch
  chown -R "$user" "$scratch"
  become=(setpriv --reuid "$user" --regid "$user" --clear-groups)
}

# begin [HOST-LINE...]: the configuration, with more lines of the host's table.
begin() {
  for name in alpha beta; do
    install -m 755 "$build/demo_program" "$scratch/$name"
  done
  {
    printf '[host]\nplugins = [%s"%s/libveskp.watchdog.process.so"]\n' "${plugins:-}" "$build"
    printf 'control_socket = "%s/control"\n' "$scratch"
    printf '%s\n' "$@"
    printf '[watchdog.process]\ncpu_enabled = true\nmem_enabled = true\ninst_enabled = true\n'
    printf 'sample_time = 1\n'
    number=0
    for name in alpha beta; do
      printf '[watchdog.process.%d]\nname = "%s"\nexecutable = "%s"\narguments = "idle"\n' \
        $((++number)) "$name" "$scratch/$name"
      printf 'respawn_enabled = true\nrespawn_limit = 1\n%s\n' "${entry:-}"
    done
  } >"$scratch/veskd.toml"
  log=$scratch/log
  touch "$log"
}

# launch [COMMAND...]: starts veskd, behind the command; its standard error is the caller's.
launch() {
  "$@" "$build/veskd" -c "$scratch/veskd.toml" &
  host=$!
}

finding() {
  printf 'resources: %s: FINDING: %s\n' "$scenario" "$*" >&2
  tail -n 25 "$log" >&2
  exit 1
}

# expect WHAT COMMAND...: the command succeeds within twenty seconds, while veskd lives.
expect() {
  local what=$1 tries=400
  shift
  until "$@"; do
    kill -0 "$host" 2>/dev/null || finding "veskd has ended; expected: $what"
    [ $((tries -= 1)) -gt 0 ] || finding "not within twenty seconds: $what"
    sleep 0.05
  done
}

# check WHAT COMMAND...: the command succeeds now.
check() {
  local what=$1
  shift
  "$@" || finding "$what"
}

lines() { grep -c -e "$1" "$log" || true; }
said() { [ "$(lines "$2")" -ge "$1" ]; }
said_just() { [ "$(lines "$2")" -eq "$1" ]; }
pid_of() { pgrep -x "$1"; }
lives() { pid_of "$1" >"$scratch/pids" && [ "$(wc -l <"$scratch/pids")" -eq 1 ]; }
lives_anew() { lives "$1" && [ "$(cat "$scratch/pids")" != "$2" ]; }
up() { lives alpha && lives beta; }
ask() { timeout 5 "$build/veskctl" --socket "$scratch/control" "$@" 2>>"$scratch/asked"; }
follow() { curl -sN --unix-socket "$scratch/control" "http://x/v1/events?follow=true" "$@"; }
is_streaming() { [ "$(follow --max-time 0.5 -o "$scratch/stream" -w '%{http_code}')" = 200 ]; }
passes() { ask status --json | jq .watchdog.passes; }
cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$host/stat"; }

# fault WHAT: from now on something is wrong; counted.
fault() {
  faults=$((faults + 1))
  printf 'resources: %s: %s\n' "$scenario" "$1"
}

# kill_one NAME: ends the program; sets $killed.
kill_one() {
  killed=$(pid_of "$1")
  kill -KILL "$killed"
}

# recovers NAME: another instance of it runs, and no second one.
recovers() { expect "$1 runs again" lives_anew "$1" "$killed"; }

# respawns NAME: watching goes on.
respawns() {
  kill_one "$1"
  recovers "$1"
}

open_files_at_most() { [ "$(open_files)" -le "$1" ]; }
open_files() { find "/proc/$host/fd" -mindepth 1 | wc -l; }

# The end of a scenario: veskd stops when it is asked to.
stop() {
  kill -TERM "$host"
  for _ in $(seq "${1:-100}"); do
    kill -0 "$host" 2>/dev/null || break
    sleep 0.05
  done
  ! kill -0 "$host" 2>/dev/null || finding "does not stop"
  wait "$host" || finding "ended with exit status $?"
  printf '%s\n' "$faults" >"$scratch/faults"
}
