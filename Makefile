# Two commands matter: `make run` and `make test`. Everything else is for developers.
SECTION ?= 1
JOBS ?= $(shell nproc)
BUILD_TEST := build/test
BUILD_RUN := build/release
BUILD_BENCH := build/bench
RUN_HOME := $(CURDIR)/build/run

.PHONY: all deps run-home run demo test build-test build-run package bench fuzz format clean

all: build-run

deps:
	@bash scripts/install-deps.sh

$(BUILD_RUN)/CMakeCache.txt:
	cmake -S . -B $(BUILD_RUN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTLM_BUILD_TESTS=OFF

build-run: deps $(BUILD_RUN)/CMakeCache.txt
	cmake --build $(BUILD_RUN) -j $(JOBS)

# Settings and data of `make run` live under build/run, never in the user's own settings.
RUN_ENV := XDG_CONFIG_HOME=$(RUN_HOME)/config XDG_DATA_HOME=$(RUN_HOME)/data XDG_RUNTIME_DIR=$(RUN_HOME)/runtime \
  TLM_DEFAULT_DATA_DIR=$(RUN_HOME)/data

run-home:
	@mkdir -p $(RUN_HOME)/config $(RUN_HOME)/data $(RUN_HOME)/runtime
	@chmod 700 $(RUN_HOME)/runtime

# The first run on an empty folder offers the demo data once the database is created.
run: build-run run-home
	$(RUN_ENV) TLM_OFFER_DEMO=1 $(BUILD_RUN)/src/tlm-manager $(SECTION)

# Fills the database `make run` uses (created in build/run/data when none is configured) with the
# demo data set; a database that holds projects or reported items already is left alone.
demo: build-run run-home
	$(RUN_ENV) $(BUILD_RUN)/src/tlm-manager demo

# The Debian package, from the release build `make run` uses (stripped when packed). Configured
# again each time, so the version follows `git describe`; an older package is removed first.
package: deps
	cmake -S . -B $(BUILD_RUN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTLM_BUILD_TESTS=OFF
	rm -f $(BUILD_RUN)/tlm-manager_*.deb
	cmake --build $(BUILD_RUN) -j $(JOBS) --target package

$(BUILD_TEST)/CMakeCache.txt:
	cmake -S . -B $(BUILD_TEST) -DCMAKE_BUILD_TYPE=Debug -DTLM_SANITIZE=ON -DTLM_BUILD_TESTS=ON

build-test: deps $(BUILD_TEST)/CMakeCache.txt
	cmake --build $(BUILD_TEST) -j $(JOBS)

# Starts the servers the tests need on loopback, runs every test, stops the servers pass or fail.
# The fuzz targets then run a few seconds each, with every saved regression input (scripts/fuzz.sh).
# The package is built first: a test unpacks it and runs the program from it.
test: build-test package
	@bash scripts/test-servers.sh run -- ctest --test-dir $(BUILD_TEST) --output-on-failure -j $(JOBS)
	@FUZZ_JOBS=$(JOBS) bash scripts/fuzz.sh --short

# libFuzzer targets (clang, build/fuzz), FUZZ_S seconds each; findings in build/fuzz/findings.
FUZZ_S ?= 60
fuzz: deps
	@FUZZ_S=$(FUZZ_S) FUZZ_JOBS=$(JOBS) bash scripts/fuzz.sh

$(BUILD_BENCH)/CMakeCache.txt:
	cmake -S . -B $(BUILD_BENCH) -DCMAKE_BUILD_TYPE=Release -DTLM_BUILD_TESTS=OFF -DTLM_BUILD_BENCH=ON

# Every benchmark against its servers (their own, under build/bench/servers, so the test servers
# others use stay up), ending with one table of figures, goals and verdicts (bench/RESULTS.md).
bench: deps $(BUILD_BENCH)/CMakeCache.txt
	cmake --build $(BUILD_BENCH) -j $(JOBS)
	@TLM_SERVERS_DIR=$(CURDIR)/$(BUILD_BENCH)/servers bash scripts/test-servers.sh run -- bash bench/run-all.sh $(BUILD_BENCH)

format:
	find src tests bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf build
