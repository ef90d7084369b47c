# What the project's commands share. To be sourced from the root of the checkout.

# Installs the Debian packages that are missing. On other systems it names what to install and stops, unless the build
# tools are there.
install_packages() {
  if ! command -v apt-get >/dev/null; then
    if command -v c++ >/dev/null && command -v cmake >/dev/null && command -v ninja >/dev/null; then return; fi
    echo "This system has no apt-get. Install what these Debian packages hold, then try again: $*" >&2
    exit 1
  fi
  local missing=() package as_root=()
  for package in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "Installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null
}

build_packages=(g++ cmake ninja-build libboost-dev)
windows_packages=(g++-mingw-w64-x86-64-posix wine64)

# Wine keeps its state inside the build folder and its advice to itself.
use_wine() {
  export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all LC_ALL=C.UTF-8  # which names of files need
  wine=/usr/lib/wine/wine64
  mkdir -p build
  [ -d "$WINEPREFIX" ] || "$wine" wineboot --init >/dev/null 2>&1
}

# build_preset NAME [CMAKE OPTION ...]
build_preset() {
  cmake --preset "$@"
  cmake --build "build/$1"
}
