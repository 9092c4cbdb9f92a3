#!/usr/bin/env bash
# Installs a veltrax .deb into a bare Debian 12 root, uses it as a player
# would, purges it and checks that nothing is left behind.
#
#   tools/package-test.sh build/deb/veltrax_1.0.0_amd64.deb
#   tools/package-test.sh build/deb-arm64/veltrax_1.0.0_arm64.deb
#
# The root is `debootstrap --variant=minbase bookworm` from the Debian mirror
# this machine's apt uses (no other network). An amd64 package is installed
# and run in a chroot: `veltrax info`, `veltrax demo`, `lv2ls` lists the
# plug-in, `lv2apply` renders through the installed bundle. An arm64 package
# is installed through multiarch into the same kind of root (the root gains
# the arm64 architecture, apt pulls the arm64 libraries) and its programs run
# under qemu-aarch64 with the root as their file system; there `veltrax
# render` stands in for the demo. Needs root.
set -euo pipefail

deb=$(realpath "$1")
arch=$(dpkg-deb -f "$deb" Architecture)
uri=${VELTRAX_DEBIAN_MIRROR:-$(sed -n 's/^URIs: *\([^ ]*\).*/\1/p' /etc/apt/sources.list.d/*.sources 2>/dev/null | head -1)}
mirror=${uri:-http://deb.debian.org/debian}
start=$(date +%s)
step() { echo "--- $1 ($(($(date +%s) - start)) s)"; }
fail() {
  echo "package-test: $1" >&2
  exit 1
}

work=$(mktemp -d /tmp/veltrax-package-test.XXXXXX)
root=$work/root
cleanup() {
  mountpoint -q "$root/proc" && umount "$root/proc"
  rm -rf "$work"
}
trap cleanup EXIT

# The bare root is kept as a tarball in build/package-test/ and unpacked on
# later runs (debootstrap takes about a minute and a half).
cache=${VELTRAX_ROOT_CACHE:-$(dirname "$(realpath "$0")")/../build/package-test/bookworm-minbase.tar}
if [ -s "$cache" ]; then
  step "unpack the bare root $cache"
  mkdir "$root" && tar -C "$root" -xf "$cache"
else
  step "debootstrap bookworm minbase from $mirror"
  debootstrap --variant=minbase bookworm "$root" "$mirror" >"$work/debootstrap.log" 2>&1 ||
    { tail -20 "$work/debootstrap.log"; fail "debootstrap failed"; }
  mkdir -p "$(dirname "$cache")" && tar -C "$root" -cf "$cache.part" . && mv "$cache.part" "$cache"
fi
mount -t proc proc "$root/proc"
in_root() { chroot "$root" env -i HOME=/tmp/home PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 "$@"; }
# On the target: directly for amd64, under qemu with the root as its file system for arm64.
run_target() {
  if [ "$arch" = arm64 ]; then
    env -i HOME=$root/tmp/home PATH=/usr/bin:/bin LV2_PATH=/usr/lib/lv2 qemu-aarch64 -L "$root" "$root$1" "${@:2}"
  else
    in_root "$@"
  fi
}
apt_in_root() { in_root apt-get -qq -o=Dpkg::Use-Pty=0 "$@" >>"$work/apt.log" 2>&1 || { tail -20 "$work/apt.log"; fail "apt-get $*"; }; }

step "dependencies"
# Downloaded packages are kept in build/package-test/archives between runs.
archives=$(dirname "$cache")/archives
mkdir -p "$archives" && cp -n "$archives"/*.deb "$root/var/cache/apt/archives/" 2>/dev/null || true
[ "$arch" = amd64 ] || in_root dpkg --add-architecture "$arch"
apt_in_root update
depends=$(dpkg-deb -f "$deb" Depends)
# python3 and python3-matplotlib (the figures of `veltrax demo`/`plot`) of the
# target architecture cannot be installed next to the amd64 base system, and
# the arm64 run does not draw figures: that one dependency is left out there.
ignored=()
if [ "$arch" != amd64 ]; then
  ignored=(--force-depends)  # the rest of its Depends is installed above
  depends=$(echo "$depends" | sed 's/python3-matplotlib, //; s/python3, //')
fi
apt_in_root install -y --no-install-recommends "lilv-utils:$arch"
apt_in_root satisfy -y --no-install-recommends "$(echo "$depends" | sed "s/\([a-z0-9][a-z0-9.+-]*\)\( (\|,\|$\)/\1:$arch\2/g")"
# Everything that exists before the package, to compare after the purge.
snapshot() {
  (cd "$root" && find . -xdev -path ./proc -prune -o -path ./tmp -prune -o -path ./var/lib/dpkg -prune \
    -o -path ./var/log -prune -o -path ./var/cache -prune -o -print | sort)
}
cp -n "$root"/var/cache/apt/archives/*.deb "$archives/" 2>/dev/null || true
snapshot >"$work/before"

step "install $(basename "$deb")"
cp "$deb" "$root/tmp/"
in_root dpkg "${ignored[@]}" -i "/tmp/$(basename "$deb")"

step "use"
run_target /usr/bin/veltrax info | grep -q . || fail "veltrax info printed nothing"
# Programs run with HOME in /tmp (matplotlib keeps a cache there): what a
# user's runs leave in their home is theirs, not the package's.
in_root mkdir -p /tmp/demo /tmp/home
# The demo directory as the target program sees it.
demo=/tmp/demo
if [ "$arch" = amd64 ]; then
  run_target /usr/bin/veltrax demo "$demo" >/dev/null || fail "veltrax demo failed"
  [ -s "$root/tmp/demo/dry.wav" ] || fail "veltrax demo wrote no dry.wav"
else
  # The demo draws its figures with python3, a second target program that
  # qemu-user cannot start without binfmt_misc: render a sound file instead.
  demo=$root/tmp/demo
  python3 -c 'import math, struct, wave, sys
w = wave.open(sys.argv[1], "wb"); w.setnchannels(1); w.setsampwidth(2); w.setframerate(48000)
w.writeframes(b"".join(struct.pack("<h", int(12000 * math.sin(i * 0.0577))) for i in range(48000)))' "$demo/dry.wav"
  run_target /usr/bin/veltrax render "$demo/dry.wav" "$demo/rendered.wav" >/dev/null || fail "veltrax render failed"
  cmp -s "$demo/dry.wav" "$demo/rendered.wav" && fail "veltrax render output equals its input"
fi
run_target /usr/bin/lv2ls | grep -qx "urn:veltrax:veltrax" || fail "lv2ls does not list urn:veltrax:veltrax"
run_target /usr/bin/lv2apply -i "$demo/dry.wav" -o "$demo/through-lv2.wav" urn:veltrax:veltrax >/dev/null ||
  fail "lv2apply could not render through the installed bundle"
[ -s "$root/tmp/demo/through-lv2.wav" ] || fail "lv2apply wrote nothing"
cmp -s "$root/tmp/demo/dry.wav" "$root/tmp/demo/through-lv2.wav" && fail "lv2apply output equals its input"

step "purge"
in_root dpkg --purge veltrax >/dev/null
in_root dpkg -s veltrax >/dev/null 2>&1 && fail "veltrax still registered after the purge"
snapshot >"$work/after"
left=$(comm -13 "$work/before" "$work/after")
[ -z "$left" ] || fail "left behind after the purge: $left"
step "done: $(basename "$deb") installs, works and purges cleanly"
