#!/usr/bin/env bash
# resources.sh BUILD-FOLDER [SCENARIO]: takes what it needs from a veskd that runs, one thing
# at a time, and gives it back. Meanwhile it has to watch on as far as that is possible, to
# say once what is not, and to harm nothing; then to recover by itself. Without a scenario
# runs them all at once. Exit status 77: skipped, and why.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
scenarios=(descriptors memory processes full_disk state_folder proc reader_gone reader_stuck
  reader_stuck_user terminal_held event_flood client_flood)

skip() {
  printf 'resources: %s: skipped: %s\n' "${scenario:-all}" "$*" >&2
  exit 77
}

# Nothing can be opened, nor a connection accepted, nor as much polled as there is to poll.
descriptors() {
  local limit open ticks
  begin
  launch 2>"$log"
  expect "both run" up
  limit=$(prlimit --pid "$host" --nofile --noheadings --output SOFT | tr -d ' ')
  for round in 1 2; do
    fault "no descriptor left"
    prlimit --pid "$host" --nofile=2:
    kill_one alpha
    ticks=$(cpu_ticks)
    expect "a word about it" said "$round" "process table /proc cannot be read: Too many open"
    sleep 2.5
    check "busy while it waits" [ $(($(cpu_ticks) - ticks)) -lt 60 ]
    check "said more than once" said_just "$round" "process table /proc cannot be read"
    check "an entry's trouble is said at every pass" \
      [ "$(lines "process IDs for process .alpha")" -le "$round" ]
    check "beta was touched" lives beta
    prlimit --pid "$host" --nofile="$limit:"
    recovers alpha
    expect "a word of the end" said "$round" "process table /proc can be read again"
    expect "answers clients again" ask status >/dev/null
    [ "$round" = 2 ] || open=$(open_files)
  done
  check "descriptors leak: $open, then $(open_files)" [ "$(open_files)" -le $((open + 1)) ]
  stop
}

# No memory may be added: no thread, no block that does not fit into what there is.
memory() {
  begin
  launch 2>"$log"
  expect "both run" up
  cp "$scratch/veskd.toml" "$scratch/small"
  for number in $(seq 3 3000); do
    printf '[watchdog.process.%d]\nname = "%0200d"\n' "$number" "$number"
  done >>"$scratch/veskd.toml"
  fault "no memory"
  prlimit --pid "$host" --as=1: --data=1:
  kill_one alpha
  for _ in $(seq 20); do ask status >/dev/null || true; done
  kill -HUP "$host"
  expect "a word about it" said 1 "not reloaded: .*\(alloc\|memory\)"
  expect "watches on" said 3 "too Low.*.alpha"
  cp "$scratch/small" "$scratch/veskd.toml"
  prlimit --pid "$host" --as=unlimited: --data=unlimited:
  expect "both run" up
  respawns beta
  expect "answers clients again" ask status >/dev/null
  kill -HUP "$host"
  expect "reloads again" said 1 " reloaded "
  stop
}

# The user may have no more processes, nor threads.
processes() {
  local limit
  for_a_user
  begin
  launch "${become[@]}" 2>"$log"
  expect "both run" up
  limit=$("${become[@]}" prlimit --pid "$host" --nproc --noheadings --output SOFT | tr -d ' ')
  for round in 1 2; do
    fault "no process can be forked"
    "${become[@]}" prlimit --pid "$host" --nproc=1:
    kill_one alpha
    expect "a word about it" said "$round" "no process to start it in: Resource temporarily"
    sleep 2.5
    check "said more than once" said_just "$round" "no process to start it in"
    check "beta was touched" lives beta
    expect "watching has ended" said $((round * 2)) "too Low.*.alpha"
    "${become[@]}" prlimit --pid "$host" --nproc="$limit:"
    recovers alpha
    expect "answers clients again" ask status >/dev/null
    sleep 4
  done
  stop
}

# The disk of the log file is full.
full_disk() {
  mkdir "$scratch/disk"
  mount -t tmpfs -o size=64k none "$scratch/disk"
  begin "log_file = \"$scratch/disk/log\""
  log=$scratch/disk/log
  launch 2>"$scratch/stderr"
  expect "both run" up
  for round in 1 2; do
    fault "the log's disk is full"
    dd if=/dev/zero of="$scratch/disk/filler" bs=4k 2>/dev/null || true
    while printf x >>"$log"; do :; done 2>/dev/null
    respawns alpha
    respawns beta
    check "not said once" [ "$(grep -c "cannot write the log .*: No space left" "$scratch/stderr")" -eq "$round" ]
    rm "$scratch/disk/filler"
    respawns alpha
    expect "a word of what is lost" said "$round" "[0-9] lines lost: No space left on device$"
  done
  stop
}

