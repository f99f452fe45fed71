#!/usr/bin/env bash
# The watchdog under load for some minutes: builds it (on a bare Debian, as root, with all
# that it needs) and has tests/soak/run.sh run and judge it.
#
#   scripts/soak.sh [MINUTES [reports|namespace]]    two minutes unless told
#
# `reports` has the kernel report to veskd what changes, `namespace` keeps the run in a PID
# namespace of its own, where veskd reads the process table; else what is possible.
# The last line has the figures. Exit status 0 only if all that had to happen did, nothing
# else did, and veskd did not grow; 77 where the machine was too busy to judge growth. What a failed run leaves is in build/soak/.
set -euo pipefail
. "$(dirname "$0")/common.sh"

minutes=${1-2}
[[ $# -le 2 && $minutes =~ ^[1-9][0-9]{0,3}$ && ${2-reports} =~ ^(reports|namespace)$ ]] ||
  die "usage: soak.sh [MINUTES [reports|namespace]]"
install_missing "${packages[@]}"
build default veskd veskctl veskp.watchdog.process soak_program
only_one "$root/build/soak"
"$root/tests/soak/run.sh" "$root/build/default" "$minutes" "$root/build/soak" "${@:2}"
