#!/bin/sh
# Builds the cache file fuzzer with clang in build/fuzz and runs it.
# Usage: fuzz/run.sh [seconds]   (default 60)
set -eu
seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build/fuzz"

# clang and its libFuzzer runtime come from Debian's packages.
"$root/scripts/deps.sh"
if ! dpkg-query -W -f='${Status}' libclang-rt-14-dev 2>/dev/null | grep -q 'install ok installed'; then
  apt-get install -y -qq libclang-rt-14-dev >/dev/null 2>&1 || echo "note: install clang's libFuzzer runtime (libclang-rt-*-dev)"
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DTORVEX_BUILD_FUZZ=ON \
  -DTORVEX_BUILD_TESTS=OFF -DTORVEX_BUILD_HOST=OFF -DTORVEX_SANITIZE=OFF >/dev/null
cmake --build "$build" --target cache_file_fuzzer

# New inputs go to a working corpus in the build tree; the seeds in fuzz/corpus stay as they are.
work="$build/corpus/cache_file"
artifacts="$build/artifacts/"
mkdir -p "$work" "$artifacts"
cd "$build"
exec "$build/fuzz/cache_file_fuzzer" "$work" "$root/fuzz/corpus/cache_file" \
  -max_total_time="$seconds" -max_len=65536 -rss_limit_mb=2048 -timeout=10 \
  -artifact_prefix="$artifacts" -print_final_stats=1
