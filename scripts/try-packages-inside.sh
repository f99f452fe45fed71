#!/bin/sh
# Runs as the first process of a process table of its own, in the root folder that the
# packages are tried in: /packages/1 has them, /packages/2 the next version of them.
# Little more than the shell is started here: under emulation each program costs much.
set -eu
# A first process is deaf to what it does not ask for.
trap 'exit 130' INT TERM

fail() {
  echo "FAILED: $*" >&2
  cat /var/log/veskd.log >&2 2>/dev/null || true
  exit 1
}

# check WHAT COMMAND...
check() {
  what=$1
  shift
  "$@" || fail "$what"
  echo "ok: $what"
}

# The processes of a name, in $pids and their number in $count.
look_for() {
  pids='' count=0
  for comm in /proc/[0-9]*/comm; do
    read -r name 2>/dev/null <"$comm" || continue
    [ "$name" = "$1" ] || continue
    pid=${comm#/proc/}
    pids="$pids ${pid%/comm}"
    count=$((count + 1))
  done
  pids=${pids# }
}

# until_is WHAT SECONDS COMMAND...
until_is() {
  what=$1 rest=$(($2 * 5))
  shift 2
  while ! "$@"; do
    [ "$rest" -gt 0 ] || fail "$what"
    rest=$((rest - 1))
    sleep 0.2
  done
  echo "ok: $what"
}

runs() { look_for "$1" && [ "$count" -eq 1 ]; }
runs_not() { look_for "$1" && [ "$count" -eq 0 ]; }
same() { [ "$1" = "$2" ]; }
differ() { [ -n "$1" ] && [ "$1" != "$2" ]; }
answers() { veskctl status >/dev/null 2>&1; }
watches_nothing() { veskctl --json status | grep -q '"entries": *\[\]'; }

# The packages of a version: those named, or the three of a device.
install() {
  version=$1
  shift
  [ $# -gt 0 ] || set -- libvesk veskp-watchdog-process veskd
  files=
  for package in "$@"; do
    files="$files $(echo "/packages/$version/${package}"_*.deb)"
  done
  # shellcheck disable=SC2086 # several
  dpkg -i $files >/tmp/dpkg.log 2>&1 || {
    cat /tmp/dpkg.log
    fail "dpkg -i $files"
  }
}

veskd_pid() {
  look_for veskd
  echo "$pids"
}

mount -t proc proc /proc
mount -t tmpfs tmpfs /run
mount -t tmpfs tmpfs /tmp

# As on a machine with System V init, in its usual runlevel.
printf '#!/bin/sh\n' >/sbin/init
printf '#!/bin/sh\necho N 2\n' >/sbin/runlevel
chmod +x /sbin/init /sbin/runlevel

echo "-- installed where the policy forbids to start services"
printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
chmod +x /usr/sbin/policy-rc.d
install 1
check "the policy is obeyed" runs_not veskd
rm /usr/sbin/policy-rc.d
dpkg -P veskd veskp-watchdog-process libvesk >/dev/null 2>&1

echo "-- installed"
install 1
until_is "veskd is started by the installation" 60 runs veskd
until_is "it answers" 60 answers
check "it is started with the machine" [ -e /etc/rc2.d/S01veskd ]
check "it watches nothing" watches_nothing

echo "-- a program to watch"
cp /bin/sleep /usr/local/bin/vesk-tried
cat >>/etc/veskd.toml <<'TOML'

[watchdog.process.1]
name = "vesk-tried"
executable = "/usr/local/bin/vesk-tried"
arguments = "100000"
respawn_enabled = true
respawn_limit = 1
TOML
/etc/init.d/veskd reload >/dev/null
until_is "veskd starts the program" 60 runs vesk-tried
program=$pids

# upgraded WHAT PACKAGE...: another veskd, the same program.
upgraded() {
  before=$(veskd_pid)
  after=$1
  shift
  install "$@"
  until_is "$after: veskd runs" 60 runs veskd
  check "$after: it is another process" differ "$before" "$pids"
  look_for vesk-tried
  check "$after: the program lives on" same "$program" "$pids"
}

echo "-- upgraded"
upgraded "library alone" 2 libvesk
upgraded "plug-in alone" 2 veskp-watchdog-process
upgraded "veskd alone" 2 veskd
until_is "it answers" 60 answers
# How long nobody watched: the log has the time of the former one's stop (the sample under
# way is ended first) and of the next one's start.
awk -F '[T:+]' '
  { second = $2 * 3600 + $3 * 60 + $4 }
  / veskd: stopping/ { stopping = second }
  / veskd: stopped/ { stopped = second }
  / veskd: running/ { if (stopped) printf "figure: stop %.3f s, then nobody watches for %.3f s\n", stopped - stopping, second - stopped }
' /var/log/veskd.log
check "the changed configuration is kept" grep -q vesk-tried /etc/veskd.toml
kill "$program"
started_anew() { runs vesk-tried && [ "$pids" != "$program" ]; }
until_is "the program, ended now, is started anew" 60 started_anew
program=$pids

echo "-- upgraded with a mistake in the configuration"
before=$(veskd_pid)
echo "mistake =" >>/etc/veskd.toml
install 2 veskp-watchdog-process
install 2 veskd
check "who could not be started again is left running" same "$before" "$(veskd_pid)"
check "the mistake is told" grep -q '/etc/veskd.toml:[0-9]*:[0-9]*: error' /tmp/dpkg.log
sed -i '/^mistake =/d' /etc/veskd.toml

echo "-- all at once, back to the former version"
upgraded "all at once" 1
check "all at once: a single restart" [ "$(grep -c 'veskd is started' /tmp/dpkg.log)" -eq 1 ]

echo "-- stopped by hand"
/etc/init.d/veskd stop >/dev/null
install 2 veskp-watchdog-process
check "it stays stopped when its plug-in is upgraded" runs_not veskd
/etc/init.d/veskd start >/dev/null

echo "-- removed"
dpkg -r veskd >/dev/null 2>&1 || fail "dpkg -r veskd"
check "veskd is gone" runs_not veskd
look_for vesk-tried
check "the program lives on" same "$program" "$pids"
check "the configuration stays" [ -e /etc/veskd.toml ]

echo "-- purged"
dpkg -P veskd veskp-watchdog-process libvesk >/dev/null 2>&1 || fail "dpkg -P"
kill "$program"
rm /usr/local/bin/vesk-tried
rm /sbin/init /sbin/runlevel
umount /tmp /run
