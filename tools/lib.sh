# shellcheck shell=bash disable=SC2034  # the variables are for those who source this file
# What the project's commands share. To be sourced from the root of the checkout.

# Installs the Debian packages that are missing. A user who may not install them is shown the one
# command that does, and nothing is built. Where there is no apt-get, what is needed is said before
# the build begins.
install_packages() {
  if ! command -v apt-get >/dev/null; then
    echo "This system has no apt-get. What is needed stands in these Debian packages: $*" >&2
    if command -v c++ >/dev/null && command -v cmake >/dev/null && command -v ninja >/dev/null; then
      return
    fi
    echo "A C++ compiler, CMake or Ninja is missing. Install them, then try again." >&2
    exit 1
  fi
  local missing=() package as_root=()
  for package in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  if [ "$(id -u)" -ne 0 ]; then
    if ! may_use_sudo; then
      echo "Packages are missing. Run this as root, then try again:" >&2
      echo "apt-get install --no-install-recommends ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  echo "Installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null
}

# Whether sudo is there and can be answered: without a password or at a terminal.
may_use_sudo() {
  command -v sudo >/dev/null && { sudo -n true 2>/dev/null || [ -t 0 ]; }
}

build_packages=(g++ cmake ninja-build libboost-dev)
windows_packages=(g++-mingw-w64-x86-64-posix wine64)

# Wine keeps its state inside the build folder and its advice to itself.
use_wine() {
  wine=/usr/lib/wine/wine64
  export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all LC_ALL=C.UTF-8  # which names of files need
  mkdir -p build
  [ -e "$WINEPREFIX/ready" ] && return
  rm -rf "$WINEPREFIX"
  if ! "$wine" wineboot --init >build/wineboot.log 2>&1; then
    cat build/wineboot.log >&2
    echo "Wine could not make its folder $WINEPREFIX." >&2
    exit 1
  fi
  touch "$WINEPREFIX/ready"
}

# build_preset NAME [CMAKE OPTION ...]
build_preset() {
  cmake --preset "$@"
  cmake --build --preset "$1"
}

# run_tests PRESET
run_tests() {
  ctest --preset "$1" --parallel "$(nproc)"
}
