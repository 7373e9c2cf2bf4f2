#!/bin/sh
# Builds the benchmarks in build/bench (Release, no sanitizers), runs them and prints the ratios
# against the targets. Arguments go to the benchmark binary, for example
#   bench/run.sh --sizes=100,1000
#   bench/run.sh --benchmark_filter='Torvex/Open'
# The JSON results stay in build/bench/bench-results.json (or $TORVEX_BENCH_JSON).
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build/bench"
json="${TORVEX_BENCH_JSON:-$build/bench-results.json}"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTORVEX_BUILD_BENCH=ON \
  -DTORVEX_BUILD_TESTS=OFF -DTORVEX_SANITIZE=OFF >/dev/null
cmake --build "$build" -j2 --target torvex_bench
"$build/bench/torvex_bench" --benchmark_out="$json" --benchmark_out_format=json "$@"
echo
python3 "$root/bench/report.py" "$json"
