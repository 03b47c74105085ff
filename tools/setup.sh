#!/bin/sh
# Installs what building on Debian 12 needs, if it is not there; otherwise does nothing.
# Usage: tools/setup.sh PACKAGE...
set -eu

missing=$(for package in "$@"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
    echo "$package"
done)
[ -z "$missing" ] && exit 0
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
# shellcheck disable=SC2086  # one word each
apt-get install -qq -y --no-install-recommends $missing
