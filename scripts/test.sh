#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
build=${ORVAX_BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
