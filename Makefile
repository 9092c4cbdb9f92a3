# Thin front end over the CMake presets. `make test` and `make demo` do all
# the set-up a fresh Debian machine needs.
PREFIX ?= /usr/local
JOBS   ?= $(shell nproc)

.PHONY: setup test demo build install bench fuzz fuzz-ci m32 asan tsan valgrind ci clean

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
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS) -L threads

clean:
	rm -rf build demo-out
