# Each target is a thin line over a CMake preset; `make setup` installs what is missing (Debian packages) and says so.
JOBS ?= $(shell nproc)
TEST_JOBS ?= 8
# A test that fails is tried once more, and ctest says so: many phones at once on a small machine can outlast a deadline.
CTEST = ctest --output-on-failure --no-tests=error -j$(TEST_JOBS) --repeat until-pass:2

.PHONY: all setup demo test handset bench fuzz fuzz-short asan tsan lint format clean
all: build/.release

# The build trees: configured once, then brought up to date by ninja at every call.
.PHONY: build/.release build/.asan build/.tsan build/.fuzz
build/.release: setup
	@[ -f build/build.ninja ] || cmake --preset release >build-configure.log 2>&1 || { cat build-configure.log; exit 1; }
	@rm -f build-configure.log
	@cmake --build build -j$(JOBS)
build/.asan build/.tsan build/.fuzz: build/.%: setup
	@[ -f build/$*/build.ninja ] || cmake --preset $*
	@cmake --build build/$* -j$(JOBS)

setup:
	@tools/setup

demo: build/.release
	@tools/demo

test: build/.release
	cd build && $(CTEST)

asan: build/.asan
	cd build/asan && $(CTEST)

# Signals act at wait points only, where a handler may do what it likes: the sanitizer cannot know.
tsan: export TSAN_OPTIONS = report_signal_unsafe=0
tsan: build/.tsan
	cd build/tsan && $(CTEST)

handset: build/.release
	@build/bin/handset run

bench: build/.release
	@tools/bench

# A bounded run of every target from the kept corpus; FUZZ_SECONDS each.
fuzz-short: FUZZ_SECONDS ?= 10
fuzz: FUZZ_SECONDS ?= 300
fuzz fuzz-short: build/.fuzz
	@tools/fuzz $(FUZZ_SECONDS)

lint: build/.release
	@tools/lint

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
