# The two commands of a newcomer are "make run" and "make test". Each target brings its own packages.
PRESET ?= release
BUILD = build/$(PRESET)
BIN = build/release/bin/tovelkarin
PREFIX ?= /usr/local
FUZZ_SECONDS ?= 60
KILLS_SECONDS ?= 3600
MAKEFLAGS += --no-print-directory

.PHONY: run test asan tsan debug coverage bench figures fuzz history kills tidy docs install deb deb-test \
        build build-tests format clean

run bench install kills figures docs: override PRESET = release

# The two libraries and the program, nothing else; the tour is a day of operations on the sample root.
run: build
	@rm -rf build/tour
	@$(BIN) --root share/root --state build/tour host --echo share/scenarios/tour

# Configured once without tests and once with them; ninja configures again by itself when a CMake file
# changed.
build:
	@scripts/setup
	@[ -f $(BUILD)/build.ninja ] || cmake --preset $(PRESET) -DBUILD_TESTING=OFF
	@cmake --build --preset $(PRESET) --target tovelkarin tovelkarin_program

build-tests:
	@scripts/setup test $(LISTS)
	@grep -qs 'BUILD_TESTING:BOOL=ON' $(BUILD)/CMakeCache.txt && [ -f $(BUILD)/build.ninja ] || \
	    cmake --preset $(PRESET) -DBUILD_TESTING=ON
	@cmake --build --preset $(PRESET)

test: build-tests
	ctest --preset $(PRESET)

debug:
	@$(MAKE) test PRESET=debug
asan tsan:
	@$(MAKE) test PRESET=$@ LISTS=clang

coverage:
	@$(MAKE) build-tests PRESET=coverage LISTS=coverage
	@find build/coverage -name '*.gcda' -delete  # counts of an older build
	@GCOV_ERROR_FILE=$(CURDIR)/build/coverage/gcov.errors ctest --preset coverage  # not among outputs
	@scripts/coverage build/coverage

BENCH = build/release/bench/tovelkarin_bench
$(BENCH): always
	@scripts/setup bench
	@grep -qs 'TOVELKARIN_BENCH:BOOL=ON' $(BUILD)/CMakeCache.txt && [ -f $(BUILD)/build.ninja ] || \
	    cmake --preset release -DTOVELKARIN_BENCH=ON
	@cmake --build --preset release --target tovelkarin_bench
.PHONY: always

bench: $(BENCH)
	@$(BENCH)

# Writes docs/design/figures.md anew; STEPS="program bench" only these parts of it.
figures: build-tests $(BENCH)
	@scripts/figures $(STEPS)

fuzz:
	@scripts/setup clang
	@[ -f build/fuzz/build.ninja ] || cmake --preset fuzz
	@cmake --build --preset fuzz
	@scripts/fuzz build/fuzz/fuzz $(FUZZ_SECONDS)

docs: build
	@scripts/setup docs
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target reference man

# Random calls of many threads on the operation manager, and whether some order of them explains every
# answer: long forms of the unit test.
HISTORY = tests/tovelkarin_tests --gtest_filter='MutexHistoryTest.AnswersOfManyThreads*' \
    >build/history.log 2>&1 && grep '^history:' build/history.log || { cat build/history.log; exit 1; }
history:
	@$(MAKE) build-tests PRESET=tsan LISTS=clang
	@$(MAKE) build-tests PRESET=release
	@TOVELKARIN_HISTORY=2000000 TOVELKARIN_HISTORY_THREADS=16 build/tsan/$(HISTORY)
	@TOVELKARIN_HISTORY=50000000 TOVELKARIN_HISTORY_THREADS=64 build/release/$(HISTORY)

# Processes that write, prune, read, fork and are killed on one state folder; what was acknowledged stays.
kills: build-tests
	@build/release/tests/tovelkarin_kills --seconds $(KILLS_SECONDS)

install: build
	@cmake --build --preset release
	cmake --install build/release --prefix $(PREFIX)

deb:
	@scripts/setup deb
	@packaging/make_deb build/deb

deb-test: deb
	@scripts/setup test
	@tests/install/deb build/deb

CODE = base library platform program
tidy:
	@scripts/setup tidy
	@mkdir -p build && cmake --preset release -B build/tidy -DBUILD_TESTING=OFF -DCMAKE_UNITY_BUILD=OFF \
	    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >build/tidy.log
	cppcheck --quiet --error-exitcode=1 -j2 --enable=warning,performance,portability --std=c++17 --language=c++ \
	    --suppressions-list=scripts/cppcheck.suppressions -I library/include -I platform/include \
	    -I platform/embedded/include -I platform -I library -I program -I . $(CODE)
	git ls-files $(CODE:%='%/*.cpp') | xargs -P2 -n4 clang-tidy -p build/tidy --quiet

format:
	@scripts/setup tidy
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
