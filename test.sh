#!/usr/bin/env bash
# Installs what is missing, builds KORV32.dll and the hosted side, and runs every test. With --asan
# the hosted side is under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/setup.sh
preset=hosted
if [ "${1-}" = --asan ]; then
  preset=hosted-asan
  shift
fi
install_missing
build windows95
build "$preset"
exec ctest --preset "$preset" -j2 "$@"
