#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need, plus
# any further packages named on the command line (bench/peers.sh adds the
# peer plug-ins). As root it runs apt-get; otherwise it prints the exact
# command and stops. One line per step; apt's own output goes to a log that
# is shown (its last lines) only when a step fails.
set -euo pipefail

packages=(
  cmake ninja-build g++ g++-multilib clang clang-format libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libsndfile1-dev libsoxr-dev libcli11-dev python3 python3-matplotlib
  lv2-dev sordi liblilv-dev lilv-utils valgrind
  emscripten chromium
  python3-pybind11 pybind11-dev python3-dev python3-numpy python3-pytest python3-hypothesis python3-distributed
  # arm64 cross build (clang --target=aarch64-linux-gnu), its tests under qemu,
  # and the arm64 libraries of the CLI and LV2 bundle through multiarch
  lld qemu-user binutils-aarch64-linux-gnu libc6-dev-arm64-cross libstdc++-12-dev-arm64-cross
  libsndfile1-dev:arm64 libsoxr-dev:arm64 liblilv-dev:arm64
  # Debian packages: dpkg-shlibdeps, lintian, the bare-root install test
  dpkg-dev file lintian debootstrap
  "$@"
)
# The pedal page's tests run on Node.js; some machines ship their own Node
# (with its own npm), next to which Debian's npm does not install.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  packages+=(nodejs npm)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "veltrax: missing Debian packages; run as root:" >&2
  echo "  apt-get update && apt-get install -y ${missing[*]}" >&2
  exit 1
fi

log=$(mktemp "${TMPDIR:-/tmp}/veltrax-setup.XXXXXX.log")
# step DESCRIPTION COMMAND...: one line, the command's output to the log.
step() {
  local what=$1
  shift
  printf 'veltrax: %s ... ' "$what" >&2
  if "$@" >>"$log" 2>&1; then
    echo "done" >&2
  else
    echo "failed; the last lines of $log:" >&2
    tail -n 25 "$log" >&2
    exit 1
  fi
}

export DEBIAN_FRONTEND=noninteractive
if [[ " ${missing[*]}" == *":arm64"* ]] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  step "adding the arm64 architecture (multiarch)" dpkg --add-architecture arm64
fi
step "updating the package lists" apt-get update -q
step "installing ${#missing[@]} package(s): ${missing[*]}" \
  apt-get install -y -q --no-install-recommends "${missing[@]}"
rm -f "$log"
