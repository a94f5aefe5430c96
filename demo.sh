#!/usr/bin/env bash
# Installs what is missing, builds, renders the demo and says where the pictures are.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/setup.sh
install_missing "${korv_packages[@]}"
# Without what only tests need, unless they have been set up before.
[ -f build/hosted/CMakeCache.txt ] || configure hosted -DBUILD_TESTING=OFF
cmake --build --preset hosted --target korv
exec build/hosted/tools/korv/korv demo -o pictures "$@"
