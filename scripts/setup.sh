# Sourced by demo.sh and test.sh: installs what is missing on a Debian machine, configures, builds.

korv_packages=(
  cmake g++ g++-mingw-w64-i686 g++-multilib googletest libcli11-dev libfmt-dev libstb-dev
  libtinyobjloader-dev ninja-build nlohmann-json3-dev
)

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

install_missing() {
  missing=()
  local package
  for package in "${korv_packages[@]}"; do
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

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" ${1:+--target "$@"}
}
