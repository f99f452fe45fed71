#!/usr/bin/env bash
# Holds the binary interface against its record in abi/, or records it anew.
#
#   scripts/abi.sh [--record] [BUILD-FOLDER...]
#
# Without a folder it builds what it needs, for this machine and for 32-bit ARM, and
# looks at both. Exit code 0 when nothing differs, 1 with the difference, 77 for an
# architecture that has no record.
set -euo pipefail
. "$(dirname "$0")/common.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

architecture_of() {
  case $(readelf -h "$1" | sed -n 's/ *Machine: *//p') in
    *X86-64) echo amd64 ;;
    ARM) echo armhf ;;
    *) echo unknown ;;
  esac
}

# abixml [OPTION] LIBRARY
abixml() {
  abidw --no-corpus-path --no-comp-dir-path --short-locs --type-id-style hash "$@"
}

# from_abixml WHAT [OPTION] LIBRARY: see abi/types.awk.
from_abixml() {
  local what=$1
  shift
  abixml "$@" >"$work/abixml"
  awk -v what="$what" -f "$root/abi/types.awk" "$work/headers" "$work/abixml"
}

# symbols LIBRARY: its dynamic symbols: place (UND: elsewhere), binding, name with version.
symbols() {
  readelf --dyn-syms -W "$1" | awk '$1 ~ /^[0-9]+:$/ && NF > 7 { print $7, $5, $8 }'
}

# What a library offers. Instantiations of the standard library's templates come and go
# with the optimiser, and nobody asks this library for them.
exports() {
  from_abixml functions "$1" >"$work/functions"
  symbols "$1" | awk '
    FNR == NR { split($0, part, "\t"); type[part[2]] = part[1]; next }
    $1 == "UND" || $2 == "LOCAL" || ($2 != "GLOBAL" && $3 ~ /^_Z(T[ISV]|Z|GV)?N?K?(St|9__gnu_cxx)/) { next }
    { print "  " $3 ($3 in type ? " -> " type[$3] : "") }
  ' FS='\t' "$work/functions" FS=' ' - | c++filt | LC_ALL=C sort -u
}

# What a library asks of the framework, one operation to a line.
needs() {
  symbols "$1" | awk '$1 == "UND" && $2 == "GLOBAL" && $3 !~ /@/ { print "  " $3 }' |
    c++filt | LC_ALL=C sort -u
}

# The newest version of each standard library's interface that a library asks for: it
# says on how old a system it can be loaded.
newest_versions() {
  symbols "$1" | sed -n 's/^UND .*@//p' | LC_ALL=C sort -V |
    awk -F_ '{ newest[$1] = $0 } END { for (name in newest) print "  " newest[name] }' |
    LC_ALL=C sort
}

describe_library() {
  printf 'Exports\n%s\n' "$(exports "$1")"
  local needed
  needed=$(needs "$1")
  [ -z "$needed" ] || printf 'Needs of the framework\n%s\n' "$needed"
  printf 'Newest versions needed\n%s\n' "$(newest_versions "$1")"
}

# describe BUILD-FOLDER OUTPUT-FOLDER
describe() {
  mkdir -p "$2"
  find "$root"/{framework,watchdog,plugin} -name '*.h' -printf '%f\n' >"$work/headers"
  from_abixml types --load-all-types "$1/libpublic_types.so" | c++filt >"$2/types.txt"
  describe_library "$1/libvesk.so" >"$2/libvesk.txt"
  describe_library "$1/libveskp.watchdog.process.so" >"$2/veskp.watchdog.process.txt"
  # Without full debug information (-g) there is little to compare.
  if ! grep -q '^ILogger ' "$2/types.txt" || ! grep -q 'PThread::pjoin(.* -> int' "$2/libvesk.txt"; then
    die "$1 was built without full debug information"
  fi
}

# compare RECORDED-FOLDER BUILT-FOLDER
compare() {
  local file name same=0
  for file in "$2"/*.txt; do
    name=$(basename "$1")/$(basename "$file")
    diff -u -N --label "abi/$name" --label "as built" "$root/abi/$name" "$file" || same=1
  done
  return $same
}

record=
if [ "${1-}" = --record ]; then
  record=yes
  shift
fi
if [ $# -eq 0 ]; then
  install_missing "${packages[@]}" "${cross_packages[@]}"
  "$root/scripts/sysroot.sh"
  for preset in default armhf; do
    build "$preset" vesk veskp.watchdog.process public_types
  done
  set -- "$root/build/default" "$root/build/armhf"
fi

code=0
for folder in "$@"; do
  for library in libvesk.so libveskp.watchdog.process.so libpublic_types.so; do
    [ -e "$folder/$library" ] || die "not a folder that all was built in: $folder/$library is missing"
  done
  architecture=$(architecture_of "$folder/libvesk.so")
  kept=$root/abi/$architecture
  now=$work/$architecture
  if [ "$architecture" = unknown ]; then
    echo "There is no record for the architecture of $folder"
    exit 77
  fi
  describe "$folder" "$now"
  if [ "$record" ]; then
    mkdir -p "$kept"
    cp "$now"/*.txt "$kept"
    echo "Recorded: abi/$architecture"
  elif compare "$kept" "$now"; then
    echo "As recorded: abi/$architecture"
  else
    code=1
  fi
done
if [ $code -ne 0 ]; then
  cat <<'EOF'

The binary interface is not the recorded one. Whoever was built against it may not work
with what is built now. If that is meant to be: scripts/abi.sh --record, and commit the
difference with the reason.
EOF
fi
exit $code
