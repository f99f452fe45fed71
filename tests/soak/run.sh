#!/usr/bin/env bash
# The real thing under load: veskd, a hundred entries whose programs misbehave on a schedule,
# and strangers that are forked 200 times a second. scripts/soak.sh builds and runs it.
#
#   run.sh BINDIR MINUTES KEPT [reports|namespace]
#
# `reports`: where the kernel reports to veskd what changes, which takes the first PID
# namespace. `namespace`: in a PID namespace of its own, where nothing outlives the run and
# veskd reads the process table. Without either: the first that is possible, else neither.
# KEPT: folder that gets log, record and truth of a run that failed.
set -euo pipefail

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}
here=$(realpath "$(dirname "$0")")

# --- Outside: the scratch folder, the namespace, and the end of it all.

can_report() {
  [ "$(id -u)" -eq 0 ] && [ "$(readlink /proc/self/ns/pid)" = 'pid:[4026531836]' ] &&
    [ "$(readlink /proc/self/ns/net)" = 'net:[4026531833]' ]
}

# in_scratch LINK PATTERN: the numbers of all processes whose exe or cwd is like that.
in_scratch() {
  find /proc -mindepth 2 -maxdepth 2 -name "$1" -lname "$2*" -printf '%h\n' 2>/dev/null | sed 's,^/proc/,,'
}

