#!/usr/bin/env bash
# The test command: installs what it needs, builds everything under AddressSanitizer and
# UndefinedBehaviorSanitizer and runs the whole suite. Leaks count as failures.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh

# A locale whose decimal separator is a comma, for the tests that prove number text ignores it.
if ! locale -a 2>/dev/null | grep -qix 'de_DE.utf8'; then
  localedef -i de_DE -f UTF-8 de_DE.UTF-8 2>/dev/null || echo "note: could not make de_DE.UTF-8"
fi

build=build/asan
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTORVEX_SANITIZE=ON -DTORVEX_BUILD_TESTS=ON
cmake --build "$build" -j"$(nproc)"

export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 900
