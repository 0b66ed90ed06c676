# The two commands of a newcomer are "make run" and "make test". Each sets up what is missing first.
PRESET ?= release
BIN = build/release/bin/tovelkarin
PREFIX ?= /usr/local
FUZZ_SECONDS ?= 60
KILLS_SECONDS ?= 3600
MAKEFLAGS += --no-print-directory

.PHONY: run test asan tsan debug coverage bench figures fuzz history kills tidy docs install deb deb-test setup \
        build format clean

run bench install tidy: override PRESET = release
run: build
	@rm -rf build/tour
	@$(BIN) --root share/root --state build/tour host --echo share/scenarios/tour

test: build
	ctest --preset $(PRESET)

setup:
	@scripts/setup

# Configures once; ninja configures again by itself when a CMake file changed.
build: setup
	@[ -f build/$(PRESET)/build.ninja ] || cmake --preset $(PRESET)
	@cmake --build --preset $(PRESET)

asan tsan debug:
	@$(MAKE) test PRESET=$@

coverage:
	@$(MAKE) build PRESET=coverage
	@find build/coverage -name '*.gcda' -delete  # counts of an older build
	@GCOV_ERROR_FILE=$(CURDIR)/build/coverage/gcov.errors ctest --preset coverage  # not among outputs
	@scripts/coverage build/coverage

# Writes docs/design/figures.md anew; STEPS="program bench" only these parts of it.
figures: setup
	@scripts/figures $(STEPS)

bench: build
	@build/release/bench/tovelkarin_bench

fuzz:
	@$(MAKE) build PRESET=fuzz
	@scripts/fuzz build/fuzz/fuzz $(FUZZ_SECONDS)

docs: setup
	@[ -f build/$(PRESET)/build.ninja ] || cmake --preset $(PRESET)
	@cmake --build --preset $(PRESET) --target reference man

# Random calls of many threads on the operation manager, and whether some order of them explains every
# answer: long forms of the unit test.
HISTORY = tests/tovelkarin_tests --gtest_filter='MutexHistoryTest.AnswersOfManyThreads*' \
    >build/history.log 2>&1 && grep '^history:' build/history.log || { cat build/history.log; exit 1; }
history: setup
	@for preset in tsan release; do \
	    [ -f build/$$preset/build.ninja ] || cmake --preset $$preset; \
	    cmake --build --preset $$preset --target tovelkarin_tests || exit 1; \
	done
	@TOVELKARIN_HISTORY=2000000 TOVELKARIN_HISTORY_THREADS=16 build/tsan/$(HISTORY)
	@TOVELKARIN_HISTORY=50000000 TOVELKARIN_HISTORY_THREADS=64 build/release/$(HISTORY)

# Processes that write, prune, read, fork and are killed on one state folder; what was acknowledged stays.
kills: setup
	@[ -f build/release/build.ninja ] || cmake --preset release
	@cmake --build --preset release --target tovelkarin_kills
	@build/release/tests/tovelkarin_kills --seconds $(KILLS_SECONDS)

install: build
	cmake --install build/release --prefix $(PREFIX)

deb: setup
	@packaging/make_deb build/deb

deb-test: deb
	@tests/install/deb build/deb

CODE = base library platform program
tidy: build
	cppcheck --quiet --error-exitcode=1 -j2 --enable=warning,performance,portability --std=c++17 --language=c++ \
	    --suppressions-list=scripts/cppcheck.suppressions -I library/include -I platform/include \
	    -I platform/embedded/include -I platform -I library -I program -I . $(CODE)
	git ls-files $(CODE:%='%/*.cpp') | xargs -P2 -n4 clang-tidy -p build/release --quiet

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
