# Two entry points for a fresh Debian machine: `make demo` and `make test`.
# Both install what is missing (Debian packages only), configure and build from scratch
# into build/, then run.

BUILD   ?= build
JOBS    ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=Release

DEB_PACKAGES = g++ cmake ninja-build make pkg-config binutils python3 \
               libgtest-dev libgmock-dev libbenchmark-dev libblas-dev liblapack-dev \
               libmpfr-dev libgmp-dev libmpc-dev libsleef-dev libgsl-dev

.PHONY: all deps configure build demo test check tsan bench report clean

all: build

# Installs only the packages that are not there yet, so a prepared machine pays nothing.
deps:
	@missing=""; for p in $(DEB_PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'install ok installed' || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "installing:$$missing"; \
	  SUDO=""; [ "$$(id -u)" = 0 ] || SUDO=sudo; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq $$missing; \
	fi

configure: deps
	cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	$(BUILD)/cli/hpk demo

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Address and undefined-behaviour sanitizers over the whole suite, in a separate tree.
check: deps
	cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DHPK_SANITIZE=ON
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ctest --output-on-failure -j $(JOBS)

# ThreadSanitizer over the stream suite (chunks and the shared table under several threads).
tsan: deps
	cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DHPK_BUILD_BENCH=OFF \
	  -DCMAKE_C_FLAGS=-fsanitize=thread -DCMAKE_CXX_FLAGS=-fsanitize=thread \
	  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread
	cmake --build build-tsan -j $(JOBS) --target test_vsk
	TSAN_OPTIONS=halt_on_error=1 build-tsan/tests/test_vsk

bench: build
	$(BUILD)/bench/hpk_bench

report: build
	$(BUILD)/cli/hpk report --write docs

clean:
	rm -rf $(BUILD) build-asan build-tsan
