#!/usr/bin/env bash
# Installs what is missing, builds KORV32.dll and the hosted side, and runs every test.
set -euo pipefail
# shellcheck source=scripts/setup.sh
. "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"
preset=hosted
all=
while [ $# -ne 0 ]; do
  case $1 in
    -h | --help)
      cat <<'HELP'
Usage: ./test.sh [--asan] [--all] [OPTION...]
Installs the packages that are missing (as root or with sudo), builds KORV32.dll and the hosted side,
and runs every test. The first run takes five to twenty minutes and some 600 MB beside the packages.

  --asan    the hosted side under AddressSanitizer and UndefinedBehaviorSanitizer
  --all     then also a million triangles through every renderer, KORV32.dll's beside the linked
            driver's, and all 2^32 singles through every conversion, with the driver's floats in SSE
            registers and as in KORV32.dll (a build, and a minute or two each)
Other options are those of ctest: -R NAME runs the tests of that name alone.

KORV_BUILD=DIR in the environment: build there and not in build/. The sources may be read-only then.
HELP
      exit 0
      ;;
    --asan)
      preset=hosted-asan
      # The stack of each allocation is kept; deep ones take a sixth of the time.
      export ASAN_OPTIONS=malloc_context_size=8:${ASAN_OPTIONS-}
      ;;
    --all) all=1 ;;
    *) break ;;
  esac
  shift
done
install_missing "${korv_packages[@]}" "${korv_test_packages[@]}"
check_build_folder
configure windows95
build_preset windows95 KORV32.dll
configure "$preset" -DBUILD_TESTING=ON
build_preset "$preset" "The tests"
ctest --test-dir "$build/$preset" --output-on-failure -j2 "$@"
[ -n "$all" ] || exit 0
KORV_MEMBER_TRIANGLES=1000000 "$build/$preset/tests/test_loader" --gtest_filter='AllMembers/*'
for preset in hosted hosted-x87; do
  configure "$preset" -DBUILD_TESTING=ON
  build_preset "$preset" "The conversions ($preset)" --target exhaustive_conversions
  "$build/$preset/tests/exhaustive_conversions"
done