# Restarts of the machine cannot be recorded, on a full disk and on one that is read-only.
state_folder() {
  local state=$scratch/state
  mkdir "$state"
  mount -t tmpfs -o size=16k,nr_inodes=8 none "$state"
  entry=$'inst_enabled = true\ninst_limit = 1\naction = "osrestart"\nsend_event = false'
  begin "state_dir = \"$state\"" "restart_command = \"touch $scratch/restarted\"" \
    "restart_min_uptime = 0" "restart_limit = 1" "restart_window = 31536000"
  dd if=/dev/zero of="$state/filler" bs=4k 2>/dev/null || true
  fault "the record's disk is full"
  launch 2>"$log"
  expect "a refusal" said 1 "restart refused: there is no record of restarts"
  expect "a word about the record" said 1 "cannot be recorded in .*: No space left"
  respawns alpha
  sleep 2
  check "said more than once" said_just 1 "cannot be recorded"
  check "restarted all the same" [ ! -e "$scratch/restarted" ]
  stop
  rm "$state/filler"
  # So long up that a restart without a record does no harm.
  sed -i 's/^restart_window = .*/restart_window = 1/' "$scratch/veskd.toml"
  fault "the state folder is read-only"
  mount -o remount,ro "$state"
  launch 2>"$log"
  expect "the restart" test -e "$scratch/restarted"
  check "no word about the record" said 1 "cannot be recorded in .*: Read-only file system"
  stop
}

# Something else is mounted over the process table.
proc() {
  begin
  launch 2>"$log"
  expect "both run" up
  for round in 1 2; do
    killed=$(pid_of alpha)
    fault "no process table"
    mount -t tmpfs none /proc
    kill -KILL "$killed"
    expect "a word about it" said "$round" "process table /proc cannot be read: No such file"
    sleep 2.5
    check "said more than once" said_just "$round" "process table /proc cannot be read"
    check "taken for an empty table" said_just $((round + 1)) "Successfully restarted"
    umount /proc
    recovers alpha
    expect "a word of the end" said "$round" "process table /proc can be read again"
    check "beta was touched" lives beta
  done
  stop
}

# The reader of the log is gone, and there is another one later.
reader_gone() {
  local reader
  mkfifo "$scratch/fifo"
  begin
  cat "$scratch/fifo" >>"$log" &
  reader=$!
  launch 2>"$scratch/fifo"
  expect "both run" up
  for round in 1 2; do
    fault "the log's reader is gone"
    kill "$reader"
    wait "$reader" || true
    respawns alpha
    respawns beta
    cat "$scratch/fifo" >>"$log" &
    reader=$!
    respawns alpha
    expect "a word of what is lost" said "$round" "[0-9] lines lost: Broken pipe$"
  done
  stop
}

# The reader of the log reads no more, for a while.
reader_stuck() {
  mkfifo -m 600 "$scratch/fifo"
  begin
  exec 8<>"$scratch/fifo"
  launch "${become[@]}" 2>"$scratch/fifo" 8>&-
  expect "both run" up
  for round in 1 2; do
    fault "the log's reader is stuck"
    dd if=/dev/zero of="$scratch/fifo" bs=1 count=70000 oflag=nonblock 2>/dev/null || true
    dd if=/dev/zero of="$scratch/fifo" bs=4k oflag=nonblock 2>/dev/null || true
    respawns alpha
    respawns beta
    expect "answers clients" ask status >/dev/null
    timeout 1 cat <&8 | tr -d '\0' >>"$log" || true
    respawns alpha
    timeout 1 cat <&8 >>"$log" || true
    check "no word of what is lost" said "$round" "[0-9] lines lost: nobody reads them$"
  done
  stop
}

# The same with a pipe that veskd itself might not open.
reader_stuck_user() {
  for_a_user
  reader_stuck
}

