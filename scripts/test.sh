#!/usr/bin/env bash
# Installs what is missing, then builds and runs the tests three times, each in
# its own build directory: the whole suite as shipped, the whole suite under
# AddressSanitizer with UndefinedBehaviorSanitizer, and the concurrency tests
# under ThreadSanitizer.
#
#   scripts/test.sh [plain] [asan] [tsan]     (no argument: all three)
#
# ORVAX_BUILD_DIR names the plain build directory (default "build"); the
# sanitizer builds go to its "-asan" and "-tsan" siblings. ORVAX_JOBS caps the
# parallel jobs (default: the number of cores).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh

base=${ORVAX_BUILD_DIR:-build}
jobs=${ORVAX_JOBS:-$(nproc)}
stages=("$@")
[ ${#stages[@]} -gt 0 ] || stages=(plain asan tsan)

# The tests that run threads against one another: ThreadSanitizer runs these.
concurrency='Concurren|Looper|AMessage|TevParamStore|BpHwRnxCallbacks|^Service|LoadTest|HostileInput'

# stage NAME DIRECTORY SANITIZER [ctest arguments...]
stage() {
  local name=$1 dir=$2 sanitize=$3
  shift 3
  local start=$SECONDS
  echo "== $name: building in $dir" >&2
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVAX_SANITIZE="$sanitize" >/dev/null
  cmake --build "$dir" -j "$jobs"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs" "$@"
  echo "== $name: passed in $((SECONDS - start)) s" >&2
}

for s in "${stages[@]}"; do
  case $s in
    plain) stage plain "$base" "" ;;
    asan)
      (
        export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1
        export LSAN_OPTIONS=suppressions=$PWD/scripts/lsan.supp:print_suppressions=0
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        stage "AddressSanitizer+UndefinedBehaviorSanitizer" "$base-asan" address
      ) ;;
    tsan)
      (
        export TSAN_OPTIONS=second_deadlock_stack=1
        stage ThreadSanitizer "$base-tsan" thread -R "$concurrency"
      ) ;;
    *) echo "unknown stage '$s': plain, asan or tsan" >&2; exit 2 ;;
  esac
done
