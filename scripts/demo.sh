#!/usr/bin/env bash
# Shows the watchdog at its main job on real processes: builds it (on a bare
# Debian, as root, with all that it needs) and lets play-demo.sh play and judge.
set -euo pipefail
. "$(dirname "$0")/common.sh"

install_missing "${packages[@]}" procps
build default veskd veskp.watchdog.process demo_program
exec "$root/scripts/play-demo.sh" "$root/build/default"
