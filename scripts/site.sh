#!/usr/bin/env bash
# Writes the web catalogue of the example catalogue with a Release build of the tool.
#   scripts/site.sh [OUT_DIR] [--screenshots]
# OUT_DIR defaults to build/site; open OUT_DIR/index.html in a browser. --screenshots also takes
# docs/site-index.png and docs/site-family.png with headless Chromium. The tool is built in
# $TORVEX_BUILD_DIR (default build/release).
set -euo pipefail
cd "$(dirname "$0")/.."

out=build/site
screenshots=0
for argument in "$@"; do
  case "$argument" in
    --screenshots) screenshots=1 ;;
    -*) echo "usage: scripts/site.sh [OUT_DIR] [--screenshots]" >&2; exit 2 ;;
    *) out=$argument ;;
  esac
done

scripts/deps.sh
build=${TORVEX_BUILD_DIR:-build/release}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTORVEX_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target torvex-cli
"$build/cli/torvex" site examples -o "$out" --materials examples/materials.tsv

if ((screenshots)); then
  url="file://$(cd "$out" && pwd)"
  profile=$(mktemp -d)
  trap 'rm -rf "$profile"' EXIT
  for page in "index.html docs/site-index.png" "families/iso4762.html docs/site-family.png"; do
    set -- $page
    chromium --headless --no-sandbox --disable-gpu --hide-scrollbars --user-data-dir="$profile" \
      --screenshot="$2" --window-size=1200,900 "$url/$1" 2>/dev/null
  done
fi
