#!/usr/bin/env bash
# Attacks veskd by what others may write to, and runs it with few rights. As root, in
# mount and process namespaces of its own; the others are user 65534.
#
#   rights.sh BINDIR [SCENARIO|all [SECONDS]]   SECONDS that the race goes on, 2 unless given
#
# BINDIR has veskd, veskctl, libvesk.so.1 and libveskp.watchdog.process.so. Exit status 77
# where this cannot be done.
set -euo pipefail
scenarios=(configuration reload plugins executables outputs sockets race modes ordinary)
bin=$(realpath "${1:?}") wanted=${2-all} seconds=${3-2}
skip() { echo "skipped: $*" >&2; exit 77; }
if [ "${RIGHTS_INSIDE-}" != yes ]; then
  [ "$(id -u)" -eq 0 ] || skip "not root"
  command -v perl setpriv pgrep >/dev/null || skip "perl, setpriv or pgrep is missing"
  world=(unshare --mount --pid --fork --kill-child --mount-proc)
  "${world[@]}" true 2>/dev/null || skip "no namespaces can be made here"
  RIGHTS_INSIDE=yes exec timeout -k 5 $((120 + seconds)) "${world[@]}" "$0" "$@"
fi

umask 022
mount -t tmpfs -o mode=755 tmpfs /mnt
cp -L "$bin"/{veskd,veskctl,libvesk.so.1,libveskp.watchdog.process.so} /mnt
cp "$(command -v sleep)" /mnt/vesk-tried
cd /mnt
attacks=0 findings=0
finding() {
  findings=$((findings + 1))
  echo "FINDING: $scenario: $*" >&2
  sed 's/^/    /' out >&2
}
must() { "$@" || finding "not so: $*"; }
says() { must [ "$(grep -c -- "$2" out)" -eq "$1" ]; } # says TIMES TEXT
other=(setpriv --reuid=65534 --regid=65534 --clear-groups)

# Folders of root's, of the other's and for all, and what must stay as it is.
fresh() {
  rm -rf home others group shared secret
  mkdir home others group shared secret home/state
  chown 65534 others
  chgrp 65534 group
  chmod 775 group
  chmod 1777 shared
  echo precious >secret/victim
  configure "$@"
}
configure() { # [LINES OF THE HOST'S TABLE [LINES OF A PROGRAM]]
  cat >home/v.toml <<TOML
[host]
plugins = ["/mnt/libveskp.watchdog.process.so"]
restart_min_uptime = 0
${1-}
[watchdog.process]
cpu_enabled = true
mem_enabled = true
inst_enabled = true
sample_time = 1
${2:+[watchdog.process.1]}
${2-}
TOML
}
is_unharmed() {
  [ "$(ls secret)" = victim ] && [ "$(stat -c %h-%a secret/victim && cat secret/victim)" = $'1-644\nprecious' ]
}
await() {
  for _ in $(seq 300); do
    ! "$@" >/dev/null 2>&1 || return 0
    sleep 0.05
  done
  finding "never: $*"
}
ran() { grep -qs running: out home/log || ! kill -0 "$veskd" 2>/dev/null; }
start() { # [FILE [LAUNCHER...]]
  "${@:2}" "${program:-./veskd}" -c "${1:-home/v.toml}" >out 2>&1 &
  veskd=$!
  await ran
}
stop() { # [STATUS]
  local status=0
  kill -TERM "$veskd" 2>/dev/null || true
  wait "$veskd" || status=$?
  must [ $status -eq "${1:-0}" ]
}
works() { start "$@"; stop; }
# refused STATUS TEXT: by a start and by the check.
refused() {
  attacks=$((attacks + 1))
  start
  stop "$1"
  says 1 "not trusted: $2"
  ./veskd -c home/v.toml --check >out 2>&1 && finding "the check finds nothing"
  says 1 "not trusted: $2"
}

