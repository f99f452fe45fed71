#!/usr/bin/env bash
# Builds and runs the tests, after installing what is missing (Debian, as root).
#
#   scripts/test.sh [PRESET...]
#
# PRESET: default, asan (AddressSanitizer and UndefinedBehaviorSanitizer), tsan
# (ThreadSanitizer), armhf (built for 32-bit ARM and run in its emulator), packages (made of
# what default and armhf build, twice, and checked), prove (the short length of
# scripts/prove.sh), lint (clang-format and clang-tidy), or all. Without one: default.
set -euo pipefail
. "$(dirname "$0")/common.sh"

known=(lint default asan tsan armhf packages prove)
at_once=$(($(nproc) * 2)) # tests: most of them wait for something most of the time

run_lint() {
  install_missing "${lint_packages[@]}" "${bench_packages[@]}"
  echo "== lint: format"
  (cd "$root" && find framework plugin watchdog host examples tests fuzz bench abi -name '*.h' -o -name '*.cpp' |
    xargs clang-format --dry-run --Werror)
  echo "== lint: clang-tidy"
  # Over the compile commands alone: compiling as well would take half as long again.
  (
    cd "$root"
    cmake --preset lint -Wno-dev >/dev/null
    run-clang-tidy -quiet -p build/lint -j "$(nproc)" >build/lint/findings.txt 2>&1 || {
      grep -A 5 -E 'error:|warning:' build/lint/findings.txt || cat build/lint/findings.txt
      exit 1
    }
  )
}

run_tests() {
  local preset=$1 launcher=() left_out=()
  if [ "$preset" = armhf ]; then
    install_missing "${cross_packages[@]}"
    "$root/scripts/sysroot.sh"
  fi
  echo "== $preset: build"
  build "$preset"
  echo "== $preset: test"
  if [ "$preset" = armhf ]; then
    run_emulated
    return
  fi
  # ThreadSanitizer of this compiler cannot cope with every address layout.
  if [ "$preset" = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then
    launcher=(setarch "$(uname -m)" -R)
  fi
  # What prove runs anyway need not run twice.
  [ "$preset$proves" != defaulttrue ] || left_out=(-LE proof)
  (cd "$root" && "${launcher[@]}" ctest --preset "$preset" -j "$at_once" "${left_out[@]}")
}

# The same tests in the target's emulator, but those that it cannot run.
run_emulated() {
  local skipped=$root/tests/armhf-skipped.txt run=("$root/scripts/on-target.sh" --native ctest --preset armhf)
  local output=$root/build/armhf/tests.txt names name all
  names=$(sed '/^#/d; s/: .*//' "$skipped")
  cd "$root"
  all=$("${run[@]}" -N | sed -n 's/^ *Test *#[0-9]*: //p')
  for name in $names; do
    grep -qxF "$name" <<<"$all" || die "$skipped: no such test: $name"
  done
  names=${names//./\\.}
  "${run[@]}" -j "$at_once" -E "^(${names//$'\n'/|})\$" | tee "$output"
  echo "Left out, for the emulator cannot do it:"
  sed '/^#/d; s/^/  /' "$skipped"
  ! grep -F '***Skipped' "$output" || die "skipped without a reason in $skipped"
}

run_packages() {
  "$root/scripts/packages.sh" --tree default --twice amd64
  "$root/scripts/packages.sh" --tree armhf --twice armhf
}

run_prove() {
  "$root/scripts/prove.sh" short
}

[ $# -gt 0 ] || set -- default
[ "$*" = all ] && set -- "${known[@]}"
for preset in "$@"; do
  [[ " ${known[*]} " == *" $preset "* ]] || die "no such preset: $preset (known: ${known[*]} all)"
done

proves=false
[[ " $* " != *" prove "* ]] || proves=true

install_missing "${packages[@]}"
for preset in "$@"; do
  case $preset in
    lint | packages | prove) "run_$preset" ;;
    *) run_tests "$preset" ;;
  esac
done
for preset in "$@"; do
  [[ " default armhf " != *" $preset "* ]] || "$root/scripts/footprint.sh" "$preset"
done
echo "All passed: $*"
