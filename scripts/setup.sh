# Sourced by demo.sh and test.sh: installs what is missing on a Debian machine, configures, builds.

# What the tool is built with, and what the tests and KORV32.dll need besides.
korv_packages=(
  cmake g++ g++-multilib libcli11-dev libfmt-dev libstb-dev libtinyobjloader-dev ninja-build
  nlohmann-json3-dev
)
korv_test_packages=(g++-mingw-w64-i686 googletest)

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "korv32: installing packages needs root or sudo; missing: ${missing[*]}" >&2
    exit 2
  fi
}

# install_missing PACKAGE...
install_missing() {
  missing=()
  local package
  for package; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "Installing: ${missing[*]}"
  as_root apt-get update -qq
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
}

# configure PRESET [ARGUMENT...]
configure() {
  local preset=$1
  shift
  cmake --preset "$preset" "$@" >/dev/null
}
