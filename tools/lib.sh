# What the project's commands share. Source it from the root of the checkout.

# Installs the Debian packages that are missing. On other systems it names the missing tools and stops.
install_packages() {
  local missing=() package
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    local tool
    for tool in c++ cmake ninja; do
      command -v "$tool" >/dev/null || missing+=("$tool")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Install these first, by the names that your system gives them: $*" >&2
    exit 1
  fi
  for package in "$@"; do
    dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "Installing: ${missing[*]}"
  "${as_root[@]}" apt-get update -q
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}
