#!/usr/bin/env bash
# Tries veskd's packages in a machine that was made for nothing else, with systemd as its
# first process: scripts/device.sh boots one and runs this by trial.service. Goes on after
# the restart of the machine, which is a part of it. Writes what it saw and found to
# $report and, when all is over, `ok' or what is wrong to $verdict.
set -uo pipefail
export DEBIAN_FRONTEND=noninteractive

# Has the packages: in 1 those of the first revision, in 2 those of the next.
given=/usr/local/lib/trial
folder=/var/lib/trial
report=$folder/report.md
verdict=$folder/verdict
failures=$folder/failures
config=/etc/veskd.toml

exec > >(tee -a "$report" >/dev/console) 2>&1

say() { printf '\n%s\n' "$*"; }

# Of what a program has written over again in a line the last.
indent() { sed 's/\r$//; s/.*\r//; s/^/    /; s/[[:blank:]]*$//'; }

# Shows a command line and what it prints; has its exit status.
type_in() {
  local output status=0
  output=$(bash -c "$1" 2>&1 </dev/null) || status=$?
  printf '\n    $ %s\n' "$1"
  [ -z "$output" ] || indent <<<"$output"
  [ "$status" -eq 0 ] || printf '    (exit status %s)\n' "$status"
  return "$status"
}

# fail WHAT [MORE]
fail() {
  printf '\n- **FAIL** %s%s\n' "$1" "${2-}"
  printf '%s\n' "$1" >>"$failures"
}

# A command line that has to succeed.
must() { type_in "$1" || fail "$1"; }

# check SECONDS WHAT COMMAND...: holds if the command succeeds within that time.
check() {
  local seconds=$1 what=$2 begin=${EPOCHREALTIME/./}
  shift 2
  until "$@" >/dev/null 2>&1; do
    if [ $((${EPOCHREALTIME/./} - begin)) -ge $((seconds * 1000000)) ]; then
      fail "$what" ", not in $seconds s"
      return 1
    fi
    sleep 0.2
  done
  printf '\n- ok: %s (after %s ms)\n' "$what" $(((${EPOCHREALTIME/./} - begin) / 1000))
}

show() { systemctl show veskd -P "$1"; }
is_active() { systemctl is-active -q veskd; }
is_inactive() { [ "$(show ActiveState)" = inactive ]; }
# By one look at the number: between two of them the former process may end.
main_pid_differs() {
  local main
  main=$(show MainPID)
  [ "$main" -gt 1 ] && [ "$main" != "$1" ] && is_active
}
is_only_pump() { [ "$(pgrep -x pump)" = "$1" ]; }
programs() { pgrep -x 'pump|valve' | xargs; }
live_on() { [ "$(programs)" = "$1" ]; }
has_logged() { journalctl -b -q -u veskd -o cat --no-pager | grep -q -- "$1"; }
status_shows() { veskctl status | grep -Eq -- "$1"; }
has_new_life() { [ "$(show WatchdogTimestampMonotonic)" != "$1" ]; }
# Protocol 11 is the process connector's.
holds_pidfd() { find "/proc/$1/fd" -lname '*pidfd*' | grep -q .; }
is_connected() { awk '$2 == 11 && $3 != 0' /proc/net/netlink | grep -q .; }
watches_nothing() { veskctl --json status | grep -q '"entries": *\[\]'; }
is_enabled_as() { [ "$(systemctl is-enabled veskd 2>/dev/null)" = "$1" ]; }
# Of a file that dpkg has replaced the kernel says that it is deleted.
runs_what_is_installed() {
  grep -q libvesk.so "/proc/$(show MainPID)/maps" && ! grep -q 'vesk.*(deleted)' "/proc/$(show MainPID)/maps"
}
is_gone() { ! pgrep -x veskd; }
nothing_failed() { [ -z "$(systemctl --failed --no-legend)" ]; }
no_unit() { [ -z "$(systemctl list-units --no-legend 'vesk*')" ]; }
no_package() { ! dpkg-query -W '*vesk*'; }

describe_process() {
  # shellcheck disable=SC2012 # names of descriptors are numbers
  printf 'Pid: %s\n%s\n%s\nDescriptors: %s\n' "$1" \
    "$(grep -E '^(VmPeak|VmSize|VmHWM|VmRSS|RssAnon|RssFile|VmStk|VmLib|Threads):' "/proc/$1/status")" \
    "$(grep -E '^(Pss|Private_Dirty|Private_Clean):' "/proc/$1/smaps_rollup")" \
    "$(ls "/proc/$1/fd" | wc -l)"
}

