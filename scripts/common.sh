# For the scripts beside this one: packages, configuring, building.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

packages=(
  g++ cmake ninja-build
  libtomlplusplus-dev libspdlog-dev libfmt-dev libcli11-dev libutfcpp-dev
  nlohmann-json3-dev libmicrohttpd-dev libcurl4-openssl-dev prometheus-cpp-dev
  libgtest-dev libgmock-dev abigail-tools curl jq pkgconf procps prometheus
)
lint_packages=(clang-tidy clang-format)
bench_packages=(libbenchmark-dev)
coverage_packages=(gcovr jq)
fuzz_packages=(clang libclang-rt-14-dev)
# For 32-bit ARM: what builds on this machine and runs the result, and what stands in
# the target's own root folder: libraries to build with, programs that tests call.
cross_packages=(g++-arm-linux-gnueabihf qemu-user-static)
target_packages=(
  libc6-dev libstdc++-12-dev
  libtomlplusplus-dev libspdlog-dev libfmt-dev libcli11-dev libutfcpp-dev
  nlohmann-json3-dev libmicrohttpd-dev libcurl4-openssl-dev prometheus-cpp-dev
  libgtest-dev libgmock-dev
  base-passwd bash binutils coreutils dash grep libc-bin procps prometheus sed util-linux
)
# For a whole machine of the target's: what makes and runs it here, and what is in it.
device_packages=(debootstrap debian-archive-keyring qemu-system-arm e2fsprogs)
image_packages=(
  systemd-sysv dbus procps kmod initramfs-tools zstd
  libtomlplusplus3 libspdlog1.10 libfmt9 libmicrohttpd12 libcurl4 libprometheus-cpp-core1.0
)
# For the Debian packages: what makes and checks them, and whose libraries they need.
package_packages=(dpkg-dev file git lintian debootstrap)
library_packages=(
  libc6 libgcc-s1 libstdc++6 libcurl4 libfmt9 libmicrohttpd12
  libprometheus-cpp-core1.0 libspdlog1.10 libtomlplusplus3
)

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# only_one FOLDER: ends the second of two runs that would work in that folder at once.
only_one() {
  mkdir -p "$1"
  exec 9>"$1/lock"
  flock -n 9 || die "another run works in $1"
}

# Runs a command while no package may start a service.
without_services() (
  policy=/usr/sbin/policy-rc.d
  if [ ! -e "$policy" ]; then
    trap 'rm -f "$policy"' EXIT
    printf '#!/bin/sh\nexit 101\n' >"$policy"
    chmod +x "$policy"
  fi
  "$@"
)

# Installs those of the given Debian packages that are missing. Some bring a service,
# which nobody asked for: it is started neither now nor with the machine.
install_missing() {
  local package missing=()
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  [ "$(id -u)" -eq 0 ] || die "not root, and these packages are missing: ${missing[*]}"
  echo "Installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  without_services apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  ! command -v systemctl >/dev/null || for package in "${missing[@]}"; do
    [ ! -e "/lib/systemd/system/$package.service" ] || systemctl disable --quiet "$package"
  done
}

# build PRESET [TARGET...]: configures and builds.
build() {
  local preset=$1
  shift
  (
    cd "$root"
    cmake --preset "$preset" -Wno-dev >/dev/null
    cmake --build --preset "$preset" ${1:+--target "$@"}
  )
}
