#!/usr/bin/env bash
# Plays a first hour with veskd in a minute, and prints it as docs/first-hour.md holds
# it: all commands are really run, and what they print is what is shown.
#
#   scripts/first-hour.sh > docs/first-hour.md
set -euo pipefail
. "$(dirname "$0")/common.sh"

install_missing "${packages[@]}" procps >&2
build default veskd veskctl veskp.watchdog.process demo_program >&2
out=$root/build/default

programs=(shop-server shop-indexer shop-mailer)
for name in "${programs[@]}"; do
  ! pgrep -x "$name" >/dev/null || die "a process named $name runs already"
done

folder=$(mktemp -d)
veskd_pid=
clean_up() {
  if [ -n "$veskd_pid" ]; then
    kill "$veskd_pid" 2>/dev/null || true
    wait "$veskd_pid" 2>/dev/null || true
  fi
  for name in "${programs[@]}"; do pkill -KILL -x "$name" 2>/dev/null || true; done
  rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# Only relative names show, whatever the machine.
for name in "${programs[@]}"; do cp "$out/demo_program" "$folder/$name"; done
ln -s "$out/libveskp.watchdog.process.so" "$folder/"
export PATH=$folder:$out:$PATH VESKD_SOCKET=veskd.sock
cd "$folder"
mkdir state

say() { printf '\n%s\n' "$*"; }

# Runs a command line as a reader would type it; its exit status is shown if it is not 0.
type_in() {
  local status=0
  printf '\n    $ %s\n' "$1"
  bash -c "$1" >output 2>&1 </dev/null || status=$?
  sed 's/^/    /; s/[[:blank:]]*$//' output
  [ "$status" -eq 0 ] || printf '    (exit status %s)\n' "$status"
}

# await COMMAND TEXT: waits until the output of a command contains a text.
await() {
  for _ in $(seq 200); do
    ! $1 2>/dev/null | grep -q -- "$2" || return 0
    sleep 0.1
  done
  die "\`$1' never showed: $2"
}

launch() {
  setsid "$@" </dev/null >/dev/null 2>&1 &
  disown
}

configure() { # [MORE HOST KEYS] [LIMIT OF THE INDEXER]
  cat >veskd.toml <<EOF
[host]
plugins = ["libveskp.watchdog.process.so"]
control_socket = "veskd.sock"
log_file = "veskd.log"
state_dir = "state"
kill_grace_ms = 1000
$1
[watchdog.process]
cpu_enabled = true
mem_enabled = true
inst_enabled = true
sample_time = 1

[watchdog.process.1]
name = "shop-server"
executable = "shop-server"
arguments = "idle"
respawn_enabled = true
$2 = 1

[watchdog.process.2]
name = "shop-indexer"
period = 3
cpu_enabled = true
cpu_limit = $3
action = "restart"
executable = "shop-indexer"
arguments = "idle"
EOF
}

launch shop-indexer spin
launch shop-mailer idle

cat <<'EOF'
# A first hour with veskd

Printed by `scripts/first-hour.sh`: the commands were run as they stand here, and this is
what they printed. Three programs of a shop are to be watched: a server that must be
there, an indexer that sometimes spins, and later a mailer.
EOF

say "## The configuration, and what is wrong with it"
configure 'dry_run = true
' respawn_limt 5
type_in 'cat veskd.toml'
say "The check knows what will come of a mistake:"
type_in 'veskd --check -c veskd.toml'
type_in "sed -i s/respawn_limt/respawn_limit/ veskd.toml"
type_in 'veskd --check -c veskd.toml && echo fine'

say "## A dry run first"
say "With \`dry_run\` nothing is signalled or started; the host only says what it would have done."
printf '\n    $ veskd -c veskd.toml &\n'
veskd -c veskd.toml &
veskd_pid=$!
await 'veskctl events' shop-indexer
type_in 'veskctl status'
say "Is it the right process that the name matches?"
type_in 'veskctl match shop-indexer'
type_in 'veskctl match Shop-Indexer'
say "What does the watchdog make of the two, and what comes next?"
type_in 'veskctl explain shop-server'
type_in 'veskctl explain shop-indexer'
say "What would have happened by now:"
type_in 'veskctl events --limit 6'
type_in 'grep "dry run" veskd.log | tail -n 2'

say "## In earnest"
say "Nearly any work reaches 5 percent; let it be 20. A reload with a mistake changes nothing:"
configure '' respawn_limit '"20"'
sed -i 's/^sample_time = 1/sample_time = "often"/' veskd.toml
type_in 'grep -n "sample_time\|cpu_limit" veskd.toml'
type_in 'veskctl reload'
configure '' respawn_limit 20
say "Put right, it takes effect, and nothing that runs is touched:"
type_in 'veskctl reload'
await 'veskctl events' 'start *shop-indexer\['
await 'veskctl status' 'shop-server *ok'
await 'veskctl status' 'shop-indexer *ok *1 *[0-9]%'
type_in 'veskctl status'
type_in 'veskctl events --limit 6'
say "Somebody kills the server. It comes back:"
type_in 'pkill -KILL -x shop-server; sleep 2.5; pgrep -x -l shop-server'

say "## One more program, at run time"
type_in 'veskctl add shop-mailer --mem-limit 65536 --action terminate'
await 'veskctl show shop-mailer' 'shop-mailer: ok'
type_in 'veskctl show shop-mailer'
type_in 'veskctl remove shop-mailer'

say "## Numbers for a fleet"
type_in 'curl -s --unix-socket veskd.sock http://veskd/metrics | grep "entry_starts_total"'
type_in 'veskctl counters'

say "## Stopping the watchdog leaves the programs alone"
type_in 'pkill -TERM -x veskd; sleep 2.5; pgrep -l "^shop-"'
wait "$veskd_pid" || true
veskd_pid=
type_in 'tail -n 2 veskd.log'
