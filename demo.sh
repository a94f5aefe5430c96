#!/usr/bin/env bash
# Installs what is missing, builds, renders the demo and says where the pictures are.
set -euo pipefail
# shellcheck source=scripts/setup.sh
. "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"
for argument; do
  case $argument in
    -h | --help)
      cat <<'HELP'
Usage: ./demo.sh [OPTION...]
Installs the packages that are missing (as root or with sudo), builds the tool and draws the demo.
The first run builds for one to five minutes and takes some 100 MB beside the packages; after that
only what has changed is built.

Options are those of `korv demo`, among them
  --chip CHIP     only this chip; may be repeated
  --scene NAME    only this scene; may be repeated
  --diff CHIP     also pictures of where the other chips differ from this one
  -o DIR          folder of the pictures (default pictures/, or pictures/ in KORV_BUILD)

KORV_BUILD=DIR in the environment: build there and not in build/. The sources may be read-only then.
HELP
      exit 0
      ;;
  esac
done
install_missing "${korv_packages[@]}"
check_build_folder
# Without what only tests need, unless they have been set up before.
[ -f "$build/hosted/build.ninja" ] || configure hosted -DBUILD_TESTING=OFF
build_preset hosted "The tool" --target korv

pictures=(-o "$root/pictures")
if [ -n "${KORV_BUILD-}" ]; then
  pictures=(-o "$build/pictures")
fi
for argument; do
  case $argument in
    -o* | --output | --output=*) pictures=() ;;
  esac
done
exec "$build/hosted/tools/korv/korv" demo "${pictures[@]}" "$@"
