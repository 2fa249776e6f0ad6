# Front door. `make demo` and `make test` do all set-up on a fresh Debian 12 machine.
.PHONY: deps build release test test-dev test-asan test-tsan demo fuzz bench clean deb

deps:
	@scripts/install-deps.sh

build: deps
	cmake --preset dev >/dev/null
	cmake --build --preset dev

release: deps
	cmake --preset release >/dev/null
	cmake --build --preset release

test-dev: deps
	cmake --preset dev >/dev/null
	cmake --build --preset dev
	ctest --preset dev

test-asan: deps
	cmake --preset asan >/dev/null
	cmake --build --preset asan
	ctest --preset asan

# ThreadSanitizer over the object and text tests (the shared arrays, string blocks and reference
# counts are the code that promises to work across threads, and the character tables are built on
# first use) and the replay of every fuzz corpus and hostile input the
# library alone reads (tests/crashers/).
test-tsan: deps
	cmake --preset tsan >/dev/null
	cmake --build --preset tsan
	ctest --preset tsan

test: test-dev test-asan test-tsan

demo: release
	@scripts/demo.sh build/release

fuzz: deps
	cmake --preset fuzz >/dev/null
	cmake --build --preset fuzz

bench: release
	@echo "Benchmarks are in build/release/bench/; see bench/README.md"

clean:
	rm -rf build

# The Debian packages (CPack): build/deb/quillmoor-thumbnailer_<version>_<arch>.deb (the program),
# libquillmoor-dev_... (headers and libraries), quillmoor-thumbnailer-kde_... (the KDE plug-in, where
# KIO is installed) and the -dbgsym ....ddeb of the program and the plug-in, checked with lintian
# when it is installed.
deb: deps
	cmake --preset deb >/dev/null
	cmake --build --preset deb
	cd build/deb && cpack -G DEB
	@if command -v lintian >/dev/null; then lintian --fail-on error,warning build/deb/*.deb; fi
