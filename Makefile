# Thin front end over the CMake presets. `make test` and `make demo` do all
# the set-up a fresh Debian machine needs.
PREFIX ?= /usr/local
JOBS   ?= $(shell nproc)
# Fuzzing time of `make fuzz` (CI runs `make fuzz-ci`, 60 s).
FUZZ_SECONDS ?= 600
FUZZER = build/fuzz/fuzz/host_interface_fuzzer
# The end-to-end tests valgrind runs (tools/valgrind-subset.sh).
VALGRIND_TESTS = plugin_entry_test parameters_programs_test signal_chain_test soak_test sample_rate_sweep_test

.PHONY: setup test demo build install bench fuzz fuzz-build fuzz-ci m32 asan tsan valgrind ci clean \
        deb package-test arm64

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

# Debian package veltrax_<version>_<arch>.deb in build/deb[-arm64]/, checked
# by lintian. ARCH=arm64 cross-builds it (cmake/aarch64-linux-gnu.cmake).
ARCH       ?= $(shell dpkg --print-architecture)
DEB_PRESET  = $(if $(filter arm64,$(ARCH)),deb-arm64,deb)
DEB_TARGETS = veltrax_module veltrax_cli veltrax_lv2_bundle veltrax_changelog
deb: setup
	cmake --preset $(DEB_PRESET)
	cmake --build --preset $(DEB_PRESET) -j $(JOBS) --target $(DEB_TARGETS)
	cd build/$(DEB_PRESET) && DEB_HOST_ARCH=$(ARCH) cpack -G DEB
	lintian --fail-on error,warning \
	  build/$(DEB_PRESET)/veltrax_*_$(ARCH).deb

# Installs the package into a bare Debian 12 root, uses it and purges it.
package-test: deb
	tools/package-test.sh build/$(DEB_PRESET)/veltrax_*_$(ARCH).deb

# 64-bit Arm cross build; its tests run under qemu-aarch64.
arm64: setup
	cmake --preset arm64
	cmake --build --preset arm64 -j $(JOBS)
	ctest --preset arm64 -j $(JOBS)

clean:
	rm -rf build demo-out