# All that works there, veskd and what it just forks too, until nothing is left.
kill_scratch() {
  local found
  while mapfile -t found < <(in_scratch cwd "$1") && [ ${#found[@]} -gt 0 ]; do
    kill -KILL "${found[@]}" 2>/dev/null || true
    sleep 0.1
  done
}

outside() {
  local way=${4-} wrap=() inner='' status=0 user=()
  scratch=$(mktemp -d)
  [ -n "$way" ] || { can_report && way=reports; } || way=namespace
  [ "$(id -u)" -eq 0 ] || user=(--user --map-root-user)
  if [ "$way" = namespace ]; then
    wrap=(unshare "${user[@]}" --pid --fork --kill-child --mount-proc)
    if ! "${wrap[@]}" true 2>/dev/null; then
      echo "No PID namespace is to be had: without one."
      wrap=()
    fi
  fi
  end() {
    trap - EXIT
    trap '' INT TERM # or a second one would end this half-way
    [ -z "$inner" ] || kill -KILL "$inner" 2>/dev/null || true
    kill_scratch "$scratch"
    rm -rf "$scratch"
  }
  trap end EXIT
  trap 'exit 130' INT TERM
  "${wrap[@]}" "$here/run.sh" --inside "$1" "$2" "$scratch" &
  inner=$!
  wait "$inner" || status=$?
  inner=
  if [ "$status" -ne 0 ]; then
    mkdir -p "$3"
    (cd "$scratch" && cp -f veskd.toml veskd.log record.json truth alive samples wrong "$3"/ 2>/dev/null) || true
    echo "Kept in $3: veskd.log, record.json (its acts), truth (of the programs), samples"
  fi
  exit "$status"
}

# --- Inside: the run.

prefix=s$(printf '%04x' $((RANDOM ^ $$ & 0x7fff)))-

# entries ROLE COUNT LINE...: that many, each with these keys and those of its action.
entries() {
  local role=$1 count=$2 i name
  shift 2
  for ((i = 0; i < count; ++i)); do
    name=$prefix$role$(printf '%02d' "$i")
    ln "$role_program" "$name"
    number=$((number + 1))
    printf '[watchdog.process.%d]\nname = "%s"\nperiod = 3\n' "$number" "$name"
    printf 'executable = "%s/%s"\nworking_dir = "%s"\narguments = "%s"\n' "$PWD" "$name" "$PWD" "$role"
    printf '%s\n' "$@"
  done
}

configuration() {
  local role_program=$1 number=0 respawn='respawn_enabled = true
respawn_limit = 1'
  local harmless='cpu_enabled = true
cpu_limit = 70
mem_enabled = true
mem_limit = 65536'
  local mem='mem_enabled = true
mem_limit = 16384' cpu='cpu_enabled = true
cpu_limit = 2' restart='action = "restart"' terminate='action = "terminate"'
  cat <<TOML
[host]
plugins = ["$bin/libveskp.watchdog.process.so"]
log_file = "$PWD/veskd.log"
control_socket = "$PWD/control"
kill_grace_ms = 500
program_limits = ["core=0"]
[watchdog.process]
cpu_enabled = true
mem_enabled = true
inst_enabled = true
sample_time = 1
TOML
  entries well 34 "$respawn" "$harmless" "$restart" 'inst_enabled = true' 'inst_limit = 2'
  entries crash 24 "$respawn" "$harmless"
  entries stop 6 "$respawn" 'count_only_running = true'
  entries leak 8 "$respawn" "$mem" "$restart"
  entries deaf 4 "$respawn" "$mem" "$restart"
  entries spin 8 "$respawn" "$cpu" "$terminate"
  entries crowd 6 "$respawn" "$restart" 'inst_enabled = true' 'inst_limit = 3'
  entries name 4 "$respawn"
  entries visit 6 "$harmless" "$terminate" 'inst_enabled = true' 'inst_limit = 50'
}

ask() { curl -sS --fail --max-time 60 --unix-socket control "http://veskd/v1/$1" "${@:2}"; }

await() { # SECONDS WHAT COMMAND...
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || die "waited in vain for $what"
    kill -0 "$veskd" 2>/dev/null || die "veskd ended"
    sleep 0.2
  done
}
follows() { [ "$(wc -l <record.json)" -ge "$1" ]; }
all_started() { [ "$(cat ./*.last 2>/dev/null | wc -l)" -eq 94 ]; }

# The journal holds the last 1,024 records. It is filled by the thread that fills it later,
# so that it takes no more memory from then on: programs are missing that a dry run does not
# start, 200 in every pass.
fill_journal() {
  local i name
  for ((i = 0; i < 200; ++i)); do
    name=warm-$i-a-name-that-is-longer-than-those-of-the-programs
    ln soak_program "$name"
    printf 'next\nsilent\nfail\nunix-socket = control\noutput = /dev/null\n'
    printf 'url = http://veskd/v1/entries\njson = "{\\"name\\": \\"%s\\", \\"dry_run\\": true, \\"respawn_enabled\\": true, \\"respawn_limit\\": 1000, \\"executable\\": \\"%s\\"}"\n' \
      "$name" "$PWD/$name"
    printf 'next\nsilent\nfail\nunix-socket = control\noutput = /dev/null\n' >>emptied
    printf 'url = http://veskd/v1/entries/%s\nrequest = DELETE\n' "$name" >>emptied
  done >filled
  curl -K filled || die "cannot fill the journal"
  await 180 "the records of the dry run" follows 1800
  curl -K emptied || die "cannot take the missing programs away"
}

# One line of what veskd takes; growth.awk says which column is what.
sample() {
  local key value rss=0 anonymous=0 threads=0 fds cpu load_cpu=0 passes forks=0
  while read -r key value _; do
    case $key in
      VmRSS:) rss=$value ;;
      RssAnon:) anonymous=$value ;;
      Threads:) threads=$value ;;
    esac
  done <"/proc/$veskd/status"
  fds=(/proc/"$veskd"/fd/*)
  passes=$(ask status | jq .watchdog.passes)
  read -r cpu _ <"/proc/$veskd/task/$worker/schedstat"
  [ -z "$load" ] || read -r forks 2>/dev/null <forks || true
  [ -z "$load" ] || read -r load_cpu _ 2>/dev/null <"/proc/$load/schedstat" || true
  echo "$EPOCHSECONDS $rss $anonymous $threads ${#fds[@]} $cpu $passes $forks $load_cpu"
}

find_worker() {
  local task
  for task in /proc/"$veskd"/task/*; do
    [ "$(cat "$task/comm")" != '[PProcessWatchd' ] || worker=${task##*/}
  done
  [ -n "$worker" ]
}

