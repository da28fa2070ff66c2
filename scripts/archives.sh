#!/usr/bin/env bash
# Makes the archives of a release in build/archives/: the sources; from these, without git, tool, libraries and manual
# for this machine, and libraries for aarch64. Each is then unpacked, and README's example is built with it and run.
#
# usage: scripts/archives.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh package platforms

out=$PWD/build/archives
rm -rf "$out"
mkdir -p "$out/bin" "$out/tried"
export PATH=$out/bin:$PATH
# A build of the sources must not ask git.
printf '#!/bin/sh\necho "archives: git was called: $*" >&2\ntouch "%s"\nexit 1\n' "$out/git-was-called" > "$out/bin/git"
chmod +x "$out/bin/git"

# shown COMMAND... prints the output of a command only when the command fails.
shown() {
  "$@" > "$out/log" 2>&1 || { tail -n 40 "$out/log" >&2; echo "archives: failed: $*" >&2; return 1; }
}

# pack FOLDER OPTION... builds the unpacked sources in FOLDER and packs what is installed.
pack() {
  shown cmake -S "$out/$sources" -B "$1" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQEX_BY_FOLDER=ON -DQEX_BUILD_TESTS=OFF \
    -DQEX_BUILD_BENCH=OFF -DQEX_BUILD_EXAMPLES=OFF "${@:2}"
  shown cmake --build "$1" -j "$(nproc)"
  shown cpack --config "$1/CPackConfig.cmake" -B "$1/packed"
  mv "$1"/packed/*.tar.gz "$out"
}

echo "archives: sources"
shown cmake -S . -B "$out/sources" -DQEX_BUILD_TOOL=OFF -DQEX_BUILD_TESTS=OFF -DQEX_BUILD_BENCH=OFF \
  -DQEX_BUILD_DOCS=OFF -DQEX_BUILD_EXAMPLES=OFF
shown cpack --config "$out/sources/CPackSourceConfig.cmake" -B "$out/sources/packed"
mv "$out"/sources/packed/*.tar.gz "$out"
sources=$(basename "$out"/qex-*.tar.gz .tar.gz)
tar -xzf "$out/$sources.tar.gz" -C "$out"
echo "archives: $(uname -m)"
pack "$out/here"
echo "archives: aarch64"
pack "$out/aarch64" -DQEX_BUILD_TOOL=OFF "-DCMAKE_TOOLCHAIN_FILE=$out/$sources/cmake/toolchain-aarch64.cmake"
if [ -e "$out/git-was-called" ]; then
  echo "archives: the build of the sources calls git" >&2
  exit 1
fi

sed -n '/^```c$/,/^```$/p' README.md | sed '1d;$d' > "$out/tried/verify.c"
echo 'the data to be stamped' > "$out/tried/data"
# try_example FOLDER COMPILER [EMULATOR...] builds README's example with the unpacked archive, shared and static.
try_example() {
  local folder=$1 compiler=$2 kind program flags
  for kind in shared static; do
    program=$folder/$kind
    flags=()
    [ "$kind" = shared ] || flags=(-static)
    # shellcheck disable=SC2046  # flags are words
    "$compiler" -std=c99 "$out/tried/verify.c" -o "$program" "${flags[@]}" $(PKG_CONFIG_LIBDIR=$folder/lib/pkgconfig \
      pkg-config --cflags --libs "${flags[@]/#-/--}" qex)
    printf '%s, %s: ' "$(basename "$folder")" "$kind"
    LD_LIBRARY_PATH=$folder/lib "${@:3}" "$program" "$out/tried/data" tests/data/samples/reply_sha256_v2_cert.der \
      tests/data/samples/certificate_tsa.der
  done
}
for archive in "$out/$sources"-*.tar.gz; do tar -xzf "$archive" -C "$out/tried"; done
here=$out/tried/$sources-linux-$(uname -m)
try_example "$here" cc
try_example "$out/tried/$sources-linux-aarch64" aarch64-linux-gnu-gcc qemu-aarch64-static -L /usr/aarch64-linux-gnu
"$here/bin/qex" version
for file in man/man1/qex.1 doc/qex/LICENSE; do
  [ -s "$here/share/$file" ] || { echo "archives: no $file in $here" >&2; exit 1; }
done

echo
for archive in "$out"/*.tar.gz; do printf '%8d octets  %s\n' "$(stat -c %s "$archive")" "$(basename "$archive")"; done
