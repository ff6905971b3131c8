#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks in their own build directory
# (Release) and measures the service against its goals: first and later starts
# against what cannot be beaten, scaling to tuning files 10 and 100 times the
# bundled one, parameter changes directly and through the service, the
# instructions of one parameter change (callgrind) and the heap (massif).
# Prints every figure with its goal and PASS or MISS; exits 1 when a goal is
# missed. docs/performance.md explains the figures.
#
#   scripts/bench.sh
#
# ORVAX_BENCH_DIR names the build directory (default "build-bench"); ORVAX_JOBS
# caps the parallel jobs (default: the number of cores).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh

dir=${ORVAX_BENCH_DIR:-build-bench}
jobs=${ORVAX_JOBS:-$(nproc)}
work=$(mktemp -d "${TMPDIR:-/tmp}/orvax-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
start=$SECONDS

echo "== building in $dir" >&2
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVAX_BUILD_TESTS=OFF -DORVAX_BUILD_BENCH=ON >/dev/null
cmake --build "$dir" -j "$jobs" --target orvax_bench orvax_probe orvaxctl
bench=$dir/bench/orvax_bench
probe=$dir/bench/orvax_probe
ctl=$dir/tools/orvaxctl/orvaxctl
bundled=data/zel-default.xml

echo "== the generated tuning file loads like the bundled one" >&2
"$probe" generate 100 "$work/zel-default-100x.xml"
"$probe" check "$work/zel-default-100x.xml"

echo "== benchmarks" >&2
"$bench" --summary="$work/summary.tsv"

echo "== instructions of a parameter change (callgrind)" >&2
changes=2000
valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file="$work/callgrind.out" \
  "$probe" change "$changes" 2>"$work/callgrind.log"
instructions=$(awk '/^totals:/ {print $2}' "$work/callgrind.out")

echo "== instructions of saving one changed value (callgrind)" >&2
# saved NAME FILE: the instructions of the save alone
saved() {
  valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$work/save.$1" \
    "$probe" save "$2" 2>"$work/save.$1.log"
  awk '/^totals:/ {print $2}' "$work/save.$1"
}
save1=$(saved bundled "$bundled")
save100=$(saved 100x "$work/zel-default-100x.xml")

echo "== whole orvaxctl runs on a root of the 100x file" >&2
root100=$work/root100
"$ctl" --root "$root100" install --default "$work/zel-default-100x.xml" >/dev/null
"$ctl" --root "$root100" get 108 --profile 0 >/dev/null  # the first start builds the database
db100=$root100/data/vendor/orvan/zel_sqlite3.db
# Rounds of a bare run, a get, a set of a new value and the sqlite3 shell's dump of
# every row, side by side so that a drifting machine shifts all alike; "KIND ns" lines.
rounds() {
  local value=0
  for ((r = 0; r < 15; r++)); do
    value=$((value % 16 + 1))
    for kind in bare get set dump; do
      local begin
      begin=$(date +%s%N)
      case $kind in
        bare) "$ctl" --version ;;
        get) "$ctl" --root "$root100" get 108 --profile 0 ;;
        set) "$ctl" --root "$root100" set 108 "$value" --profile 0 ;;
        dump) sqlite3 "$db100" .dump ;;
      esac >/dev/null 2>&1
      echo "$kind $(($(date +%s%N) - begin))"
    done
  done
}
rounds > "$work/rounds"
# The median of a kind, in ms.
ms() {
  awk -v k="$1" '$1 == k {print $2}' "$work/rounds" | sort -n |
    awk '{a[NR] = $1} END {printf "%.2f", (NR % 2 ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2) / 1e6}'
}
bare=$(ms bare); get=$(ms get); set=$(ms set); dump=$(ms dump)

echo "== heap of a first start and after it (massif)" >&2
# heap NAME FILE: "peak steady" in bytes, heap blocks with their overhead.
heap() {
  valgrind --tool=massif --massif-out-file="$work/massif.$1" \
    "$probe" coldstart "$2" "$work/steady.$1" 2>"$work/massif.$1.log"
  local peak steady
  peak=$(awk -F= '/^mem_heap_B=/ {h = $2} /^mem_heap_extra_B=/ {if (h + $2 > m) m = h + $2} END {print m}' \
    "$work/massif.$1")
  steady=$(awk -F= '/^mem_heap_B=/ {h = $2} /^mem_heap_extra_B=/ {print h + $2}' "$work/steady.$1")
  echo "$peak $steady"
}
read -r peak1 steady1 < <(heap bundled "$bundled")
read -r peak100 steady100 < <(heap 100x "$work/zel-default-100x.xml")

mib() { awk -v b="$1" 'BEGIN {printf "%.2f MiB", b / 1048576}'; }
verdict() { awk -v v="$1" -v g="$2" 'BEGIN {print (v <= g) ? "PASS" : "MISS"}'; }
{
  cat "$work/summary.tsv"
  printf 'instructions per parameter change (id 108)\t%d\t<= 60000\t%s\n' \
    "$((instructions / changes))" "$(verdict "$((instructions / changes))" 60000)"
  ratio() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.2f", a / b}'; }
  getDump=$(ratio "$(awk -v g="$get" -v b="$bare" 'BEGIN {print g - b}')" "$dump")
  setGet=$(ratio "$(awk -v s="$set" -v b="$bare" 'BEGIN {print s - b}')" \
    "$(awk -v g="$get" -v b="$bare" 'BEGIN {print g - b}')")
  saves=$(ratio "$save100" "$save1")
  printf 'get above a bare run / sqlite3 dump, 100x root\t%s\t<= 4.00\t%s\n' "$getDump" "$(verdict "$getDump" 4)"
  printf 'set / get, above a bare run, 100x root\t%s\t<= 1.50\t%s\n' "$setGet" "$(verdict "$setGet" 1.5)"
  printf 'instructions of a save of one value, 100x / bundled\t%s\t<= 2.00\t%s\n' "$saves" "$(verdict "$saves" 2)"
  printf 'bare / get / set / dump ms, 100x root\t%s / %s / %s / %s\t\t-\n' "$bare" "$get" "$set" "$dump"
  printf 'instructions of a save of one value, bundled / 100x\t%s / %s\t\t-\n' "$save1" "$save100"
  printf 'peak heap, first start, bundled file\t%s\t<= 8.00 MiB\t%s\n' "$(mib "$peak1")" \
    "$(verdict "$peak1" $((8 * 1048576)))"
  printf 'steady heap, bundled file\t%s\t<= 2.00 MiB\t%s\n' "$(mib "$steady1")" \
    "$(verdict "$steady1" $((2 * 1048576)))"
  printf 'peak heap, first start, 100x file\t%s\t\t-\n' "$(mib "$peak100")"
  printf 'steady heap, 100x file\t%s\t\t-\n' "$(mib "$steady100")"
} > "$work/all.tsv"
bench/bus-bench.sh "$dir" >> "$work/all.tsv"  # orvaxd through a private bus against a bare echo

echo
echo "== figures ($((SECONDS - start)) s; times are of this machine, for reference only)"
awk -F'\t' '{printf "%-48s %-22s %-12s %s\n", $1, $2, $3, $4}
            $4 == "MISS" {missed++}
            END {print (missed ? missed " goal(s) missed" : "every goal met"); exit missed ? 1 : 0}' "$work/all.tsv"
