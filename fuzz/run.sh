#!/usr/bin/env bash
# Runs one fuzz target for a given time and prints how many inputs it ran.
#
#   fuzz/run.sh TARGET SECONDS      TARGET: tuning_file, value_text or service_blob
#
# Builds the targets with clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer in build-fuzz (ORVAX_FUZZ_BUILD_DIR overrides).
# The seed corpus comes from the bundled tuning files and the kept regression
# inputs; the growing corpus stays in the build directory between runs. A crash
# leaves its input under the build directory's artifacts/: fix the fault, then
# keep the input in fuzz/regressions/TARGET/, which the test suite replays.
set -euo pipefail
cd "$(dirname "$0")/.."

target=${1:-}
seconds=${2:-}
case $target in
  tuning_file | value_text | service_blob) ;;
  *) echo "usage: fuzz/run.sh tuning_file|value_text|service_blob SECONDS" >&2; exit 2 ;;
esac
[[ $seconds =~ ^[0-9]+$ ]] || { echo "SECONDS must be a whole number" >&2; exit 2; }

./scripts/bootstrap.sh
build=${ORVAX_FUZZ_BUILD_DIR:-build-fuzz}
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DORVAX_SANITIZE=address -DORVAX_FUZZ=ON -DORVAX_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "${ORVAX_JOBS:-$(nproc)}" --target "${target}_fuzzer"

corpus=$build/corpus/$target
seeds=$build/seeds/$target
artifacts=$build/artifacts/$target
mkdir -p "$corpus" "$seeds" "$artifacts"
rm -f "$seeds"/*
cp fuzz/regressions/"$target"/* "$seeds"/ 2>/dev/null || true

# The names a tuning file is made of, for the tuning file target.
dict=$build/seeds/tuning_file.dict
grep -oh '<[a-z_-]*\| [a-z_]*="' data/*.xml | sort -u | sed 's/"/\\"/g; s/.*/"&"/' >"$dict"
options=()

# put NAME BYTES...: one seed from printf escapes.
put() { local name=$1; shift; printf "$@" >"$seeds/$name"; }
case $target in
  tuning_file)
    cp data/zel-default.xml data/zel-extra.xml "$seeds"/
    options+=(-dict="$dict" -max_len=131072)
    ;;
  value_text)
    # Every attribute value of the bundled files.
    n=0
    while IFS= read -r value; do
      printf '%s' "$value" >"$seeds/value$((n++))"
    done < <(grep -oh '="[^"]*"' data/*.xml | sed 's/^="//; s/"$//' | sort -u)
    ;;
  service_blob)
    # The first byte picks set (odd) or query (even) and the output capacity;
    # then a blob with the event in byte 3. Values come from the default file.
    put set-on '\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01\x00\x00\x00'
    put set-profile '\x01\x00\x00\x00\x0a\x00\x00\x00\x00\x02\x00\x00\x00'
    put set-parameter '\x01\x00\x00\x00\x01\x00\x00\x00\x00\x01\x00\x00\x00\x6a\x00\x00\x00\x06\x00\x00\x00'
    put set-port-parameter '\x01\x00\x00\x00\x02\x00\x00\x00\x00\x01\x00\x00\x00\x03\x00\x00\x00\x6c\x00\x00\x00\x07\x00\x00\x00'
    put set-save '\x01\x00\x00\x00\x09'
    put set-reset '\x01\x00\x00\x00\x0c\x00\x00\x00\x00\x02\x00\x00\x00'
    put get-on '\x08\x00\x00\x00\x00'
    put get-parameter '\x08\x00\x00\x00\x01\x6a\x00\x00\x00\x01\x00\x00\x00'
    put get-port-parameter '\x16\x00\x00\x00\x02\x6c\x00\x00\x00\x13\x00\x00\x00'
    put get-profiles '\x08\x00\x00\x00\x03'
    put get-modified '\x08\x00\x00\x00\x0b\x02\x00\x00\x00'
    put get-mono '\x08\x00\x00\x00\x0d'
    ;;
esac

log=$build/logs/$target.log
mkdir -p "$(dirname "$log")"
echo "fuzzing $target for $seconds s (log: $log)" >&2
status=0
# The service logs every refused input; its log is closed (-close_fd_mask=2),
# the fuzzer's own report is not.
nice "$build/fuzz/${target}_fuzzer" "${options[@]}" -max_total_time="$seconds" -close_fd_mask=2 \
  -artifact_prefix="$artifacts/" -print_final_stats=1 "$corpus" "$seeds" >"$log" 2>&1 || status=$?
runs=$(grep -o 'Done [0-9]* runs in [0-9]* second' "$log" | tail -1 || true)
echo "$target: ${runs:-no summary} (corpus: $(ls "$corpus" | wc -l) inputs)"
if [ $status -ne 0 ]; then
  echo "$target: the fuzzer failed (status $status); see $log and $artifacts/" >&2
  tail -40 "$log" >&2
fi
exit $status
