#!/usr/bin/env bash
# storm.sh COUNT STORM...: ends so many processes in a table that holds little more than live at
# a time, in namespaces that end with it. STORM is the command. Exit status 0 all was right,
# 77 it cannot be done here.
set -euo pipefail
count=$1
shift
skip() {
  echo "skipped: $*"
  exit 77
}
printf '%s\n' 6.14 "$(uname -r)" | sort -VC || skip "before Linux 6.14 all namespaces share one pid_max"
unshare -mpf --mount-proc true 2>/dev/null || skip "no namespaces can be made"
# Half as many again as the storm has at a time, beside those below 300, which serve in the
# first round alone. The kernel wants some for each processor.
most=324 least=$((8 * $(getconf _NPROCESSORS_CONF)))
# shellcheck disable=SC2016
exec unshare -mpf --mount-proc --kill-child sh -c \
  'echo "$0" >/proc/sys/kernel/pid_max || exit 77; exec "$@"' \
  $((least > most ? least : most)) "$@" "$count"
