# Two commands set everything up on a fresh Debian machine:
#   make run    install what is missing, build, start the timer
#   make test   install what is missing, build, run every test headless (SANITIZE=1: under ASan + UBSan)

PRESET := default
ifeq ($(SANITIZE),1)
PRESET := sanitize
endif
BUILD_DIR := build/$(PRESET)

.PHONY: all deps configure build run test bench stage format tidy clean fuzz

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@test -f $(BUILD_DIR)/build.ninja || cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build --preset $(PRESET)

run: build
	@scripts/run-app.sh $(BUILD_DIR)/bin/brevlin

test: build
	@ctest --preset $(PRESET) -j2

bench:
	@scripts/install-deps.sh --bench
	@cmake --preset release >/dev/null && cmake --build --preset release
	@bench/run.sh build/release $(BENCH_ARGS)

# The timer over real slide shows on several window managers (docs/stage.md); installs office software.
stage:
	@scripts/stage.sh $(STAGE_APP)

# The fuzz targets (tests/fuzz), built with clang, each run from its seed corpus for FUZZ_SECONDS (30).
fuzz: deps
	@tests/fuzz/run.sh

format:
	@git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

tidy: configure
	@git ls-files 'src/*.cpp' | xargs clang-tidy -p $(BUILD_DIR) --quiet

clean:
	rm -rf build
