# Each target is a thin line over a CMake preset. Missing Debian packages are installed first, and printed.
JOBS ?= $(shell nproc)
TEST_JOBS ?= 8
CTEST = ctest --output-on-failure --no-tests=error -j$(TEST_JOBS) $(CTEST_OPTIONS)

.PHONY: all setup demo test handset bench fuzz fuzz-short faults faults-short kills line-kills soak mutants asan tsan
.PHONY: phone-like arm64 armhf deb lint format clean
all: programs

# One tree for the programs and, once they were asked for, the tests; one for each sanitizer, the first with the fuzz targets.
# Each is configured once, then brought up to date by ninja at every call.
configure = out=$$(cmake --preset $(1) 2>&1) || { echo "$$out"; exit 1; }

.PHONY: programs build/.test build/.handset-test build/.asan build/.tsan build/.phone-like build/.arm64 build/.armhf
programs:
	@tools/setup build
	@[ -f build/build.ninja ] || { $(call configure,release); }
	@cmake --build build -j$(JOBS) --target programs
build/.test:
	@tools/setup build test package
	@tools/setup browser || echo "no browser here: the test of the page in one is skipped"
	@grep -qs '^VX_TESTS:.*=ON' build/CMakeCache.txt || { $(call configure,test); }
	@cmake --build build -j$(JOBS) $(TARGETS)
build/.handset-test:
	@tools/setup build test
	@grep -qs '^VX_TESTS:.*=ON' build/CMakeCache.txt || { $(call configure,test); }
	@cmake --build build -j$(JOBS) --target programs handset-test
build/.asan build/.tsan: build/.%:
	@tools/setup build test check
	@[ -f build/$*/build.ninja ] || { $(call configure,$*); }
	@cmake --build build/$* -j$(JOBS) $(TARGETS)

# Trees of the service alone. Their tests run in a virtual handset of this machine; the end-to-end tests are its own.
build/.phone-like: programs
build/.arm64 build/.armhf: build/.handset-test
build/.phone-like build/.arm64 build/.armhf: build/.%:
	@tools/setup build test $(if $(filter phone-like,$*),phone,cross)
	@[ $* = phone-like ] || tools/foreign-root $* build/$*/root
	@[ -f build/$*/build.ninja ] || { $(call configure,$*); }
	@cmake --build build/$* -j$(JOBS) $(TARGETS)

setup:
	@tools/setup

demo: programs
	@tools/demo

test: build/.test
	cd build && $(CTEST)

asan: build/.asan
	cd build/asan && $(CTEST)

# Signals act at wait points only, where a handler may call anything; the sanitizer cannot know that. The second process
# of Bluetooth-on starts a thread of its own.
tsan: export TSAN_OPTIONS = report_signal_unsafe=0 die_after_fork=0
tsan: build/.tsan
	cd build/tsan && $(CTEST)

# The service as a phone's compiler makes it, and for the phone's processors: all unit tests.
phone-like arm64 armhf: export EMULATED_PART ?= 1
phone-like arm64 armhf: %: build/.%
	cd build/$* && $(CTEST)
	@[ $* = phone-like ] || tools/emulated-phone $*

handset: programs
	@build/bin/handset run

deb: programs
	@tools/setup package
	@tools/deb

bench: TARGETS = --target programs bench
bench: build/.test
	@tools/setup bench
	@tools/bench

# A run of every target from the kept corpus, FUZZ_SECONDS each, or RUNS=N runs each.
fuzz-short: FUZZ_SECONDS ?= 10
fuzz: FUZZ_SECONDS ?= 300
fuzz fuzz-short: TARGETS = --target fuzz-targets
fuzz fuzz-short: build/.asan
	@tools/fuzz $(FUZZ_SECONDS)

# Every call of the service failed once; the short form is a sample that takes a minute at most.
faults faults-short: TARGETS = --target faults-campaign
faults: build/.test
	@tools/faults
faults-short: build/.test
	@tools/faults --short

# The service killed while it writes records, COUNT times.
kills: COUNT ?= 10000
kills: TARGETS = --target kills-campaign
kills: build/.test
	@tools/kills $(COUNT)

# A station killed while it runs a plan, COUNT times: each record is whole, with each step that was reported.
line-kills: COUNT ?= 200
line-kills: TARGETS = --target station-run-test
line-kills: build/.test
	VX_KILLS=$(COUNT) build/bin/station-run-test --gtest_filter='RecordKill.*'

# REQUESTS on each link while parts of the phone break; the tests have a shorter form.
soak: export VX_SOAK_REQUESTS = $(or $(REQUESTS),1000000)
soak: TARGETS = --target soak-test
soak: build/.test
	@build/bin/soak-test --gtest_filter='Soak.*'

# The service's code broken in COUNT places that SEED draws; which of them do the tests notice?
mutants: COUNT ?= 200
mutants: SEED ?= 1
mutants: TARGETS = --target vx-kro-amt handset handset-agent handset-test
mutants: build/.test
	@tools/mutants --count $(COUNT) --seed $(SEED)

# The static checks read only how each file is compiled, so the tree need not be built, only configured.
lint:
	@tools/setup build check
	@[ -f build/build.ninja ] || { $(call configure,release); }
	@tools/lint

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
