#!/bin/sh
# Builds the two tiny PE files of the examples, resource-only DLLs with the icon groups of
# icons.rc made from this folder's ICO files:
#   icons64.dll  PE32+ (x86-64)      icons32.dll  PE32 (i386)
# and, as seeds of the PE resource fuzz target, the same with only mono.ico (group "#7"):
#   fuzz/corpus/pe_resource/mono64.dll, mono32.dll
# with Debian's MinGW cross binutils: windres compiles icons.rc (preprocessed by the host's cpp)
# to a COFF object, and ld links it as a DLL with no entry point, no time stamp and no symbols,
# so that the same inputs give the same bytes. The DLLs are committed, so the tests need no
# cross tools; run this after make_examples.py changes the icons.
#   Usage: examples/icons/make_pe.sh          (as root it installs what is missing)
set -eu
cd "$(dirname "$0")"
for p in binutils-mingw-w64-x86-64 binutils-mingw-w64-i686 cpp; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    apt-get install -y -qq --no-install-recommends "$p" >/dev/null
  fi
done
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
build() { # target-prefix resource-script output
  "$1-windres" --preprocessor=cpp "$2" -O coff -o "$tmp/$1.o"
  "$1-ld" --dll --no-insert-timestamp -e 0 -s -o "$3" "$tmp/$1.o"
}
build x86_64-w64-mingw32 icons.rc icons64.dll
build i686-w64-mingw32 icons.rc icons32.dll
printf '7 ICON "mono.ico"\n' > "$tmp/mono.rc"
cp mono.ico "$tmp/"
mkdir -p ../../fuzz/corpus/pe_resource
build x86_64-w64-mingw32 "$tmp/mono.rc" ../../fuzz/corpus/pe_resource/mono64.dll
build i686-w64-mingw32 "$tmp/mono.rc" ../../fuzz/corpus/pe_resource/mono32.dll