configuration() {
  local change path
  while read -r change path; do # blanks are written as _
    fresh
    eval "${change//_/ }"
    refused 66 "$path "
  done <<'TABLE'
chmod_o+w_home/v.toml /mnt/home/v.toml
chown_65534_home/v.toml /mnt/home/v.toml
chgrp_65534_home/v.toml;chmod_g+w_home/v.toml /mnt/home/v.toml
chmod_o+w_home /mnt/home
chown_65534_home;chmod_1755_home /mnt/home
chgrp_65534_home;chmod_g+w_home /mnt/home
mv_home/v.toml_others;ln_-s_../others/v.toml_home/v.toml /mnt/others
mv_home/v.toml_secret;ln_-s_../secret/v.toml_home/v.toml;chown_-h_65534_home/v.toml /mnt/home/v.toml
mv_home/v.toml_shared;ln_shared/v.toml_secret;ln_-s_../shared/v.toml_home /mnt/shared/v.toml
TABLE
  fresh
  mv home/v.toml shared # root's file in a folder for all, but not writable by all
  ln -s ../shared/v.toml home
  works
  fresh 'config_dir = "d"'
  mkdir home/d
  sed '/host/,/config_dir/d' home/v.toml >home/d/veskp.watchdog.process.toml
  works
  chown 65534 home/d
  refused 69 /mnt/home/d
  fresh # whoever could replace the program itself is trusted, and named
  cp veskd libvesk.so.1 home/v.toml others
  program=others/veskd works others/v.toml
  says 1 'warning veskd: .* belongs to user 65534'
}

reload() {
  fresh 'control_socket = "s"' 'name = "former"'
  start
  configure 'control_socket = "s"' 'name = "evil"'
  chown 65534 home/v.toml
  kill -HUP "$veskd"
  await grep -q 'not reloaded: .* not trusted: /mnt/home/v.toml' out
  must grep -q former <(./veskctl --socket home/s status)
  chown 0 home/v.toml
  kill -HUP "$veskd"
  await grep -q ': reloaded' out
  must grep -q evil <(./veskctl --socket home/s status)
  attacks=$((attacks + 1))
  stop
}

