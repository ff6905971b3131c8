#!/usr/bin/env bash
# Installs what is missing, builds the tool and runs the demo of the settings
# service on the bundled tuning files in a fresh temporary root.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
build=${ORVAX_BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
if ! cmake --build "$build" --target orvaxctl >"$build/demo-build.log" 2>&1; then
  cat "$build/demo-build.log" >&2
  exit 1
fi
root=$(mktemp -d "${TMPDIR:-/tmp}/orvaxctl-demo-XXXXXX")
exec "$build/tools/orvaxctl/orvaxctl" --root "$root" demo
