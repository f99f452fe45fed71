#!/usr/bin/env bash
# Measures what the watchdog costs, after installing what is missing (Debian, as
# root). docs/performance.md says what the figures mean.
#
#   scripts/bench.sh [ROUNDS]          the whole process, beside its floor and monit
#   scripts/bench.sh micro [OPTION...] the process utilities; options of Google Benchmark
#
# Progress goes to standard error, the result to standard output; that of the whole
# process ends with lines "key: value".
set -euo pipefail
. "$(dirname "$0")/common.sh"

prepare() {
  install_missing "${packages[@]}" "${bench_packages[@]}"
  if [ "$1" = vesk_bench_whole ] && ! command -v monit >/dev/null; then
    # For comparison only.
    (install_missing monit) || echo "monit cannot be installed"
  fi
  build bench "$1"
}

if [ "${1-}" = micro ]; then
  shift
  prepare vesk_bench >&2
  # Made process tables; gone with this script, however the program ends.
  TMPDIR=$(mktemp -d)
  export TMPDIR
  trap 'rm -rf "$TMPDIR"' EXIT
  "$root/build/bench/vesk_bench" "$@"
elif [ $# -le 1 ] && [[ "${1-1}" =~ ^[1-9][0-9]*$ ]]; then
  prepare vesk_bench_whole >&2
  exec "$root/build/bench/vesk_bench_whole" "$@"
else
  die "usage: bench.sh [ROUNDS] | bench.sh micro [OPTION...]"
fi
