#!/usr/bin/env bash
# Fuzzes all that reads what others write, after installing what is missing (Debian, as
# root) and building it.
#
#   scripts/fuzz.sh [--keep] [SECONDS]
#
# SECONDS, 60 without any, are for all targets together. What a target makes of the kept
# inputs, in fuzz/corpus, is what it starts with; --keep adds those that reach further. A
# finding ends up in build/fuzz/findings, with the output of its run.
set -euo pipefail
. "$(dirname "$0")/common.sh"

keep=false
if [ "${1:-}" = --keep ]; then
  keep=true
  shift
fi
seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || die "usage: fuzz.sh [--keep] [SECONDS]"

corpus=$root/fuzz/corpus
fuzzer=$root/build/fuzz/vesk_fuzz
found=$root/build/fuzz/found
findings=$root/build/fuzz/findings
dictionary=$root/build/fuzz/dictionary
targets=("$corpus"/*/)
targets=("${targets[@]%/}")
targets=("${targets[@]##*/}")
at_once=$(nproc)
each=$(((seconds * at_once + ${#targets[@]} - 1) / ${#targets[@]}))

# The words that the code knows; what libFuzzer finds by itself takes longer.
make_dictionary() {
  (
    cd "$root/host"
    cat check/*Keys.h daemon/HostSettings.cpp services/LogLevels.h control/*.cpp |
      sed '/^#include/d' | grep -oE '"[^"\\ ]{2,24}"' | sort -u
  )
  printf '"%s"\n' '[watchdog.process.1]\x0a' '\\x22\\x22\\x22' "'''" '= ' '\x00' '%2f' '\x0d\x0a' '.a.a.a.a.a.a.a.a'
}

# Without the weighing of inputs, which costs more here than it brings. Takes the place of
# the shell that it runs in, so that ending that ends the fuzzer.
run_target() {
  local target=$1
  mkdir -p "$found/$target"
  export VESK_FUZZ_TARGET=$target TMPDIR=$work
  exec "$fuzzer" -max_total_time="$each" -timeout=60 -entropic=0 \
    -dict="$dictionary" -print_final_stats=1 -artifact_prefix="$findings/$target-" \
    "$found/$target" "$corpus/$target" >"$findings/$target.txt" 2>&1
}

end() {
  local pids
  pids=$(jobs -p)
  # shellcheck disable=SC2086 # several words
  [ -z "$pids" ] || kill $pids 2>/dev/null || true
  wait || true
  rm -rf "$work"
}

install_missing "${packages[@]}" "${fuzz_packages[@]}"
echo "== fuzz: build"
only_one "$root/build/fuzz"
build fuzz vesk_fuzz
rm -rf "$found" "$findings"
mkdir -p "$findings"
make_dictionary >"$dictionary"
work=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d) # targets write a file for each input
trap end EXIT
trap 'exit 130' INT TERM

echo "== fuzz: ${#targets[@]} targets, $each s each, $at_once at once"
begun=$SECONDS
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$at_once" ]; do wait -n || true; done
  run_target "$target" &
done
wait || true
took=$((SECONDS - begun))

figure() { sed -n "s/^stat::$1: *//p" "$findings/$2.txt"; }
all_runs=0 all_edges=0 failed=()
printf '%-14s %12s %8s %8s %8s\n' target executions per-s edges kept
for target in "${targets[@]}"; do
  runs=$(figure number_of_executed_units "$target")
  edges=$(grep -o ' cov: [0-9]*' "$findings/$target.txt" | tail -n 1)
  edges=${edges##* }
  printf '%-14s %12s %8s %8s %8s\n' "$target" "${runs:--}" \
    "$(figure average_exec_per_sec "$target")" "${edges:--}" "$(find "$corpus/$target" -type f | wc -l)"
  all_runs=$((all_runs + ${runs:-0})) all_edges=$((all_edges + ${edges:-0}))
  grep -q '^Done ' "$findings/$target.txt" || failed+=("$target")
done

for target in "${failed[@]}"; do
  echo "finding in $target: see $findings/$target.txt"
  grep -E 'not so:|ERROR:|runtime error:|SUMMARY:' "$findings/$target.txt" || tail -n 5 "$findings/$target.txt"
  for input in "$findings/$target"-*; do
    [ ! -e "$input" ] || echo "again: VESK_FUZZ_TARGET=$target $fuzzer $input"
  done
done
if $keep; then
  for target in "${targets[@]}"; do
    VESK_FUZZ_TARGET=$target TMPDIR=$work "$fuzzer" -merge=1 -use_counters=0 \
      "$corpus/$target" "$found/$target" 2>&1 | grep -o 'MERGE-OUTER: [0-9]* new files.*' || true
  done
fi
echo "proof: fuzz: $all_runs executions in ${#targets[@]} targets, $took s, $all_edges edges, ${#failed[@]} findings"
[ ${#failed[@]} -eq 0 ]
