#!/usr/bin/env bash
# Proves the watchdog: beside a model, through every failure, in races, under made-up
# input, under load and without resources. Prints the figures, installs what is missing
# (Debian, as root). docs/reliability.md says what each proof is.
#
#   scripts/prove.sh [LENGTH [PROOF...]]
#
# LENGTH: short (some four minutes, part of the test run), medium (twenty or so) or long (an
# hour and a half). PROOF: which ones; without any, all. What each of them printed is
# kept in build/prove/.
set -euo pipefail
. "$(dirname "$0")/common.sh"

lengths=(short medium long)
longest=(1200 3600 10800) # seconds that one proof may take; what hangs is a finding
built=$root/build/default
# What is run for each proof, and what stands for @ in it at each length.
declare -A commands=(
  [soak]="scripts/soak.sh @"
  [model]="$built/model_histories --ticks @"
  [faults]="$built/fault_tests"
  [races]="$built/races_tests --seconds @ --threads 8"
  [resources]="tests/proof/resources.sh $built"
  [rights]="tests/proof/rights.sh $built all @"
  [fuzz]="scripts/fuzz.sh @"
  [coverage]="scripts/coverage.sh @"
)
declare -A amounts=(
  [soak]="2 10 60"
  [model]="500000 3000000 10000000"
  [rights]="2 10 60"
  [races]="5 30 300"
  [fuzz]="20 240 1800"
  [coverage]="plugin all all"
)
# The soak mostly waits, so the others run beside it; it comes first.
proofs=(soak model faults races resources rights fuzz coverage)

results=$root/build/prove
soak=

cleanup() {
  [ -z "$soak" ] || kill -- "-$soak" 2>/dev/null || true
}

# prove PROOF: one of them; what it prints goes to its file.
prove() {
  local proof=$1 amount command
  read -ra amount <<<"${amounts[$proof]-}"
  command=${commands[$proof]//@/${amount[$step]-}}
  (cd "$root" && timeout -k 30 "${longest[step]}" $command) >"$results/$proof.txt" 2>&1
}

# tell PROOF STATUS: its figures, or where to read why there are none.
tell() {
  local figures
  figures=$(grep '^proof: ' "$results/$1.txt" | tail -n 1) || true
  case $2 in
    0) echo "${figures:-proof: $1: no figures, see build/prove/$1.txt}" ;;
    77) echo "proof: $1: left out here: $(grep -i skipped "$results/$1.txt" | tail -n 1)" ;;
    *)
      tail -n 25 "$results/$1.txt"
      echo "proof: $1: FAILED, see build/prove/$1.txt"
      ;;
  esac
}

# run PROOF: proves and tells; a failure is remembered.
run() {
  local status=0
  prove "$1" || status=$?
  tell "$1" "$status"
  judge "$1" "$status"
}

# judge PROOF STATUS: what cannot be done here is told loudly, and is no failure.
judge() {
  [ "$2" -eq 0 ] || [ "$2" -eq 77 ] || failed+=("$1")
}

length=${1-short}
[ $# -eq 0 ] || shift
step=
for i in "${!lengths[@]}"; do
  [ "$length" != "${lengths[i]}" ] || step=$i
done
[ -n "$step" ] || die "no such length: $length (known: ${lengths[*]})"
wanted=("$@")
[ $# -gt 0 ] || wanted=("${proofs[@]}")
for proof in "${wanted[@]}"; do
  [[ " ${proofs[*]} " == *" $proof "* ]] || die "no such proof: $proof (known: ${proofs[*]})"
done

install_missing "${packages[@]}"
mkdir -p "$results"
echo "== prove: build"
build default
echo "== prove: ${wanted[*]} ($length)"
failed=()
if [[ " ${wanted[*]} " == *" soak "* ]]; then
  # A group of its own, that an interrupt can end with all that it started.
  set -m
  prove soak &
  soak=$!
  set +m
  trap cleanup EXIT
fi
for proof in "${wanted[@]}"; do
  [ "$proof" = soak ] || run "$proof"
done
if [ -n "$soak" ]; then
  status=0
  wait "$soak" || status=$?
  soak=
  tell soak "$status"
  judge soak "$status"
fi
[ ${#failed[@]} -eq 0 ] || die "not proved: ${failed[*]}"
echo "Proved: ${wanted[*]} ($length)"
