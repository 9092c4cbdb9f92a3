#!/usr/bin/env bash
# Peers side by side: the same 60 s signal (110 Hz sawtooth at half scale,
# 48000 Hz, blocks of 256, one mono channel) through Debian's guitarix fuzz
# models (fuzzface, fuzzfacefm, muff) and through the VELTRAX LV2 plug-in,
# all in the project's lilv test host (veltrax-lv2host), which renders from
# memory and times only the run() calls. Prints ns per sample, x real-time
# and how many times faster VELTRAX is.
#
#   bench/peers.sh [BUILD_DIR]        default: build/release (configured and built if needed)
#   ROUNDS=5 SIGNAL_SECONDS=60 bench/peers.sh
#
# Each round runs every plug-in once (two renders, the faster counts); the
# best round per plug-in is reported, so a busy moment on a shared machine
# does not favour one side. Installs guitarix-lv2 (and the build's packages)
# through tools/setup.sh when run as root and they are missing.
set -euo pipefail

cd "$(dirname "$0")/.."
build=${1:-build/release}
rounds=${ROUNDS:-3}
signal_seconds=${SIGNAL_SECONDS:-60}
rate=48000
block=256

# The peers come from Debian's guitarix-lv2; the build's own packages too.
tools/setup.sh guitarix-lv2

[ -f "$build/build.ninja" ] || cmake --preset release -B "$build" >/dev/null
cmake --build "$build" --target veltrax_lv2host veltrax_lv2_bundle -j 2 >/dev/null
host="$build/lv2/veltrax-lv2host"
lv2_path="$(realpath "$build")/lib/lv2:/usr/lib/lv2"   # lilv wants absolute paths

gx=http://guitarix.sourceforge.net/plugins
names=(VELTRAX fuzzface fuzzfacefm muff)
uris=(urn:veltrax:veltrax "$gx/gx_fuzzface_#_fuzzface_" "$gx/gx_fuzzfacefm_#_fuzzfacefm_" "$gx/gx_muff_#_muff_")

declare -A best_ns best_peak
for ((round = 1; round <= rounds; ++round)); do
  for i in "${!names[@]}"; do
    line=$("$host" --lv2-path "$lv2_path" --rate "$rate" --block "$block" --seconds "$signal_seconds" \
                   --repeat 2 "${uris[$i]}")
    ns=$(sed -n 's/.*ns_per_sample=\([0-9.]*\).*/\1/p' <<<"$line")
    peak=$(sed -n 's/.*peak=\([0-9.]*\).*/\1/p' <<<"$line")
    name=${names[$i]}
    if [ -z "${best_ns[$name]:-}" ] || awk "BEGIN{exit !($ns < ${best_ns[$name]})}"; then
      best_ns[$name]=$ns
      best_peak[$name]=$peak
    fi
  done
done

echo
echo "Peers: ${signal_seconds} s of a 110 Hz sawtooth at half scale, ${rate} Hz, blocks of ${block},"
echo "one mono channel, lilv test host, best of ${rounds} rounds (wall time of run() only)"
echo
printf '%-12s %12s %14s %18s %10s\n' "plug-in" "ns/sample" "x real-time" "VELTRAX faster by" "peak out"
for name in "${names[@]}"; do
  awk -v n="$name" -v ns="${best_ns[$name]}" -v ref="${best_ns[VELTRAX]}" -v rate="$rate" -v peak="${best_peak[$name]}" \
    'BEGIN { printf "%-12s %12.2f %14.0f %17.2fx %10s\n", n, ns, 1e9 / (ns * rate), ns / ref, peak }'
done
