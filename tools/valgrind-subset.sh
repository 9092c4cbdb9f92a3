#!/usr/bin/env bash
# Runs the end-to-end tests (and the shortened soak) under valgrind memcheck:
# any invalid read or write, use of uninitialised memory, bad free, or a
# definite, indirect or possible leak fails the run. Still-reachable blocks
# (the shared clipping table lives until exit) are not leaks.
#
#   tools/valgrind-subset.sh [BUILD_DIR]     (default: build/release)
#
# The tests must be built in BUILD_DIR (make valgrind does that). Takes
# about a minute on one core.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}

tests=(plugin_entry_test parameters_programs_test signal_chain_test soak_test sample_rate_sweep_test)

failed=0
for test in "${tests[@]}"; do
  binary="$build/tests/$test"
  if [ ! -x "$binary" ]; then
    echo "valgrind-subset: $binary is not built" >&2
    exit 2
  fi
  start=$(date +%s)
  if valgrind --tool=memcheck --quiet --error-exitcode=99 \
       --leak-check=full --show-leak-kinds=definite,indirect,possible \
       --errors-for-leak-kinds=definite,indirect,possible \
       "$binary" --gtest_brief=1; then
    echo "valgrind-subset: $test: 0 errors, 0 leaks ($(( $(date +%s) - start )) s)"
  else
    echo "valgrind-subset: $test FAILED" >&2
    failed=1
  fi
done
exit $failed