see_machine() {
  say "## The machine, seen from inside"
  type_in 'uname -a'
  type_in "grep -E 'model name|BogoMIPS|Features|Hardware' /proc/cpuinfo | sort | uniq -c"
  type_in 'getconf PAGESIZE; getconf LONG_BIT'
  type_in 'free -k'
  type_in 'cat /etc/debian_version; dpkg --print-architecture; systemctl --version | head -n 1'
  type_in 'cat /proc/sys/kernel/pid_max; ls /proc | grep -c "^[0-9]"'
  type_in 'systemctl is-system-running --wait; systemd-analyze time; systemctl --failed --no-legend'
}

# Files that may come or go by the packages. Elsewhere others write too.
inventory() {
  find / -xdev \( -path /var/cache -o -path /var/log -o -path /var/backups -o -path /var/lib/apt -o \
    -path /var/lib/dpkg -o -path /var/lib/systemd -o -path /tmp -o -path /var/tmp -o \
    -path "$folder" \) -prune -o -print | LC_ALL=C sort
}

see_installation() {
  inventory >"$folder/before"
  say "## Installed"
  must "apt-get -q -y install $given/1/*.deb"
  check 60 "the unit is active, so READY=1 was seen" is_active
  check 1 "it is enabled" is_enabled_as enabled
  check 15 "it answers, and watches nothing" watches_nothing
  must 'veskd --check -c /etc/veskd.toml && echo fine'
  type_in 'systemctl show veskd -p Type -p NRestarts -p StatusText; ls /etc/rc?.d | grep veskd | sort | uniq -c'
}

# With one program to be watched.
see_service() {
  say "## At work, under systemd"
  cat >>"$config" <<'EOF'

[watchdog.process.1]
name = "pump"
executable = "/usr/local/bin/pump"
arguments = "idle"
respawn_enabled = true
respawn_limit = 1
EOF
  type_in 'tail -n 6 /etc/veskd.toml; systemctl restart veskd'
  check 15 "the unit is active" is_active
  check 10 "the program that was missing, \`pump', runs" pgrep -x pump
  pump=$(pgrep -x pump)
  type_in 'systemctl status veskd --no-pager --full --lines=20'
  type_in 'veskd --version; veskd --check -c /etc/veskd.toml && echo fine'
  type_in 'veskctl status'
  type_in 'veskctl explain pump'
  check 5 "the kernel reports processes to it, by the process connector" is_connected
  check 5 "it holds its programs by pidfd" holds_pidfd "$(show MainPID)"
  type_in "ls -l /proc/\$(systemctl show veskd -P MainPID)/fd | awk 'NF > 2 {print \$9, \$10, \$11}'"
}

see_signs_of_life() {
  local last
  last=$(show WatchdogTimestampMonotonic)
  check 45 "a sign of life comes, a quarter of WatchdogSec at most after the last" \
    has_new_life "$last"
  say "What the service takes at rest:"
  printf '\n'
  describe_process "$(show MainPID)" | indent
}

see_reload() {
  say "## Reload"
  cat >>"$config" <<'EOF'

[watchdog.process.2]
name = "valve"
executable = "/usr/local/bin/valve"
arguments = "idle"
respawn_enabled = true
respawn_limit = 1
EOF
  local main
  main=$(show MainPID)
  type_in 'systemctl reload veskd'
  check 15 "the program that the configuration has now, \`valve', is started" pgrep -x valve
  check 1 "veskd is the same process, and active" [ "$(show MainPID)" = "$main" ]
  check 1 "\`pump' is the same process" is_only_pump "$pump"
  check 15 "it looks at both" status_shows '2 ok'
  type_in 'veskctl status'
}

see_kill() {
  say "## Killed"
  local main
  main=$(show MainPID)
  type_in "kill -KILL \$(systemctl show veskd -P MainPID)"
  check 15 "systemd has started another veskd" main_pid_differs "$main"
  check 15 "it looks at its programs" status_shows '2 ok'
  check 1 "\`pump' is the same process, and the only one" is_only_pump "$pump"
  type_in 'systemctl show veskd -p NRestarts'
}

# A worker that hangs cannot be had from outside; a host that hangs as a whole can.
see_hang() {
  say "## Hanging"
  say "With a \`WatchdogSec\` of 8 s in place of the 2 min, so that it does not take as long:"
  mkdir -p /run/systemd/system/veskd.service.d
  printf '[Service]\nWatchdogSec=8\n' >/run/systemd/system/veskd.service.d/trial.conf
  type_in 'systemctl daemon-reload; systemctl restart veskd'
  local main
  main=$(show MainPID)
  sleep 20
  check 1 "the same veskd is active after 20 s" [ "$(show MainPID)" = "$main" ]
  type_in "kill -STOP \$(systemctl show veskd -P MainPID)"
  check 120 "systemd has ended it, and started another" main_pid_differs "$main"
  check 1 "\`pump' is the same process, and the only one" is_only_pump "$pump"
  type_in 'systemctl show veskd -p NRestarts; find / -maxdepth 1 -name "core*"'
  rm -r /run/systemd/system/veskd.service.d
  systemctl daemon-reload
}

