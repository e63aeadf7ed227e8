# CMake builds everything; these are its usual steps strung together.
PREFIX ?= /usr/local
JOBS := $(shell nproc)
CONFIGURE := cmake --log-level=WARNING --preset

.PHONY: help demo test bench prove format lint resources install clean

help:
	@echo "make demo       builds the orv command and shows it at work in a sandbox"
	@echo "make test       builds everything and runs all tests"
	@echo "make bench      measures the command beside cp, rsync, find, du and others"
	@echo "make prove      injects faults into every kind of request and counts what is lost; compares living folders"
	@echo "make format     formats the C++ files"
	@echo "make lint       checks layers, names and common faults"
	@echo "make resources  makes the shipped example files and the placeholder anew"
	@echo "make install    installs the library and the command under PREFIX ($(PREFIX))"
	@echo "make clean      removes what was built"

demo:
	@scripts/install-packages.sh build
	@$(CONFIGURE) release -DORV_BUILD_TESTS=OFF
	@cmake --build --preset release -j$(JOBS)
	@scripts/demo.sh build/release/bin/orv

test:
	@scripts/install-packages.sh build test
	@$(CONFIGURE) release -DORV_BUILD_TESTS=ON
	@cmake --build --preset release -j$(JOBS)
	@ctest --preset release -j$(JOBS)

# BENCH takes options, such as BENCH='--only small-tree --markdown'.
bench:
	@scripts/install-packages.sh build bench
	@$(CONFIGURE) release -DORV_BUILD_BENCH=ON -DORV_BUILD_TESTS=OFF
	@cmake --build --preset release -j$(JOBS) --target orv_bench orv_curves orv_folders orv_micro
	@bench/run.sh build/release/bench/orv_bench $(BENCH)
	@bench/run.sh build/release/bench/orv_folders

prove:
	@scripts/install-packages.sh build test prove
	@$(CONFIGURE) release -DORV_BUILD_TESTS=ON
	@cmake --build --preset release -j$(JOBS) --target orv_prove folder_test
	@build/release/tests/faults/orv_prove
	@ORV_FOLDER_CHANGES=1000000 build/release/tests/folder/folder_test --gtest_filter='*interleave'

format:
	@scripts/install-packages.sh check
	@scripts/check-format.sh --fix

lint:
	@scripts/install-packages.sh build test check
	@$(CONFIGURE) lint
	@scripts/check-layers.py
	@scripts/lint.sh build/lint

resources:
	@scripts/install-packages.sh resources
	@scripts/resources/make.py

install:
	@scripts/install-packages.sh build
	@$(CONFIGURE) release -DORV_BUILD_TESTS=OFF -DCMAKE_INSTALL_PREFIX="$(PREFIX)"
	@cmake --build --preset release -j$(JOBS)
	@cmake --install build/release

clean:
	@rm -rf build
