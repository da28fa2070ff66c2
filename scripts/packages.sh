#!/usr/bin/env bash
# Builds the Debian packages from the source archive, without git, and checks them with lintian. With --root also
# installs them into a root that holds nothing else, from this machine's own package source, and runs debian/tests
# there. Ends with the packages and their sizes; they are in build/packages/.
#
# usage: scripts/packages.sh [--root]
set -euo pipefail
cd "$(dirname "$0")/.."

root=
case ${1-} in
  '') ;;
  --root) root=yes ;;
  *) sed -n '2,6s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
scripts/setup.sh package

out=$PWD/build/packages
rm -rf "$out"
mkdir -p "$out"

# shown LOG COMMAND... keeps the output of a command, and prints the end of it when the command fails.
shown() {
  local log=$1
  shift
  "$@" > "$log" 2>&1 || { tail -n 40 "$log" >&2; echo "packages: failed: $* (all of it in $log)" >&2; return 1; }
}

echo "packages: build"
shown "$out/archive.log" cmake -S . -B "$out/archive" -G Ninja -DQEX_BUILD_TOOL=OFF -DQEX_BUILD_TESTS=OFF \
  -DQEX_BUILD_BENCH=OFF -DQEX_BUILD_DOCS=OFF
shown "$out/archive.log" cpack --config "$out/archive/CPackSourceConfig.cmake" -B "$out/archive"
tar -xzf "$out"/archive/qex-*.tar.gz -C "$out"
(
  cd "$out"/qex-*/
  shown "$out/build.log" dpkg-buildpackage -us -uc
)

echo "packages: lintian"
# Overrides are in debian/*.lintian-overrides, with their reasons.
lintian --allow-root --info --pedantic --fail-on error,warning,info,pedantic "$out"/*.changes

if [ -n "$root" ]; then
  echo "packages: a clean root"
  # Debian's part of the sources that apt reads, one line each, as sources.list has them.
  source=$out/sources.list
  # shellcheck disable=SC2016  # apt replaces these names
  apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' \
    "Architecture: $(dpkg --print-architecture)" | sort -u > "$source"
  [ -s "$source" ] || { echo "packages: apt knows no packages of Debian; run apt-get update first" >&2; exit 1; }
  # shellcheck disable=SC1091
  suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
  # Sources as they come from the archive, and the packages for users.
  mkdir -p "$out/root/debs"
  tar -xzf "$out"/archive/qex-*.tar.gz -C "$out/root"
  cp scripts/packages_in_root.sh "$out/root"
  cp "$out"/*.deb "$out/root/debs"
  rm -f "$out"/root/debs/*-dbgsym_*
  # The hooks run in the root of mmdebstrap, which is thrown away.
  mmdebstrap --quiet --variant=minbase --format=null \
    --customize-hook="sync-in '$out/root' /mnt" \
    --customize-hook='chroot "$1" bash /mnt/packages_in_root.sh' \
    "$suite" /dev/null - < "$source"
fi

echo
for package in "$out"/*.deb; do printf '%8d octets  %s\n' "$(stat -c %s "$package")" "$(basename "$package")"; done
