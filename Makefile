# Thin front end over the CMake presets. `make test` and `make demo` do all
# the set-up a fresh Debian machine needs.
PREFIX ?= /usr/local
JOBS   ?= $(shell nproc)
# Fuzzing time of `make fuzz` (CI runs `make fuzz-ci`, 60 s).
FUZZ_SECONDS ?= 600
FUZZER = build/fuzz/fuzz/host_interface_fuzzer
# The end-to-end tests valgrind runs (tools/valgrind-subset.sh).
VALGRIND_TESTS = plugin_entry_test parameters_programs_test signal_chain_test soak_test sample_rate_sweep_test

.PHONY: setup test demo build install bench fuzz fuzz-build fuzz-ci m32 asan tsan valgrind ci clean mutants mutants-ci

setup:
	@tools/setup.sh

build: setup
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

test: build
	ctest --preset release -j $(JOBS)

demo: build
	./build/release/host/veltrax demo demo-out

install: build
	cmake --install build/release --prefix "$(PREFIX)"

bench: build
	./build/release/bench/veltrax_bench_summary

m32: setup
	cmake --preset m32
	cmake --build --preset m32 -j $(JOBS)
	ctest --preset m32 -j $(JOBS)

asan: setup
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

tsan: setup
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS) --target thread_stress_test
	ctest --preset tsan -j $(JOBS) -L threads

# libFuzzer on the host interface; new inputs collect in build/fuzz/corpus,
# the committed seeds in fuzz/corpus are only read.
fuzz-build: setup
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS) --target host_interface_fuzzer
	mkdir -p build/fuzz/corpus

fuzz: fuzz-build
	$(FUZZER) -max_total_time=$(FUZZ_SECONDS) -max_len=4096 -print_final_stats=1 \
	  -artifact_prefix=build/fuzz/ build/fuzz/corpus fuzz/corpus

fuzz-ci:
	$(MAKE) fuzz FUZZ_SECONDS=60

valgrind: setup
	cmake --preset release
	cmake --build --preset release -j $(JOBS) --target $(VALGRIND_TESTS)
	tools/valgrind-subset.sh build/release

# Mutation testing (tools/mutants): every mutant in tools/mutants/mutants.txt
# on a scratch copy under build/mutants, or the fixed five-mutant sample CI runs.
mutants: setup
	tools/mutants/run_mutants.py --markdown

mutants-ci: setup
	tools/mutants/run_mutants.py --sample

clean:
	rm -rf build demo-out
