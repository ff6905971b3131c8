#!/usr/bin/env bash
# Measures orvaxd on a private bus: round trips per second of GetIntParam and
# SetParam from 1 and 16 client processes against the daemon's bare Echo
# method in the same run (the floor: the bus and the daemon's loop alone), and
# notifications delivered per second to 16 registered clients while one
# client sets. The machine is shared, so each figure is the best of a few
# rounds that interleave the method and its floor.
#
#   bench/bus-bench.sh BUILD_DIR
#
# Builds orvaxd, orvaxd_probe and orvaxctl in BUILD_DIR; prints one figure a
# line to stdout as NAME<TAB>VALUE<TAB>GOAL<TAB>PASS|MISS|-, as scripts/bench.sh
# lists them; progress goes to stderr.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:?usage: bench/bus-bench.sh BUILD_DIR}
rounds=${ORVAX_BUS_ROUNDS:-4}
seconds=0.75

cmake --build "$dir" -j "${ORVAX_JOBS:-$(nproc)}" --target orvaxd orvaxd_probe orvaxctl >&2
probe=$dir/tools/orvaxd/orvaxd_probe
work=$(mktemp -d "${TMPDIR:-/tmp}/orvax-bus.XXXXXX")
bus_pid=
daemon_pid=
cleanup() {
  [ -n "$daemon_pid" ] && kill "$daemon_pid" 2>/dev/null && wait "$daemon_pid" 2>/dev/null
  [ -n "$bus_pid" ] && kill "$bus_pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

echo "== orvaxd on a private bus" >&2
"$dir/tools/orvaxctl/orvaxctl" --root "$work/root" install >/dev/null
dbus-daemon --session --fork --print-address=3 --print-pid=4 3>"$work/address" 4>"$work/pid"
bus_pid=$(cat "$work/pid")
DBUS_SESSION_BUS_ADDRESS=$(cat "$work/address")
export DBUS_SESSION_BUS_ADDRESS
"$dir/tools/orvaxd/orvaxd" --root "$work/root" --session 2>"$work/orvaxd.log" &
daemon_pid=$!
"$probe" wait 20 || { cat "$work/orvaxd.log" >&2; exit 1; }

best() { awk -v a="$1" -v b="$2" 'BEGIN {print (b > a) ? b : a}'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.2f", a / b}'; }
atLeast() { awk -v v="$1" -v g="$2" 'BEGIN {print (v >= g) ? "PASS" : "MISS"}'; }

for clients in 1 16; do
  echo "== round trips from $clients client process(es), best of $rounds rounds" >&2
  echo_best=0 get_best=0 set_best=0
  for _ in $(seq "$rounds"); do
    echo_best=$(best "$echo_best" "$("$probe" rate echo "$clients" "$seconds")")
    get_best=$(best "$get_best" "$("$probe" rate getint "$clients" "$seconds")")
    set_best=$(best "$set_best" "$("$probe" rate setparam "$clients" "$seconds")")
  done
  get_ratio=$(ratio "$get_best" "$echo_best")
  set_ratio=$(ratio "$set_best" "$echo_best")
  printf 'bus GetIntParam / echo, %d client(s)\t%s\t>= 0.70\t%s\n' "$clients" "$get_ratio" "$(atLeast "$get_ratio" 0.7)"
  printf 'bus SetParam / echo, %d client(s)\t%s\t>= 0.70\t%s\n' "$clients" "$set_ratio" "$(atLeast "$set_ratio" 0.7)"
  printf 'bus echo / GetIntParam / SetParam per s, %d\t%s / %s / %s\t\t-\n' "$clients" "$echo_best" "$get_best" \
    "$set_best"
done

echo "== notifications to 16 registered clients" >&2
read -r delivered lost < <("$probe" notify 16 2)
printf 'bus notifications delivered per s, 16 clients\t%s\t\t-\n' "$delivered"
printf 'bus notifications lost, 16 clients\t%s\t0\t%s\n' "$lost" "$([ "$lost" -eq 0 ] && echo PASS || echo MISS)"
