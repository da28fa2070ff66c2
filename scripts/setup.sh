#!/usr/bin/env bash
# Installs the packages for building and testing, on Debian 12 and its relatives: only those that are missing.
#
# usage: scripts/setup.sh [PURPOSE...]     each purpose below adds packages
set -euo pipefail

packages=(
  g++ cmake ninja-build
  libgtest-dev                                                      # unit tests
  libcli11-dev libcurl4-openssl-dev nlohmann-json3-dev libssl-dev   # the tool
  ca-certificates                                                   # roots for https, without which libcurl connects nowhere
  openssl python3 python3-asn1crypto                                # the authority, peers in tests, checks of the house
  pkg-config
  graphviz                                                          # compares the drawings of docs/ with their sources
)
for purpose in "$@"; do
  case $purpose in
    coverage) packages+=(gcovr) ;;
    bench)
      packages+=(libbenchmark-dev hyperfine valgrind)
      packages+=(nettle-dev libgmp-dev libgcrypt20-dev libbotan-2-dev libgnutls28-dev libwolfssl-dev) ;;  # peers
    format) packages+=(clang-format-14 git) ;;
    sanitize | fuzz) packages+=(clang libclang-rt-14-dev) ;;
    check) packages+=(git clang libclang-rt-14-dev clang-tidy-14 cppcheck valgrind) ;;
    platforms)
      packages+=(g++-i686-linux-gnu g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user-static googletest) ;;
    abi) packages+=(abigail-tools) ;;                                 # the binary interface
    package) packages+=(debhelper dh-python dpkg-dev lintian mmdebstrap python3-setuptools scdoc) ;;  # Debian packages, and a root to install them in
    docs) packages+=(scdoc man-db fish zsh) ;;                        # manual pages, and the shells that complete
    toolchains) packages+=(clang libc++-14-dev libc++abi-14-dev musl-tools googletest) ;;
    windows) packages+=(g++-mingw-w64-x86-64-posix wine64 googletest) ;;  # with the headers of the tool, above
    bindings)
      packages+=(python3-pytest mypy python3-pip python3-setuptools python3-wheel)  # the Python package
      packages+=(golang-go cargo rustc) ;;
    reference) packages+=(doxygen) ;;                                 # the reference of qex.h and qex.hpp
    browser) packages+=(chromium fonts-dejavu-core) ;;                # reports as a reader sees them
    archive) packages+=(python3-distributed) ;;                       # an archive that several machines check
    *)
      purposes=$(sed -n 's/^    \([a-z][a-z |]*\)).*/\1/p' "$0")
      echo "setup: unknown purpose '$purpose' (${purposes//$'\n'/, })" >&2
      exit 2 ;;
  esac
done

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "setup: this is no Debian system; make sure that these are there, under whatever name: ${packages[*]}" >&2
  exit 0
fi

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}
missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "setup: these packages are missing: ${missing[*]}" >&2
    echo "setup: neither root nor sudo is at hand; install them as root with: apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

echo "setup: installing ${missing[*]}"
apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=120 "$@"
}
apt update
apt install -y --no-install-recommends "${missing[@]}"
