# Two commands set everything up on a fresh Debian machine:
#   make run    install what is missing, build, start the timer
#   make test   install what is missing, build, run every test headless (SANITIZE=1: under ASan + UBSan)

PRESET := default
ifeq ($(SANITIZE),1)
PRESET := sanitize
endif
BUILD_DIR := build/$(PRESET)

.PHONY: all deps configure build run test bench stage format tidy clean package package-test fuzz

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@test -f $(BUILD_DIR)/build.ninja || cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build --preset $(PRESET)

# Only what the application needs, in a build of its own without the tests.
run:
	@scripts/install-deps.sh --run
	@test -f build/app/build.ninja || cmake --preset app >/dev/null
	@cmake --build --preset app
	@scripts/run-app.sh build/app/bin/brevlin

test: build
	@ctest --preset $(PRESET) -j2

bench:
	@scripts/install-deps.sh --bench
	@cmake --preset release >/dev/null && cmake --build --preset release
	@bench/run.sh build/release $(BENCH_ARGS)

# The timer over real slide shows on several window managers (docs/stage.md); installs office software.
stage:
	@scripts/stage.sh $(STAGE_APP)

# The .deb (docs/development.md): a release build of its own, without tests or build-tree paths.
PACKAGE_DIR := build/package
package: deps
	@cmake -S . -B $(PACKAGE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DBREVLIN_BUILD_TESTS=OFF \
		-DBREVLIN_BUILD_TREE_SOUNDS=OFF >/dev/null
	@cmake --build $(PACKAGE_DIR)
	@cd $(PACKAGE_DIR) && cpack -G DEB >/dev/null && echo "Package: $$(ls $(CURDIR)/$(PACKAGE_DIR)/brevlin_*.deb)"

# Builds the .deb, unpacks it and runs what it installs under its own X server.
package-test:
	@tests/packaging/test-deb.sh

# The fuzz targets (tests/fuzz), built with clang, each run from its seed corpus for FUZZ_SECONDS (30).
fuzz: deps
	@tests/fuzz/run.sh

format:
	@git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

tidy: configure
	@git ls-files 'src/*.cpp' | xargs clang-tidy -p $(BUILD_DIR) --quiet

clean:
	rm -rf build
