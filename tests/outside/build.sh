#!/usr/bin/env bash
# Builds the plug-in alone against the framework of a folder, and makes sure that it saw
# no other framework.
#
#   build.sh SOURCE SDK BUILD [CMAKE-OPTION...]
set -euo pipefail
source=$1 sdk=$2 build=$3
shift 3

configure() {
  cmake -S "$source" -B "$build" -G Ninja "$@" 2>&1
}

# What is missing is named, all of it.
rm -rf "$build"
mkdir -p "$build/incomplete/include"
cp -r "$sdk/include/framework" "$build/incomplete/include"
rm "$build/incomplete/include/framework/PMutex.h"
if output=$(configure "$@" -DVESK_FRAMEWORK_DIR="$build/incomplete"); then
  echo "An incomplete framework is taken"
  exit 1
fi
for missing in include/framework/PMutex.h lib/libvesk.so; do
  grep -qF "  $missing" <<<"$output" || {
    printf '%s is missing and not named:\n%s\n' "$missing" "$output"
    exit 1
  }
done

configure "$@" -DVESK_FRAMEWORK_DIR="$sdk"
cmake --build "$build"

# What the compiler read.
read_files=$(ninja -C "$build" -t deps | sed -n 's/^    //p' | sort -u | (cd "$build" && xargs realpath))
grep -qxF "$(realpath "$sdk")/include/framework/PString.h" <<<"$read_files" || {
  echo "The framework was not read"
  exit 1
}
if grep -F "$(realpath "$source")/framework/" <<<"$read_files"; then
  echo "These headers are of another framework"
  exit 1
fi
