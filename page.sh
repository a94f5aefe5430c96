#!/usr/bin/env bash
# Installs what is missing and builds the page: driver, board and host in one HTML file.
set -euo pipefail
# shellcheck source=scripts/setup.sh
. "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"
test=
case ${1-} in
  '') ;;
  -h | --help)
    cat <<'HELP'
Usage: ./page.sh [--test [NAME...]]
Installs the packages that are missing (as root or with sudo) and builds korv.html: the driver, the board and the
host in one file that any current browser opens from disk, without a network. The first run takes five to ten
minutes and some 1.2 GB, most of them packages.

  --test  also builds the tool and runs the page's tests against it, in Node and in a headless Chromium; NAME is one
          of those in web/tests/, as in 'laboratory'. Screenshots are put into build/web/screenshots/

KORV_BUILD=DIR in the environment: build there and not in build/. The sources may be read-only then.
HELP
    exit 0
    ;;
  --test)
    test=yes
    shift
    ;;
  *) complain "unknown option '$1', expected --test or --help" ;;
esac

packages=("${korv_packages[@]}" emscripten)
if ! command -v npm >/dev/null; then
  packages+=(nodejs npm)
fi
if [ -n "$test" ]; then
  packages+=(chromium)
fi
install_missing "${packages[@]}"
check_build_folder
mkdir -p "$build/web"
# emscripten's own scripts find Debian's packages here, whichever Node runs them.
export NODE_PATH=/usr/share/nodejs KORV_BUILD=$build
# Its libraries are Debian's ready-made ones, in a folder that only root may write.
export EM_FROZEN_CACHE=1
# Packages lie beside what is built of them, as the sources may be read-only.
if ! cmp -s "$root/web/package-lock.json" "$build/web/package-lock.json" || [ ! -e "$build/web/node_modules" ]; then
  echo "The page's packages: npm brings them"
  cp "$root/web/package.json" "$build/web/"
  cp "$root/web/package-lock.json" "$build/web/package-lock.new"
  mv "$build/web/package-lock.new" "$build/web/package-lock.json"
  (cd "$build/web" && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error) >"$build/web/npm.log" 2>&1 ||
    { rm -f "$build/web/package-lock.json"; cat "$build/web/npm.log" >&2; complain "'npm ci' failed"; }
fi
configure web
build_preset web "The module"
node "$root/web/tools/build.mjs"
[ -n "$test" ] || exit 0

ln -sfn "$root/web" "$build/web/source"
"$build/web/node_modules/.bin/tsc" -p "$build/web/source/tsconfig.json" --preserveSymlinks
# Without what only its own tests need, unless they have been set up before.
[ -f "$build/hosted/build.ninja" ] || configure hosted -DBUILD_TESTING=OFF
build_preset hosted "The tool" --target korv
node "$root/web/tools/test.mjs" "$@"