see_stop() {
  say "## Stop, and start"
  type_in 'systemctl stop veskd'
  check 1 "the unit is inactive" is_inactive
  check 1 "\`pump' runs on" is_only_pump "$pump"
  type_in 'systemctl start veskd'
  check 15 "it looks at its programs" status_shows '2 ok'
  check 1 "\`pump' is the same process, and the only one" is_only_pump "$pump"
  type_in 'systemctl stop veskd'
}

see_init_script() {
  say "## The init script, with Debian's start-stop-daemon"
  say "Without \`SYSTEMCTL_SKIP_REDIRECT' Debian's functions for init scripts would hand its work to systemd."
  type_in 'ls /lib/lsb/init-functions.d'
  export SYSTEMCTL_SKIP_REDIRECT=1
  type_in '/etc/init.d/veskd start'
  check 15 "it looks at its programs" status_shows '2 ok'
  type_in '/etc/init.d/veskd status'
  type_in '/etc/init.d/veskd reload'
  type_in '/etc/init.d/veskd restart'
  check 15 "it looks at its programs" status_shows '2 ok'
  check 1 "\`pump' is the same process, and the only one" is_only_pump "$pump"
  check 1 "systemd has no part in it" is_inactive
  type_in '/etc/init.d/veskd stop'
  check 1 "\`pump' runs on" is_only_pump "$pump"
  unset SYSTEMCTL_SKIP_REDIRECT
}

# install REVISION PACKAGE...: by dpkg. Conffiles of which it had to ask would be a failure.
install() {
  local revision=$1
  shift
  must "cd $given/$revision && dpkg -i ${*/%/.deb}"
}
three=(libvesk veskp-watchdog-process veskd)

# How often veskd was started, and how long nobody watched before the last start.
starts() { journalctl -b -q -u veskd -o cat --no-pager | grep -c 'veskd: running'; }
gap() {
  journalctl -b -q -u veskd -o short-unix --no-pager | awk '
    / veskd: stopping/ { stopping = $1 }
    / veskd: stopped/ { stopped = $1 }
    / veskd: running/ { running = $1 }
    END { printf "The stop took %.3f s. Then nobody watched for %.3f s.\n", stopped - stopping, running - stopped }'
}

# upgrade REVISION PACKAGE...: another veskd, once, and the same programs.
upgrade() {
  local main alive before
  main=$(show MainPID) alive=$(programs) before=$(starts)
  install "$@"
  check 15 "another veskd is active" main_pid_differs "$main"
  check 15 "it looks at its programs" status_shows '2 ok'
  check 1 "\`pump' and \`valve' are the same processes, and the only ones" live_on "$alive"
  check 1 "all that veskd runs is what is installed now" runs_what_is_installed
  journalctl --sync
  check 0 "it was started once" [ "$(starts)" -eq "$((before + 1))" ]
  say "$(gap)"
}

see_upgrades() {
  cp "$config" "$folder/config"
  say "## Upgraded while it watches"
  type_in 'systemctl start veskd'
  check 15 "it looks at its programs" status_shows '2 ok'
  say "The plug-in alone:"
  upgrade 2 veskp-watchdog-process
  say "The library alone:"
  upgrade 2 libvesk
  say "Both are brought back to the former ones, while the unit is stopped:"
  type_in 'systemctl stop veskd'
  install 1 libvesk veskp-watchdog-process
  check 1 "it stays stopped" is_inactive
  say "All three at once, started before:"
  type_in 'systemctl start veskd'
  check 15 "it looks at its programs" status_shows '2 ok'
  upgrade 2 "${three[@]}"
  check 1 "the changed configuration is kept as it was" cmp "$config" "$folder/config"
  say "The plug-in, with a mistake in the configuration:"
  local main
  main=$(show MainPID)
  type_in 'echo "mistake =" >>/etc/veskd.toml'
  install 2 veskp-watchdog-process
  check 1 "the same veskd is active" [ "$(show MainPID)" = "$main" ]
  cp "$folder/config" "$config"
}

see_upgrades_at_rest() {
  local alive
  alive=$(programs)
  say "## Upgraded while it is disabled, and while it is masked"
  type_in 'systemctl disable --now veskd'
  install 1 "${three[@]}"
  check 1 "it stays disabled" is_enabled_as disabled
  check 1 "and inactive" is_inactive
  type_in 'systemctl mask veskd'
  install 2 "${three[@]}"
  check 1 "it stays masked" is_enabled_as masked
  check 1 "and inactive" is_inactive
  type_in 'systemctl unmask veskd; systemctl enable veskd'
  check 1 "it is enabled again" is_enabled_as enabled
  check 1 "\`pump' and \`valve' are the same processes, and the only ones" live_on "$alive"
}

