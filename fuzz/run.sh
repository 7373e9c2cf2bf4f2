#!/bin/sh
# Builds a fuzz target with clang in build/fuzz and runs it.
# Usage: fuzz/run.sh [seconds] [target] [libFuzzer flags...]   (default 60 seconds, target
# cache_file); for example `fuzz/run.sh 600 family_edits -len_control=0` tries long edit
# sequences from the start.
# Targets: cache_file (the table cache reader), toc (opening and walking a table of contents),
# bmp_reader, ico_reader and pe_resource (the icon and bitmap readers), family_open (a family's
# three documents opened, every cell evaluated by the reference host, its cache file read back),
# family_edits (structure and value edits on the example family) and formula_scan (the formula
# scanner and the range parser); seeds in fuzz/corpus/<target>.
set -eu
seconds=${1:-60}
target=${2:-cache_file}
[ $# -gt 2 ] && shift 2 || set --
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build/fuzz"

case "$target" in
  cache_file) max_len=65536; artifacts="$build/artifacts/" ;;
  toc) max_len=16384; artifacts="$build/artifacts/toc/" ;;
  bmp_reader|ico_reader|pe_resource) max_len=65536; artifacts="$build/artifacts/$target/" ;;
  family_open) max_len=65536; artifacts="$build/artifacts/$target/" ;;
  family_edits|formula_scan) max_len=4096; artifacts="$build/artifacts/$target/" ;;
  *) echo "fuzz/run.sh: unknown target $target (cache_file, toc, bmp_reader, ico_reader, pe_resource, family_open, family_edits or formula_scan)" >&2; exit 2 ;;
esac

# clang and its libFuzzer runtime come from Debian's packages.
"$root/scripts/deps.sh"
if ! dpkg-query -W -f='${Status}' libclang-rt-14-dev 2>/dev/null | grep -q 'install ok installed'; then
  apt-get install -y -qq libclang-rt-14-dev >/dev/null 2>&1 || echo "note: install clang's libFuzzer runtime (libclang-rt-*-dev)"
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DTORVEX_BUILD_FUZZ=ON \
  -DTORVEX_BUILD_TESTS=OFF -DTORVEX_BUILD_HOST=ON -DTORVEX_SANITIZE=OFF >/dev/null
cmake --build "$build" -j2 --target "${target}_fuzzer"

# New inputs go to a working corpus in the build tree; the seeds in fuzz/corpus stay as they are.
work="$build/corpus/$target"
mkdir -p "$work" "$artifacts"
dict=""
if [ -f "$root/fuzz/$target.dict" ]; then
  dict="-dict=$root/fuzz/$target.dict"
fi
cd "$build"
exec "$build/fuzz/${target}_fuzzer" "$work" "$root/fuzz/corpus/$target" $dict \
  -max_total_time="$seconds" -max_len="$max_len" -rss_limit_mb=2048 -timeout=10 \
  -artifact_prefix="$artifacts" -print_final_stats=1 "$@"
