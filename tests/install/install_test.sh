#!/usr/bin/env bash
# Installs the built tree into one prefix, moves it to another, and builds and
# runs a consumer there with pkg-config and with find_package(orvax), with
# -Wall -Wextra -Werror and no warning flag of ours. Also fails when an
# internal header is installed, an installed header does not compile alone,
# a file names the first prefix, or the man page or completion is missing or
# falls behind orvaxctl's commands.
#
# usage: install_test.sh BUILD_DIR CONSUMER_DIR CMAKE CXX GENERATOR [SANITIZE]
# SANITIZE (address or thread) is how the library was built; the consumer is
# built with the same sanitizer, whose runtime must come first in a process.
set -euo pipefail

build=$1 consumer=$2 cmake=$3 cxx=$4 generator=$5 sanitize=${6:-}

# Headers of the service's workings and of the platform libraries' insides.
internal_headers=(
  service/EventHandler.h service/NotificationClient.h service/ParameterBlob.h
  manager/AxManager.h manager/ParameterAdapter.h manager/ParameterStrategy.h
  model/ParameterValues.h
  media/stagefright/foundation/AMessage.h media/stagefright/foundation/ALooper.h
  tevparamstorage/TevParamStore.h tevparamstorage/EffectParamParser.h
  vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h
)
# What a hosting server and a client's developer build against.
public_headers=(
  service/OrvanManagerService.h manager/ClientParameter.h
  vendor/orvan/hardware/rnx/2.0/IRnxCallbacks.h tevparamstorage/TevParamCache.h
)
expected_output="version -19 parameter geq_gain"

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

sanitizer_flags=()
case "$sanitize" in
  address) sanitizer_flags=(-fsanitize=address,undefined) ;;
  thread) sanitizer_flags=(-fsanitize=thread) ;;
esac

"$cmake" --install "$build" --prefix "$tmp/a" >/dev/null
mv "$tmp/a" "$tmp/b"
prefix=$tmp/b
include=$prefix/include/orvax

for header in "${internal_headers[@]}"; do
  [ -e "$include/$header" ] && fail "internal header installed: $header"
done
for header in "${public_headers[@]}"; do
  [ -e "$include/$header" ] || fail "public header not installed: $header"
done
for file in share/man/man1/orvaxctl.1 share/bash-completion/completions/orvaxctl; do
  [ -e "$prefix/$file" ] || fail "not installed: $file"
done
if grep -rIlF "$tmp/a" "$prefix" >/dev/null; then
  fail "files name the prefix they were installed to: $(grep -rIlF "$tmp/a" "$prefix" | tr '\n' ' ')"
fi

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
read -ra cflags <<<"$(pkg-config --cflags orvaxservice)"
read -ra libs <<<"$(pkg-config --libs orvaxservice)"
for flag in "${cflags[@]}"; do
  case "$flag" in -W*) fail "the .pc gives consumers a warning flag: $flag" ;; esac
done
pc_prefix=$(pkg-config --variable=prefix orvaxservice)
[ "$(cd "$pc_prefix" 2>/dev/null && pwd -P)" = "$(cd "$prefix" && pwd -P)" ] ||
  fail "the .pc's prefix is $pc_prefix, not the moved tree $prefix"

strict=(-std=c++17 -Wall -Wextra -Werror "${sanitizer_flags[@]}")
# Each header on its own: a missing include or a multi-character constant
# (warned about by default) fails here. From $tmp, so that no header is found
# beside the compiler's working directory.
while IFS= read -r header; do
  printf '#include "%s"\n' "$header" |
    (cd "$tmp" && "$cxx" "${strict[@]}" "${cflags[@]}" -fsyntax-only -x c++ - 2>"$tmp/header.log") ||
    fail "$header does not compile on its own: $(head -3 "$tmp/header.log")"
done < <(cd "$include" && find . -name '*.h' | sed 's|^\./||' | sort)

export ORVAN_ROOT=$tmp/root
mkdir -p "$ORVAN_ROOT"
run_consumer() {  # NAME BINARY
  local output
  if ! output=$("$2" 2>"$tmp/$1.log"); then
    fail "$1 consumer failed: $(head -5 "$tmp/$1.log")"
  elif [ "$output" != "$expected_output" ]; then
    fail "$1 consumer printed '$output', not '$expected_output'"
  fi
}

if "$cxx" "${strict[@]}" "${cflags[@]}" "$consumer/main.cpp" "${libs[@]}" -o "$tmp/pc-consumer" 2>"$tmp/pc.log"; then
  run_consumer pkg-config "$tmp/pc-consumer"
else
  fail "pkg-config consumer does not build: $(head -5 "$tmp/pc.log")"
fi

if "$cmake" -S "$consumer" -B "$tmp/cmake-build" -G "$generator" -DCMAKE_PREFIX_PATH="$prefix" \
     -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="${sanitizer_flags[*]}" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
     >"$tmp/cmake.log" 2>&1 &&
   "$cmake" --build "$tmp/cmake-build" >>"$tmp/cmake.log" 2>&1; then
  run_consumer cmake "$tmp/cmake-build/consumer"
  # The consumer asked for -Wall -Wextra -Werror; anything else came with orvax::orvaxservice.
  if grep -oE -- ' -W[^ ]+' "$tmp/cmake-build/compile_commands.json" | grep -vqxE -- ' -W(all|extra|error)'; then
    fail "orvax::orvaxservice gives consumers warning flags: $(grep -oE -- ' -W[^ ]+' "$tmp/cmake-build/compile_commands.json" | sort -u | tr -d '\n')"
  fi
  grep -qF "$prefix" "$tmp/cmake-build/CMakeCache.txt" || fail "find_package(orvax) did not find $prefix"
else
  fail "find_package consumer does not build: $(tail -15 "$tmp/cmake.log")"
fi

# The completion offers every command orvaxctl lists, and each one's options.
orvaxctl=$prefix/bin/orvaxctl
if help=$("$orvaxctl" --help); then
  commands=$(sed -n '/^commands/,$p' <<<"$help" | awk 'NR > 1 { print $1 }')
  completes() {  # WORDS...: what the completion offers for the last word
    bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
             _orvaxctl orvaxctl "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
             printf "%s\n" "${COMPREPLY[@]}"' _ "$prefix/share/bash-completion/completions/orvaxctl" orvaxctl "$@"
  }
  offered=$(completes "")
  for command in $commands; do
    grep -qx -- "$command" <<<"$offered" || fail "completion does not offer command $command"
    synopsis=$("$orvaxctl" "$command" --help | head -1 | sed 's/^usage: orvaxctl \[--root DIR\] //')
    for option in $(grep -o -- '--[a-z]*' <<<"$synopsis" | sort -u); do
      grep -qx -- "$option" <<<"$(completes "$command" --)" ||
        fail "completion does not offer $option after $command"
    done
  done
else
  fail "the installed orvaxctl does not run"
fi

[ "$failures" -eq 0 ] || exit 1
echo "installed, moved and consumed from $prefix"
