#!/usr/bin/env bash
# Installs what is missing, builds, renders the demo and says where the pictures are.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/setup.sh
install_missing
build hosted korv
exec build/hosted/tools/korv/korv demo -o pictures "$@"