# Ctrl-S on the terminal that the log goes to.
terminal_held() {
  local keys=$scratch/keys
  mkfifo "$keys"
  begin
  exec 8<>"$keys"
  export build scratch
  # shellcheck disable=SC2016
  script -qfc 'stty ixon -echo; echo $$ >"$scratch/pid"; exec "$build/veskd" -c "$scratch/veskd.toml"' \
    "$log" <"$keys" >/dev/null 8>&- &
  for _ in $(seq 100); do
    [ ! -s "$scratch/pid" ] || break
    sleep 0.05
  done
  host=$(cat "$scratch/pid")
  expect "both run" up
  for round in 1 2; do
    fault "the terminal is held"
    printf '\023' >&8
    for _ in $(seq 40); do ask status >/dev/null; done
    respawns alpha
    respawns beta
    expect "answers clients" ask status >/dev/null
    printf '\021' >&8
    respawns alpha
    expect "a word of what is lost" said "$round" "lines* lost: nobody reads them"
  done
  kill -TERM "$host"
  wait
  printf '%s\n' "$faults" >"$scratch/faults"
}

# Another plug-in's listener does not return, and events come by the hundred thousand.
event_flood() {
  plugins="\"$build/libproof_flood.so\", "
  entry=$'inst_enabled = true\ninst_limit = 1'
  export FLOOD_UNTIL=$scratch/enough
  begin
  fault "a listener does not return"
  launch 2>"$log"
  expect "both run" up
  expect "a word about it" said 1 "events are lost: 1024 wait"
  expect "the flood" said 1 "flood: .* events posted"
  respawns alpha
  sleep 2
  check "said more than once" said_just 1 "events are lost"
  check "an event's loss is said at every pass" [ "$(lines "Error sending")" -le 2 ]
  touch "$FLOOD_UNTIL"
  expect "a word of the end" said 1 "events are delivered again: .* lost"
  expect "the flood's end" said 1 "flood: until the file goes"
  fault "a listener never returns"
  rm "$FLOOD_UNTIL"
  expect "a word about it" said 2 "events are lost: 1024 wait"
  respawns beta
  stop 300
  check "no word of the listener" said 1 "a listener has not returned"
}

# Clients take all connections, and change what is watched as fast as they can.
client_flood() {
  local open
  begin
  launch 2>"$log"
  expect "both run" up
  open=$(open_files)
  fault "clients take every connection"
  for _ in $(seq 80); do
    follow --max-time 5 >/dev/null &
  done
  for client in 1 2 3 4; do
    for _ in $(seq 8); do
      ask add "flood$client" --mem-limit 1 >/dev/null || true
      ask remove "flood$client" >/dev/null || true
    done &
  done
  respawns alpha
  respawns beta
  expect "descriptors are given back" open_files_at_most $((open + 3))
  expect "answers clients again" ask status >/dev/null
  expect "streams again" is_streaming
  expect "descriptors are given back" open_files_at_most $((open + 3))
  check "threads are left" [ "$(find "/proc/$host/task" -mindepth 1 -maxdepth 1 | wc -l)" -le 9 ]
  stop
}

# inside SCENARIO: in namespaces of its own.
inside() {
  scenario=$1
  # shellcheck source=tests/proof/resources-common.sh
  . "$here/resources-common.sh"
  "$scenario"
}

# outside SCENARIO: the same from without. Leaves the number of faults.
outside() {
  scenario=$1
  [ "$(id -u)" -eq 0 ] || skip "not root"
  unshare -m -p -f --mount-proc true 2>/dev/null || skip "no namespaces here"
  scratch=$(mktemp -d)
  chmod 755 "$scratch"
  trap 'rm -rf "$scratch"' EXIT
  export scratch
  timeout -k 1 100 unshare -m -p -f --mount-proc --kill-child "$0" "$build" inside "$scenario" ||
    return $?
  cp "$scratch/faults" "${PROOF_FAULTS:-/dev/null}"
}

all() {
  local results status=0 skipped=0
  results=$(mktemp -d)
  for each in "${scenarios[@]}"; do
    (PROOF_FAULTS=$results/$each.faults "$0" "$build" "$each" || echo $? >"$results/$each.status") &
  done
  wait
  for each in "${scenarios[@]}"; do
    case $(cat "$results/$each.status" 2>/dev/null || echo 0) in
      0) ;;
      77) skipped=$((skipped + 1)) ;;
      *) status=$((status + 1)) ;;
    esac
  done
  printf 'proof: resources: %d scenarios, %d faults, %d findings%s\n' \
    $((${#scenarios[@]} - skipped)) "$(awk '{ n += $1 } END { print n + 0 }' "$results"/*.faults)" "$status" \
    "$([ "$skipped" -eq 0 ] || echo ", $skipped skipped")"
  rm -r "$results"
  [ "$status" -eq 0 ]
}

case ${2:-} in
  '') all ;;
  inside) inside "$3" ;;
  *) outside "$2" ;;
esac
