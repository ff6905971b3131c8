#!/usr/bin/env bash
# Installs the Debian packages needed to build, test, fuzz and benchmark:
# the daemon's bus library and a bus with its command-line clients, and the
# 2D graphics library that draws curves, among them.
# Does nothing when every package is already present.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config clang
  libxml2-dev libxml2-utils libsqlite3-dev sqlite3 libssl-dev
  android-libutils-dev android-liblog-dev
  libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
  valgrind
  libsystemd-dev dbus-daemon dbus-bin libglib2.0-bin
  libcairo2-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "bootstrap: installing ${missing[*]}" >&2
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
