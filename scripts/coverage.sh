#!/usr/bin/env bash
# Prints which lines and branches of the product the tests reach, and what they do not.
#
#   scripts/coverage.sh [plugin|all]
#
# plugin: the plug-in alone, with the tests that link its objects. all (without an argument):
# everything, with every test of the preset `default` that runs what this tree builds.
#
# What is not reached is listed by the reasons of tests/uncovered.txt. Exit code 1 when a
# test fails, or when a place in plugin/ or watchdog/ has no reason there; of the others
# that is only told. Branches to where an exception goes are not counted. A process that
# does not end by exit() leaves no counts behind.
set -euo pipefail
. "$(dirname "$0")/common.sh"

reasons=$root/tests/uncovered.txt
folder=$root/build/coverage
# Of the plug-in: tests/FOLDER of those that link its objects.
plugin_tests=(plugin model faults)
# What these run was not built for counting.
uncounted='^(outside|sdk)\.'

run_plugin_tests() {
  local tests targets=()
  for tests in "${plugin_tests[@]}"; do
    [ ! -e "$root/tests/$tests/CMakeLists.txt" ] || targets+=("tests/$tests/all")
  done
  build coverage "${targets[@]}"
  forget_counts
  for tests in "${targets[@]%/all}"; do
    ctest --test-dir "$folder/$tests" -j "$(nproc)" --output-on-failure --timeout 300 || code=1
  done
}

run_all_tests() {
  build coverage
  forget_counts
  ctest --test-dir "$folder" -E "$uncounted" -j "$(nproc)" --output-on-failure --timeout 300 || code=1
}

forget_counts() { find "$folder" -name '*.gcda' -delete; }

# FILTER...: the counts of these parts of the product, in the form of gcovr.
read_counts() {
  (cd "$root" && gcovr --root . "$@" --exclude-throw-branches --exclude-unreachable-branches \
    --gcov-ignore-parse-errors --json "$folder/counts.json" "$folder" -j "$(nproc)" >/dev/null)
}

# To a line: folder, file, number, "line" or "branch", covered and all of these.
flatten() {
  jq -r '.files[] | .file as $file | ($file | sub("/[^/]*$"; "")) as $folder
    | .lines[] | select(."gcovr/noncode" | not)
    | [.branches[] | select(.throw | not)] as $branches
    | ([$folder, $file, .line_number, "line", ([.count, 1] | min), 1],
       (select(.count > 0 and ($branches | length) > 0)
        | [$folder, $file, .line_number, "branch",
           ([$branches[] | select(.count > 0)] | length), ($branches | length)]))
    | @tsv' "$folder/counts.json"
}

# Counts by folder, and by WHAT: PATTERN of folders.
summarize() {
  awk -F '\t' '
    function percent(covered, all) { return all ? sprintf("%5.1f%%", 100 * covered / all) : "    -" }
    function row(name) {
      printf "  %-22s lines %s of %5d   branches %s of %5d\n", name,
        percent(covered[name, "line"], all[name, "line"]), all[name, "line"],
        percent(covered[name, "branch"], all[name, "branch"]), all[name, "branch"] | output
    }
    function count(name) { covered[name, $4] += $5; all[name, $4] += $6 }
    function figures(name) {
      return "lines " percent(covered[name, "line"], all[name, "line"]) \
        " branches " percent(covered[name, "branch"], all[name, "branch"])
    }
    { count($1); folders[$1]; count("in all"); count($1 ~ /^(plugin|watchdog)/ ? "plug-in" : "host") }
    END {
      output = "LC_ALL=C sort"
      for (name in folders) row(name)
      close(output)
      output = "cat"
      row("in all")
      close(output)
      text = "proof: coverage: plug-in " figures("plug-in") ", host " figures("host")
      gsub(/  +/, " ", text)
      print text > last
    }' last="$folder/last-line.txt" "$folder/flat.txt"
}

# Lists what is not covered under its reason, by files; the last are those without one.
# Ends with 1 when one of the plug-in is among these.
explain() {
  awk -F '\t' -v root="$root" '
    FILENAME == ARGV[1] {
      if ($0 ~ /^(#|$)/) next
      if ($0 !~ /^ /) { reason[++reasons] = $0; next }
      sub(/^ +/, "")
      blank = index($0, " ")
      place[++places] = blank ? substr($0, 1, blank - 1) : $0
      pattern[places] = blank ? substr($0, blank + 1) : ""
      sub(/^ +/, "", pattern[places])
      of[places] = reasons
      next
    }
    { isCounted[$2] }
    $5 == $6 { next }
    !($2 in isRead) {
      isRead[$2]
      number = 0
      while ((getline text < (root "/" $2)) > 0) source[$2, ++number] = text
      close(root "/" $2)
    }
    {
      text = source[$2, $3]
      sub(/^ +/, "", text)
      why = 0
      for (i = 1; i <= places && !why; ++i) {
        if ($4 == "line" && reason[of[i]] ~ /^Branches/) continue
        if (index($2, place[i]) == 1 && text ~ pattern[i]) { why = of[i]; used[i] }
      }
      missed = $4 == "line" ? "" : sprintf("  (%d of %d branches)", $5, $6)
      listed[why] = listed[why] sprintf("  %s:%d: %s%s\n", $2, $3, text, missed)
      ++number_of[why]
      if (!why && $2 ~ /^(plugin|watchdog)\//) bad = 1
    }
    END {
      for (why = 1; why <= reasons; ++why) {
        if (why in listed) printf "\n%s (%d)\n%s", reason[why], number_of[why], listed[why]
      }
      if (0 in listed) printf "\nNOT COVERED, AND NO REASON IS GIVEN (%d)\n%s", number_of[0], listed[0]
      for (i = 1; i <= places; ++i) {
        if (i in used) continue
        for (file in isCounted) {
          if (index(file, place[i]) != 1) continue
          printf "Not uncovered any more: %s %s\n", place[i], pattern[i]
          break
        }
      }
      exit bad
    }' "$reasons" "$folder/flat.txt"
}

code=0
what=${1:-all}
install_missing "${packages[@]}" "${coverage_packages[@]}"
case $what in
  plugin)
    run_plugin_tests
    read_counts --filter plugin/ --filter watchdog/
    ;;
  all)
    run_all_tests
    read_counts --filter framework/ --filter plugin/ --filter watchdog/ --filter host/
    ;;
  *) die "no such part: $what (known: plugin all)" ;;
esac
flatten >"$folder/flat.txt"
[ -s "$folder/flat.txt" ] || die "nothing was counted"
explain || code=1
printf '\nReached by the tests\n'
summarize
cat "$folder/last-line.txt"
exit $code
