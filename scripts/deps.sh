#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running Torvex need, if any is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang pkg-config locales python3
  libxml2-dev libxml2-utils
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libcli11-dev libmuparser-dev libudunits2-dev nlohmann-json3-dev
  libpng-dev
  graphviz chromium fonts-dejavu-core
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    echo "error: missing packages and not root; run as root or install: ${missing[*]}" >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
