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
install_missing "${korv_packages[@]}" "${korv_test_packages[@]}"
configure windows95
cmake --build --preset windows95
configure "$preset" -DBUILD_TESTING=ON
cmake --build --preset "$preset"
exec ctest --preset "$preset" -j2 "$@"