# Keeps the last look at the only veskd there is.
watch_host() {
  local pid look
  until pid=$(pgrep -x veskd); do sleep 0.2; done
  while look=$(describe_process "$pid" 2>/dev/null); do
    ! grep -q 'Descriptors: [1-9]' <<<"$look" || printf '%s\n' "$look" >"$folder/demo-host"
    sleep 1
  done
}

see_demo() {
  say "## The demonstration"
  printf '\n'
  watch_host &
  local watcher=$! status=0
  "$given/play-demo.sh" "$given" "$given/demo.toml" 240 >"$folder/demo" 2>&1 || status=$?
  kill "$watcher"
  indent <"$folder/demo"
  check 0 "all five happened" [ "$status" -eq 0 ]
  say "What veskd took at the end of it:"
  printf '\n'
  indent <"$folder/demo-host"
}

see_os_restart() {
  say "## Restart of the machine"
  say "A program that only a restart of the machine helps, and no \`restart_command\`: it is the kernel's own."
  sed -i 's/^restart_min_uptime = .*/restart_min_uptime = 0/' "$config"
  cat >>"$config" <<'EOF'

[watchdog.process.3]
name = "boiler"
inst_enabled = true
inst_limit = 1
action = "osrestart"
EOF
  cp "$config" "$folder/config"
  say "veskd's whole log until then:"
  type_in 'journalctl -b -q -u veskd -o short-monotonic --no-hostname --no-pager'
  setsid boiler idle </dev/null >/dev/null 2>&1 &
  printf '\n    $ boiler idle & systemctl start veskd\n'
  touch "$folder/restarting"
  sync
  systemctl start veskd
  sleep 120
  check 0 "the machine went down" false
}

see_after_restart() {
  say "## After the restart of the machine"
  check 60 "the unit is active, started with the machine" is_active
  check 15 "it looks at its programs, which it has started again" status_shows '2 ok'
  check 5 "its log says why the machine was restarted" has_logged 'boiler'
  type_in 'journalctl -b -q -u veskd -o short-monotonic --no-hostname --no-pager'
  type_in 'cat /var/lib/veskd/restarts'
}

see_removal() {
  local alive
  alive=$(programs)
  say "## Removed, and installed again"
  must 'apt-get -q -y remove veskd'
  check 1 "veskd is gone" is_gone
  check 1 "the unit is inactive" is_inactive
  check 1 "\`pump' and \`valve' live on" live_on "$alive"
  check 1 "the configuration stays" cmp "$config" "$folder/config"
  type_in 'systemctl show veskd -p LoadState -p ActiveState; systemctl --failed --no-legend'
  install 2 veskd
  check 60 "the unit is active" is_active
  check 1 "it is enabled" is_enabled_as enabled
  check 15 "it looks at its programs" status_shows '2 ok'
  check 1 "\`pump' and \`valve' are the same processes, and the only ones" live_on "$alive"
}

see_purge() {
  local alive
  alive=$(programs)
  say "## Purged"
  must "apt-get -q -y purge ${three[*]}"
  check 1 "veskd is gone" is_gone
  check 1 "\`pump' and \`valve' live on" live_on "$alive"
  check 1 "systemd lists no unit of it" no_unit
  check 1 "nothing has failed" nothing_failed
  check 1 "dpkg knows no package of it" no_package
  inventory >"$folder/after"
  must "diff $folder/before $folder/after && echo 'the same files as before the installation'"
  type_in "find / -xdev -name '*vesk*' ! -path '$given/*' | tee $folder/names"
  check 0 "nor is such a name left where others write too" [ ! -s "$folder/names" ]
}

see_masked_installation() {
  say "## Installed where an administrator has masked it"
  type_in 'pkill -x "pump|valve"; systemctl mask veskd'
  install 2 "${three[@]}"
  check 1 "it stays masked" is_enabled_as masked
  check 1 "veskd does not run" is_gone
}

finish() {
  say "## Verdict"
  local result=ok
  [ ! -s "$failures" ] || result=$(sed 's/^/- /' "$failures")
  printf '\n%s\n' "$result"
  sleep 1 # for tee
  printf '%s\n' "$result" >"$verdict"
  sync
}

if [ ! -e "$folder/restarting" ]; then
  see_machine
  see_installation
  see_service
  see_signs_of_life
  see_reload
  see_kill
  see_hang
  see_stop
  see_init_script
  see_upgrades
  see_upgrades_at_rest
  see_demo
  see_os_restart
else
  see_after_restart
  see_removal
  see_purge
  see_masked_installation
fi
finish
