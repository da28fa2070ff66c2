#!/usr/bin/env bash
# Inside a clean root: installs the packages of /mnt/debs in one line, and runs the tests of /mnt/qex-*/debian/tests, each
# after the packages that it names. scripts/packages.sh copies all of it there.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

# Only what fails is of interest.
quietly() {
  "$@" > /tmp/log 2>&1 || { cat /tmp/log; echo "packages: failed: $*"; return 1; }
}

cd /mnt/debs
echo '$ apt-get install ./*.deb'
quietly apt-get install -y --no-install-recommends ./*.deb
dpkg-query -W -f '${db:Status-Abbrev} ${Package} ${Version}\n' 'libqex*' qex python3-qex

cd /mnt/qex-*/
while read -r field value; do
  case $field in
    Tests:) test=$value ;;
    Depends:)
      IFS=', ' read -ra needs <<< "$value"
      quietly apt-get install -y --no-install-recommends "${needs[@]}"
      echo "== debian/tests/$test"
      AUTOPKGTEST_TMP=$(mktemp -d) "debian/tests/$test"
      ;;
  esac
done < debian/tests/control
