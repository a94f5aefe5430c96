# shellcheck shell=bash
# Sourced by demo.sh and test.sh: installs what is missing on a Debian machine, configures, builds.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# Where each preset has a folder of its own. Relative to where the caller stands.
build=$root/build
if [ -n "${KORV_BUILD-}" ]; then
  case $KORV_BUILD in
    /*) build=$KORV_BUILD ;;
    *) build=$PWD/$KORV_BUILD ;;
  esac
fi

# What the tool is built with, and what the tests and KORV32.dll need besides.
# shellcheck disable=SC2034 # demo.sh and test.sh read them
korv_packages=(
  cmake g++ g++-multilib libcli11-dev libfmt-dev libstb-dev libtinyobjloader-dev ninja-build
  nlohmann-json3-dev
)
# shellcheck disable=SC2034
korv_test_packages=(
  clang-14 g++-mingw-w64-i686 googletest libc++-14-dev-wasm32 libc++abi-14-dev-wasm32
  libclang-rt-14-dev-wasm32 lld-14 llvm-14 pkgconf python3 wasi-libc zip
)

complain() {
  echo "korv32: $1" >&2
  exit 2
}

# Prints the packages of those given that are not installed.
missing_of() {
  local package
  for package; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
      echo "$package"
    fi
  done
}

# Tells of each package that apt-get fetches and sets up, and of its errors.
show_installation() {
  local line words
  while IFS= read -r line; do
    case $line in
      Get:*) read -ra words <<<"$line" && echo "  fetching ${words[4]-}" ;;
      'Setting up '*) read -ra words <<<"$line" && echo "  installed ${words[2]-}" ;;
      E:* | W:*) echo "$line" >&2 ;;
    esac
  done
}

# install_missing PACKAGE...
install_missing() {
  if ! command -v dpkg-query >/dev/null; then
    echo "Not a Debian machine: these packages, or what holds the same, are taken to be there: $*"
    return
  fi
  local missing as_root=()
  mapfile -t missing < <(missing_of "$@")
  [ ${#missing[@]} -eq 0 ] && return
  local install=(apt-get install -y --no-install-recommends "${missing[@]}")
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "korv32: packages are missing; an administrator installs them with" >&2
      echo "apt-get update && ${install[*]}" >&2
      exit 2
    fi
    as_root=(sudo)
  fi
  echo "Missing packages: ${missing[*]}"
  echo "Reading the lists of packages (up to a minute)"
  "${as_root[@]}" apt-get update -qq || complain "'apt-get update' failed"
  # apt-get tells what it is about to do before it asks, and is told no.
  "${as_root[@]}" env LC_ALL=C apt-get install --assume-no --no-install-recommends \
    "${missing[@]}" 2>/dev/null | grep -E '^(Need to get|After this operation)' | sed 's/^/  /' || true
  echo "Installing (one to five minutes)"
  "${as_root[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
    --no-install-recommends "${missing[@]}" 2>&1 | show_installation ||
    complain "'${install[*]}' failed"
}

# Where nothing can be written, nothing can be built.
check_build_folder() {
  if ! mkdir -p "$build" 2>/dev/null || [ ! -w "$build" ]; then
    complain "'$build' cannot be written; KORV_BUILD=DIR names another folder to build in"
  fi
}

# configure PRESET [ARGUMENT...]
configure() {
  local preset=$1
  shift
  (cd "$root" && cmake --preset "$preset" -B "$build/$preset" "$@") >/dev/null
}

# On a terminal one line that moves on, elsewhere nothing but what compilers say and how it ended.
show_build() {
  local name=$1 line steps=0 stopped=0
  while IFS= read -r line; do
    case $line in
      *'Re-checking globbed directories'* | *'no work to do.' | '-- '* | 'Consolidate '*) ;;
      '['[0-9]*/[0-9]*']'*)
        steps=$((steps + 1))
        if [ -t 1 ]; then
          printf '\r\033[K%.79s' "$line"
        fi
        ;;
      'ninja: build stopped'*) stopped=1 ;;
      *) printf '%s\n' "$line" ;;
    esac
  done
  if [ "$steps" -ne 0 ] && [ -t 1 ]; then
    printf '\r\033[K'
  fi
  if [ "$stopped" -ne 0 ]; then
    echo "$name: not built" >&2
  elif [ "$steps" -eq 0 ]; then
    echo "$name: up to date"
  else
    echo "$name: $steps steps done"
  fi
}

# build PRESET NAME [ARGUMENT...]: NAME is what people call it.
build_preset() {
  local preset=$1 name=$2
  shift 2
  [ -e "$build/$preset/.ninja_log" ] || echo "$name: building in $build/$preset (some minutes)"
  cmake --build "$build/$preset" "$@" 2>&1 | show_build "$name"
}
