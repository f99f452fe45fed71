#!/usr/bin/env bash
# Builds and runs the tests, after installing what is missing (Debian, as root).
#
#   scripts/test.sh [PRESET...]
#
# PRESET: default, asan (AddressSanitizer and UndefinedBehaviorSanitizer), tsan
# (ThreadSanitizer), lint (clang-format and clang-tidy), or all. Without one:
# default.
set -euo pipefail
. "$(dirname "$0")/common.sh"

known=(lint default asan tsan)

run_lint() {
  install_missing "${lint_packages[@]}" "${bench_packages[@]}"
  echo "== lint: format"
  (cd "$root" && find framework plugin watchdog host examples tests bench -name '*.h' -o -name '*.cpp' |
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
  local preset=$1 launcher=()
  echo "== $preset: build"
  build "$preset"
  echo "== $preset: test"
  # ThreadSanitizer of this compiler cannot cope with every address layout.
  if [ "$preset" = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then
    launcher=(setarch "$(uname -m)" -R)
  fi
  (cd "$root" && "${launcher[@]}" ctest --preset "$preset" -j "$(nproc)")
}

[ $# -gt 0 ] || set -- default
[ "$*" = all ] && set -- "${known[@]}"
for preset in "$@"; do
  [[ " ${known[*]} " == *" $preset "* ]] || die "no such preset: $preset (known: ${known[*]} all)"
done

install_missing "${packages[@]}"
for preset in "$@"; do
  if [ "$preset" = lint ]; then run_lint; else run_tests "$preset"; fi
done
echo "All passed: $*"
