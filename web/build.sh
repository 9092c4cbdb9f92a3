#!/usr/bin/env bash
# Builds the pedal page into build/web/ (the WebAssembly engine through the
# project's CMake under emcmake, the build-time assets, the static files) and
# installs the pinned browser driver for the tests into web/node_modules.
# Usage: web/build.sh [--with-test-driver]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

if ! command -v emcmake >/dev/null; then
  echo "veltrax web: emscripten (emcmake) is not installed; run tools/setup.sh" >&2
  exit 1
fi
# emscripten's JavaScript optimiser needs Debian's node-acorn, which a Node.js
# from another origin does not look for by itself.
export NODE_PATH=/usr/share/nodejs${NODE_PATH:+:$NODE_PATH}

emcmake cmake -S . -B build/web-build -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DVELTRAX_WEB=ON -DVELTRAX_TOOLS=OFF -DVELTRAX_TESTS=OFF -Wno-dev >/dev/null
cmake --build build/web-build --target veltrax_page

if [ "${1:-}" = "--with-test-driver" ]; then
  if [ ! -f web/node_modules/.package-lock.json ] ||
     ! cmp -s web/package-lock.json web/node_modules/.veltrax-lock; then
    (cd web && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error)
    cp web/package-lock.json web/node_modules/.veltrax-lock
  fi
fi