check() {
  local pid name
  for pid in $(in_scratch exe "$PWD/$prefix"); do
    read -r name 2>/dev/null <"/proc/$pid/comm" && echo "$pid $name"
  done >alive || true
  local ms='def ms: capture("^(?<s>[^.]*)[.](?<ms>[0-9]{3})") | (.s + "Z" | fromdate) * 1000 + (.ms | tonumber); '
  jq -rR "$ms"'capture("^(?<t>[^ ]*) .* program .*-crash.* \\(pid (?<pid>[0-9]*)\\) ended ") |
    "\(.t | ms) \(.pid)"' veskd.log >ends
  jq -r "$ms"'if .number then [.number, (.time | ms), .kind, .entry, .pid, .value, .result, .would_have, .text]
    else ["missed"] end | map(tostring) | join("\t")' record.json >record
  awk -v lateness=lateness -f "$here/check.awk" truth alive ends record >wrong
}

figure() { awk -v key="$1" '$1 == "=" && $2 == key { print $3 }' wrong; }

inside() {
  bin=$1
  cd "$3"
  cp "$bin/soak_program" .
  ln soak_program "${prefix}near"
  ln soak_program "${prefix}load"
  configuration soak_program >veskd.toml
  load='' worker=''

  # Ends with this script, however that ends.
  setpriv --pdeathsig KILL "$bin/veskd" -c veskd.toml &
  veskd=$!
  await 180 "the control socket" test -S control
  setpriv --pdeathsig KILL "$bin/veskctl" --socket control --json events --follow --no-reconnect --from 1 >record.json 2>stream &
  await 180 "the first records" follows 94
  await 180 "all programs" all_started
  await 180 "the worker" find_worker
  fill_journal
  echo "rest $(sample)" >samples
  begin=$EPOCHSECONDS
  until=$((begin + $2 * 60))
  setpriv --pdeathsig KILL "./${prefix}load" load &
  load=$!
  echo "$begin $until" >times.new
  mv times.new times
  while [ "$EPOCHSECONDS" -lt "$until" ]; do
    sleep 5
    sample >>samples
    kill -0 "$veskd" || die "veskd ended"
  done

  # What is under way may come to its end; and then nothing more may happen.
  local wrong=1 end=$((SECONDS + 120))
  sleep 10
  until check || [ "$SECONDS" -ge "$end" ]; do sleep 2; done
  sleep 5
  echo "rest $(sample)" >>samples
  check && wrong=0
  local grown=0
  awk -v begin=$((begin + 20)) -v until="$until" -f "$here/growth.awk" samples >grown || grown=$?
  kill -TERM "$veskd"
  wait "$veskd" || { echo "veskd ended with exit status $?" >>wrong; wrong=1; }
  [ "$wrong" -ne 0 ] || wrong=$grown
  cat grown >>wrong
  grep -v '^=' wrong | head -20 || true
  report "$2"
  return "$wrong"
}

report() {
  echo "Befell the programs: $(awk '/^= fate_/ { sub("fate_", "", $2); printf "%s %s  ", $2, $3 }' wrong)"
  sort -k2,2 -k3,3n lateness | awk '{ at[$2, ++n[$2]] = $3 } END { for (role in n)
    printf "  %-6s next instance after %5d ms, at most %5d ms\n", role, at[role, int((n[role] + 1) / 2)], at[role, n[role]] }'
  printf 'proof: soak: %s min, %s forks/s, 100 entries, %s acts expected, %s made, %s unexpected, ' \
    "$1" "$(figure forks)" "$(figure expected)" "$(figure made)" "$(figure unexpected)"
  printf 'rss %s/%s KiB, fds %s/%s, threads %s/%s, tick CPU %s/%s ms (ratio %s)\n' \
    "$(figure rss_first)" "$(figure rss_last)" "$(figure fds_first)" "$(figure fds_last)" \
    "$(figure threads_first)" "$(figure threads_last)" \
    "$(figure tick_first_ms)" "$(figure tick_last_ms)" "$(figure tick_ratio)"
}

if [ "${1-}" = --inside ]; then
  inside "${@:2}"
else
  [ $# -ge 3 ] || die "usage: $0 BINDIR MINUTES KEPT [reports|namespace]"
  outside "$@"
fi
