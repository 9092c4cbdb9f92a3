# Thin front end over the CMake presets. `make test` and `make demo` do all
# the set-up a fresh Debian machine needs.
PREFIX ?= /usr/local
JOBS   ?= $(shell nproc)
# Fuzzing time of `make fuzz` (CI runs `make fuzz-ci`, 60 s).
FUZZ_SECONDS ?= 600
FUZZER = build/fuzz/fuzz/host_interface_fuzzer
# The end-to-end tests valgrind runs (tools/valgrind-subset.sh).
VALGRIND_TESTS = plugin_entry_test parameters_programs_test signal_chain_test soak_test sample_rate_sweep_test

.DEFAULT_GOAL := help
.PHONY: help setup test demo build install bench fuzz fuzz-build fuzz-ci m32 asan tsan valgrind ci clean web serve-web format format-check \
        deb package-test arm64 mutants mutants-ci

# Plain `make` lists the targets instead of starting the set-up.
help:
	@echo "VELTRAX make targets:"
	@echo "  make test      install missing Debian packages, build (release) and run every test"
	@echo "  make demo      build, then render the demo riff through the presets into demo-out/"
	@echo "  make build     build the release preset (module, veltrax CLI, LV2 bundle, tests)"
	@echo "  make install   build and install under PREFIX (now $(PREFIX))"
	@echo "  make bench     build and print the benchmark summary"
	@echo "  make m32       32-bit build and its tests"
	@echo "  make asan      AddressSanitizer + UBSan build and tests"
	@echo "  make tsan      ThreadSanitizer build and the threaded tests"
	@echo "  make valgrind  the valgrind subset"
	@echo "  make fuzz      fuzz the host interface for FUZZ_SECONDS (now $(FUZZ_SECONDS)) s"
	@echo "  make fuzz-ci   fuzz for 60 s, as CI does"
	@echo "  make mutants   mutation testing: every mutant of tools/mutants, kill rate per area"
	@echo "  make mutants-ci  the fixed five-mutant sample CI runs"
	@echo "  make setup     only install the missing Debian packages (tools/setup.sh)"
	@echo "  make web       build the pedal page into build/web/ (WebAssembly)"
	@echo "  make serve-web serve it on http://localhost:8000"
	@echo "  make deb       Debian package (ARCH=arm64 for the arm64 one), checked by lintian"
	@echo "  make package-test  install, use and purge the package in a bare Debian 12 root"
	@echo "  make arm64     arm64 cross build and its tests under qemu-aarch64"
	@echo "  make format    clang-format every C++ file in place (.clang-format)"
	@echo "  make format-check  fail when a C++ file is not formatted (CI runs it)"
	@echo "  make clean     remove build/ and demo-out/"
	@echo "CI runs everything with: bash .ci/run"

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

# Debian package veltrax_<version>_<arch>.deb in build/deb[-arm64]/, checked
# by lintian. ARCH=arm64 cross-builds it (cmake/aarch64-linux-gnu.cmake).
ARCH       ?= $(shell dpkg --print-architecture)
DEB_PRESET  = $(if $(filter arm64,$(ARCH)),deb-arm64,deb)
# The Python module is built natively only (a cross build has no target interpreter).
DEB_TARGETS = veltrax_module veltrax_cli veltrax_lv2_bundle veltrax_changelog $(if $(filter arm64,$(ARCH)),,_veltrax)
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

# The pedal page (WebAssembly engine + static files) in build/web/.
web: setup
	web/build.sh

serve-web: web
	@echo "VELTRAX pedal page: http://localhost:8000/"
	cd build/web && python3 -m http.server 8000 --bind 127.0.0.1

clean:
	rm -rf build demo-out

# The house layout (.clang-format) on every tracked C++ file.
FORMAT_FILES = git ls-files '*.cpp' '*.h'
format: setup
	$(FORMAT_FILES) | xargs clang-format -i

format-check: setup
	$(FORMAT_FILES) | xargs clang-format --dry-run -Werror
