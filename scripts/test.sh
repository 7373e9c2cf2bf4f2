#!/usr/bin/env bash
# The test command: installs what it needs, builds everything under AddressSanitizer and
# UndefinedBehaviorSanitizer and runs the whole suite. Leaks count as failures. Then the thread
# tests run once more under ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh

# The locales the tests need: de_DE.UTF-8 has a comma decimal separator. Under
# TORVEX_REQUIRE_LOCALES=1 a test whose locale is missing fails instead of skipping itself
# (tests/platform/RequireLocale.h), so this run can't pass with those checks silently gone.
has_locale() { grep -qix "${1%.UTF-8}.utf8" <<<"$(locale -a 2>/dev/null)"; }
make_locale() { # $1: a name as /etc/locale.gen writes it, e.g. de_DE.UTF-8
  has_locale "$1" && return 0
  echo "Generating the locale $1"
  if [ "$(id -u)" -ne 0 ]; then
    echo "error: the locale $1 is missing and not root; run as root or generate it" >&2
    exit 1
  fi
  if [ -x /usr/sbin/locale-gen ] && [ -f /etc/locale.gen ]; then
    sed -i "s/^# *\($1 UTF-8\)\$/\1/" /etc/locale.gen
    grep -qx "$1 UTF-8" /etc/locale.gen || echo "$1 UTF-8" >>/etc/locale.gen
    locale-gen --keep-existing || true
  else
    localedef -i "${1%.UTF-8}" -f UTF-8 "$1" || true
  fi
  if ! has_locale "$1"; then
    echo "error: could not make the locale $1 (locale -a does not list it)" >&2
    exit 1
  fi
}
make_locale de_DE.UTF-8
export TORVEX_REQUIRE_LOCALES=1
# The site's end-to-end test opens pages in headless Chromium (deps.sh installs it); here it fails
# when Chromium is missing instead of skipping itself.
export TORVEX_REQUIRE_BROWSER=1

build=build/asan
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTORVEX_SANITIZE=ON -DTORVEX_BUILD_TESTS=ON
cmake --build "$build" -j"$(nproc)"

export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 900

# The tests labelled "threads" (different families on several threads at once, and the tool's
# -j) again under ThreadSanitizer, which can't share a build with AddressSanitizer: only what
# they need is built. The suppressions are reports proven false, each with its reason.
tsan=build/tsan
cmake -S . -B "$tsan" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTORVEX_SANITIZE_THREAD=ON \
  -DTORVEX_BUILD_TESTS=ON
cmake --build "$tsan" -j"$(nproc)" --target torvex_thread_tests torvex_cli_batch_tests torvex-cli
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/scripts/tsan-suppressions.txt"
ctest --test-dir "$tsan" --output-on-failure -j"$(nproc)" --timeout 900 -L threads
