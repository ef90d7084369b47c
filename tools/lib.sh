# shellcheck shell=bash disable=SC2034  # the variables are for those who source this file
# What the project's commands share. To be sourced from the root of the checkout.

oldest_cmake=$(sed -nE 's/^cmake_minimum_required\(VERSION ([0-9.]+)\)/\1/p' CMakeLists.txt)

# Installs the Debian packages that are missing. A user who may not install them is shown the
# command that does, and nothing is built. Without apt-get, or with too old a CMake, says what is
# needed before it installs anything.
install_packages() {
  local missing=() package as_root=()
  if command -v cmake >/dev/null; then
    refuse_old_cmake "$(cmake --version | sed -n '1s/[^0-9]*//p')"
  fi
  if ! command -v apt-get >/dev/null; then
    echo "This system has no apt-get. What is needed stands in these Debian packages: $*" >&2
    if command -v c++ >/dev/null && command -v cmake >/dev/null && command -v ninja >/dev/null; then
      return
    fi
    echo "A C++ compiler, CMake or Ninja is missing. Install them, then try again." >&2
    exit 1
  fi
  for package in "$@"; do
    has_package "$package" || missing+=("$package")
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
  if ! command -v cmake >/dev/null; then
    refuse_old_cmake "$(apt-cache policy cmake | sed -n 's/^  Candidate: //p')"
  fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" |
    grep --line-buffered -E '^(Need to get|Get:|Setting up) '
}

# A CMake that is not Debian's own is as good.
has_package() {
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ] ||
    { [ "$1" = cmake ] && command -v cmake >/dev/null; }
}

refuse_old_cmake() {
  [ "$(printf '%s\n' "$oldest_cmake" "$1" | sort -V | head -n 1)" != "$oldest_cmake" ] || return 0
  echo "CMake $oldest_cmake or later is needed, and this system has ${1:-none}. Kitware's packages at" \
    "https://apt.kitware.com or 'pip install cmake' bring a new one. Nothing was installed." >&2
  exit 1
}

# Whether sudo can work: without a password, or at a terminal.
may_use_sudo() {
  command -v sudo >/dev/null && { sudo -n true 2>/dev/null || [ -t 0 ]; }
}

build_packages=(g++ cmake ninja-build libboost-dev libfast-float-dev nlohmann-json3-dev libfmt-dev)
window_packages=(pkg-config libsdl2-dev libimgui-dev libstb-dev libgl-dev libgl1-mesa-dri)
windows_packages=(g++-mingw-w64-x86-64-posix wine64)

# copy_sources FOLDER: the sources as they stand here, without what was built, into a new folder
copy_sources() {
  rm -rf "$1"
  mkdir -p "$1"
  tar --exclude=./build --exclude=./.git -c . | tar -x -C "$1"
}

# Prints the command, which distributions keep in different places.
find_wine() {
  local place
  for place in wine64 /usr/lib/wine/wine64 /usr/lib/*/wine/wine wine64-stable wine; do
    command -v "$place" && return
  done
  echo "Wine is installed, but none of its commands is where it was looked for." >&2
  return 1
}

# Keeps the state of Wine in the build folder, and its messages quiet.
use_wine() {
  wine=$(find_wine)
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
