# The commands of this project. Each installs what is missing first; `make help` lists them.

JOBS ?= $(shell nproc)
# Most tests wait more than they compute.
TEST_JOBS ?= $(shell expr 2 \* $(JOBS))

.PHONY: help deps demo test test-asan test-tsan test-arm64 soak fuzz coverage bench bench-instructions bench-plot \
    format check-format tidy abi docs install clean

help: ## list the commands
	@awk -F ':.*## ' '/^[a-z0-9-]+:.*## / { printf "make %-18s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)

deps: ## install the packages that building and testing need
	@Scripts/install-deps

build-%: deps
	@cmake --preset $* >/dev/null
	@cmake --build --preset $* --parallel $(JOBS)

demo: deps ## talk to a simulated device
	@cmake --preset dev >/dev/null
	@cmake --build --preset dev --parallel $(JOBS) --target koserial
	@build/dev/bin/koserial demo

test: build-dev ## run all tests
	@ctest --preset dev --parallel $(TEST_JOBS)

test-asan: build-asan ## run all tests with the address and undefined behaviour sanitizers
	@ctest --preset asan --parallel $(TEST_JOBS)

test-tsan: build-tsan ## run all tests with the thread sanitizer
	@ctest --preset tsan --parallel $(TEST_JOBS)

# What the tests need of the other architecture are static libraries and headers alone.
ARM64_PACKAGES = g++-aarch64-linux-gnu libgtest-dev:arm64 librapidcheck-dev:arm64 qemu-user

build-arm64: deps
	@Scripts/install-deps $(ARM64_PACKAGES)
	@cmake --preset arm64 >/dev/null
	@cmake --build --preset arm64 --parallel $(JOBS)

test-arm64: build-arm64 ## run all tests and the demo for 64-bit Arm, in an emulator
	@ctest --preset arm64 --parallel $(TEST_JOBS)
	@qemu-aarch64 -L /usr/aarch64-linux-gnu build/arm64/bin/koserial demo

soak: build-dev ## work all ports of two devices for MINUTES (default 1) and lose nothing
	@build/dev/Tests/Soak/KoSerialSoak $$((60 * $(or $(MINUTES),1)))

fuzz: ## run every fuzzer for SECONDS (default 60), or RUNS times
	@Scripts/install-deps clang libclang-rt-14-dev
	@$(MAKE) --no-print-directory build-fuzz
	@Scripts/fuzz $(if $(RUNS),-runs=$(RUNS),-max_total_time=$(or $(SECONDS),60))

coverage: ## measure how much of the library its unit tests reach, and fail when that is less than it was
	@Scripts/install-deps gcovr
	@$(MAKE) --no-print-directory build-coverage
	@Scripts/coverage

BENCH_PACKAGES = libbenchmark-dev libboost-dev libreaderwriterqueue-dev libserialport-dev python3 valgrind
BENCH_RESULTS = build/bench.json

# Only the benchmarks need what they are compared with, so nothing else builds them.
build-bench: deps
	@Scripts/install-deps $(BENCH_PACKAGES)
	@cmake --preset release -DKO_BUILD_BENCHMARKS=ON >/dev/null
	@cmake --build --preset release --parallel $(JOBS) --target KoSerialBenchmarks KoSerialInstructions

bench: build-bench ## measure, each figure beside what it can be compared with
	@build/release/Benchmarks/KoSerialBenchmarks --benchmark_out=$(BENCH_RESULTS)

bench-instructions: build-bench ## count instructions, compare with Benchmarks/instructions.json (UPDATE=1 rewrites it)
	@Scripts/bench-instructions build/release/Benchmarks/KoSerialInstructions $(if $(UPDATE),--update)

bench-plot: ## draw what make bench has measured, for README.md
	@Scripts/plot-bench $(BENCH_RESULTS) Documentation/performance.svg

# Found without git, which refuses to read somebody else's checkout.
SOURCES = find Benchmarks Examples Libraries Tests Tools include -name '*.h' -o -name '*.cpp'

format: ## format the sources
	@Scripts/install-deps clang-format
	@$(SOURCES) | xargs clang-format -i

check-format: ## check that the sources are formatted
	@Scripts/install-deps clang-format
	@$(SOURCES) | xargs clang-format --dry-run -Werror

CHECKED = Examples Libraries Tools include
CHECKED_INCLUDES = -I include -I Libraries/KoBase/include -I Libraries/KoSim/include -I Libraries/KoSim/src

tidy: deps ## run cppcheck and clang-tidy over the libraries, the tool and the examples
	@Scripts/install-deps clang clang-tidy cppcheck
	@cmake --preset clang >/dev/null
	@cppcheck --quiet --std=c++17 --language=c++ --enable=warning,style,performance,portability --error-exitcode=1 \
	    --suppressions-list=.cppcheck-suppressions $(CHECKED_INCLUDES) $(CHECKED)
	@find $(CHECKED) -name '*.cpp' | xargs -P $(JOBS) -n 4 clang-tidy -p build/clang --quiet

ABI_LIBRARIES = build/abi/lib/libKoSerial.so build/abi-arm64/lib/libKoSerial.so

abi: ## compare the library's binary interface with the one in Tests/Abi (UPDATE=1 rewrites that)
	@Scripts/install-deps abigail-tools g++-aarch64-linux-gnu
	@$(MAKE) --no-print-directory build-abi build-abi-arm64
	@Scripts/abi $(if $(UPDATE),--update) $(ABI_LIBRARIES)

docs: ## write the API documentation to build/docs
	@Scripts/install-deps doxygen
	@mkdir -p build/docs && doxygen Documentation/Doxyfile

PREFIX = /usr/local
# Where the installed tree is built, and what else its configuration is to say: -DBUILD_SHARED_LIBS=OFF, for example.
INSTALL_BUILD = build/install
CMAKE_OPTIONS =

install: ## build and install to PREFIX (default /usr/local)
	@Scripts/install-deps --build-only
	@cmake --preset install -B $(INSTALL_BUILD) -D CMAKE_INSTALL_PREFIX=$(abspath $(PREFIX)) $(CMAKE_OPTIONS) >/dev/null
	@cmake --build $(INSTALL_BUILD) --parallel $(JOBS)
	@cmake --install $(INSTALL_BUILD)

clean: ## remove everything that was built
	@rm -rf build