plugins() {
  local library=libveskp.watchdog.process.so change
  for change in "home chmod o+w" "home chown 65534" "others ls"; do
    fresh
    cp $library "${change%% *}"
    sed -i "s|/mnt/lib|/mnt/${change%% *}/lib|" home/v.toml
    ${change#* } "${change%% *}/$library" >out
    refused 69 "/mnt/${change%% *}"
  done
  # A bare name is one in the file's folder, whatever the loader would find elsewhere.
  sed -i 's|/mnt/others/||' home/v.toml
  start /mnt/home/v.toml env LD_LIBRARY_PATH=/mnt/others
  stop 69
  says 1 "cannot load a plug-in: /mnt/home/$library: .*No such file"
  # Nor does the loader look for the program's own libraries in the working folder.
  ldd veskd | while read -r library _; do touch "others/${library##*/}"; done
  must env -C others ../veskd --version >out
  attacks=$((attacks + 1))
}

executables() {
  local folder tried
  fresh '' $'name = "vesk-tried"\nexecutable = "vesk-tried"\narguments = "1000"\nrespawn_enabled = true\nrespawn_limit = 1'
  for folder in others shared home; do cp vesk-tried $folder; done
  chmod o+w shared/vesk-tried
  start '' prlimit --nofile=300: env PATH=.::others:/mnt/others:/mnt/shared:/mnt/home:/usr/bin
  await pgrep -x vesk-tried
  tried=/proc/$(pgrep -x vesk-tried)
  must [ "$(readlink "$tried/exe")" = /mnt/home/vesk-tried ]
  # Of the host's environment and of the limits that it raises for itself it has nothing.
  await grep -q PATH "$tried/environ"
  must [ "$(tr '\0' '|' <"$tried/environ")" = 'PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin|' ]
  must grep -q 'Max open files  *300  ' "$tried/limits"
  stop
  pkill -KILL -x vesk-tried
  # Nor in the working folder, where there is one as well.
  PATH=/mnt/others ./veskd -c home/v.toml --check >out
  says 1 'warning: .*executable.* not trusted: /mnt/others'
  start '' env PATH=/mnt/others
  await grep -q 'vesk-tried cannot be executed: No such file' out
  stop
  configure '' $'name = "vesk-tried"\nexecutable = "/mnt/others/vesk-tried"'
  ./veskd -c home/v.toml --check >out
  says 1 'warning: .*executable.* not trusted: /mnt/others'
  attacks=$((attacks + 5))
}

outputs() {
  local key kind
  for key in log_file program_output; do
    fresh "$key = '/mnt/others/f'"
    refused 73 /mnt/others
    configure "$key = '/mnt/shared/f'"
    for kind in "${other[*]} ln -s /mnt/secret/victim" "${other[*]} ln -s /mnt/secret/new" \
      "${other[*]} touch" "${other[*]} mkfifo" "ln secret/victim"; do
      $kind shared/f # the last one as where fs.protected_hardlinks is off
      exec 8<>shared/f
      rm -f secret/new
      refused 73 "/mnt/shared/f "
      exec 8<&-
      rm shared/f
    done
    must is_unharmed
    mknod home/disk b 7 77
    configure "$key = 'disk'"
    ./veskd -c home/v.toml --check >out && finding "a disk will do"
    says 1 'not trusted: .* is a disk'
    for kind in /dev/stderr log; do
      configure "$key = '$kind'"
      works
    done
  done
  configure "state_dir = '/mnt/others'"
  refused 73 /mnt/others
}

sockets() {
  local name
  fresh 'control_socket = "state/s"'
  chmod o+w home/state
  refused 73 /mnt/home/state
  configure 'control_socket = "/mnt/shared/s"'
  for name in s.lock s; do
    "${other[@]}" ln -s /mnt/secret/victim shared/$name
    start
    stop 73
    must is_unharmed
    rm shared/$name
    attacks=$((attacks + 1))
  done
}

# A host that writes all that it ever does, into a folder.
writing() {
  fresh "log_file = '$1/log'
program_output = '$1/output'
control_socket = '$1/s'
state_dir = '$1'
restart_command = '/bin/true'" "name = '$2'
inst_enabled = true
inst_limit = 1
action = 'osrestart'
[watchdog.process.2]
name = 'none'
executable = '/bin/true'
respawn_enabled = true
respawn_limit = 1"
}

# The other makes and takes away links as fast as it can, while all is opened and written.
# The log is in a folder where the kernel does not hold such links back by itself
# (fs.protected_symlinks), as /var/log is where it is its group's.
race() {
  writing /mnt/shared perl
  sed -i 's|/mnt/shared/log|/mnt/group/log|; s|/mnt/shared/output|/mnt/group/output|' home/v.toml
  # shellcheck disable=SC2016 # these are Perl's
  "${other[@]}" perl -e '
    my ($until, $swaps) = (time + shift, 0);
    while (time <= $until) {
      for my $name (map { "/mnt/$_" } qw(group/log group/output group/log group/output
                                          shared/s shared/s.lock shared/restarts.new)) {
        for my $target ("/mnt/secret/victim", "/mnt/secret/new") {
          symlink $target, $name and ++$swaps;
          select undef, undef, undef, 0.001;
          unlink $name;
        }
        link "/mnt/secret/victim", $name and ++$swaps and unlink $name;
        open my $file, ">", $name and ++$swaps;
        select undef, undef, undef, 0.001;
        unlink $name;
      }
    }
    print "$swaps\n"' "$seconds" >swaps &
  while kill -0 $! 2>/dev/null; do
    timeout -k 5 0.4 ./veskd -c home/v.toml >out 2>&1 || true
    rm -f shared/* group/*
  done
  must is_unharmed
  must [ "$(cat swaps)" -gt 100 ]
  attacks=$((attacks + $(cat swaps)))
}

modes() {
  local expected
  for expected in "000: 640 640 600" "077: 600 600 600"; do
    writing /mnt/home vesk-tried
    ./vesk-tried 1000 &
    start '' bash -c "umask ${expected%%:*}; exec \"\$@\"" bash
    await [ -e home/restarts ]
    stop
    kill %./vesk-tried
    must [ "${expected%%:*}: $(stat -c %a home/log home/output home/restarts | paste -sd' ')" = "$expected" ]
  done
}

# As the other: what it may not is said once, and leads to nothing else.
ordinary() {
  local roots key once
  ./vesk-tried 1000 &
  roots=$!
  fresh '' "name = 'vesk-tried'
inst_enabled = true
inst_limit = 1
executable = '/mnt/vesk-tried'
arguments = '1000'
action = 'restart'
[watchdog.process.2]
name = 'bash'
inst_enabled = true
inst_limit = 1
action = 'osrestart'"
  start '' "${other[@]}"
  sleep 3
  stop
  must [ "$(pgrep -x vesk-tried)" = $roots ]
  must [ "$(grep -c 'Killing all .*vesk-tried' out)" -ge 3 ]
  for once in "veskd: not root" "process $roots (vesk-tried) cannot be ended: Operation not permitted" \
    "not starting .*: process $roots before it cannot be ended" "vesk.restart: .*not root"; do
    says 1 "$once"
  done
  kill $roots
  for key in log_file program_output control_socket; do
    configure "$key = '/mnt/home/f'"
    start '' "${other[@]}"
    stop 73
    says 1 '/mnt/home/f.*: Permission denied'
  done
  configure
  mount -o remount,hidepid=2 /proc
  works '' "${other[@]}"
  says 1 'of other users are hidden'
}

[ "$wanted" = all ] || scenarios=("$wanted")
for scenario in "${scenarios[@]}"; do "$scenario"; done
echo "proof: rights: ${#scenarios[@]} scenarios, $attacks attacks, $findings findings"
[ $findings -eq 0 ]
