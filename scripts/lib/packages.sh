# packages.sh - installs the Debian packages that a script needs. To be sourced by bash.
#
#     source "$(dirname "$0")/lib/packages.sh"
#     ensure_packages build tools
#
# As root, or if sudo needs no password, missing packages are installed. Otherwise the script ends
# and prints the command that the user must run.

# The packages of one group.
packages_of() {
  case "$1" in
    build) echo "cmake ninja-build g++" ;;
    tools) echo "libcli11-dev nlohmann-json3-dev libncurses-dev" ;;
    test) echo "googletest python3 binutils pkg-config libexpat1-dev libicu-dev libplist-dev strace python3-jsonschema gdb mandoc tmux" ;;
    clang) echo "clang libclang-rt-14-dev" ;;
    tidy) echo "clang-tidy" ;;
    powerpc) echo "g++-powerpc-linux-gnu qemu-user" ;;
    portable) echo "g++-powerpc-linux-gnu g++-12-multilib-s390x-linux-gnu" ;;
    debugger) echo "gdb-multiarch" ;;
    mutation) echo "python3-clang-14 util-linux" ;;
    benchmark) echo "libbenchmark-dev libboost-dev libglib2.0-dev libicu-dev libplist-dev libpoco-dev pkg-config" ;;
    peers) echo "libabsl-dev libfmt-dev python3-matplotlib qt6-base-dev" ;;
    packages) echo "dpkg-dev fakeroot file lintian binutils" ;;
    clean-root) echo "debootstrap util-linux" ;;
    darwin) echo "gcc-12-source make libgmp-dev libmpfr-dev libmpc-dev zlib1g-dev flex" ;;
    abi) echo "abigail-tools" ;;
    pictures) echo "graphviz fonts-dejavu-core" ;;
    reference) echo "doxygen" ;;
    checks) echo "clang-format git python3 python3-pyelftools" ;;
    *)
      echo "packages: there is no group \"$1\"" >&2
      return 1
      ;;
  esac
}

# ensure_packages GROUP...: installs what is missing, or ends the script and prints what to install.
ensure_packages() {
  local group package names missing=()
  for group in "$@"; do
    names=$(packages_of "$group") || exit 2
    for package in $names; do
      if ! dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed; then
        missing+=("$package")
      fi
    done
  done
  if [ ${#missing[@]} -eq 0 ]; then
    return 0
  fi
  if ! command -v apt-get >/dev/null; then
    echo "This script needs Debian's packages: ${missing[*]}" >&2
    exit 1
  fi
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! sudo -n true 2>/dev/null; then
      echo "Some packages are missing. Install them with this line, and start again:" >&2
      echo "  sudo apt-get install --no-install-recommends ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo -n)
  fi
  echo "Installing ${missing[*]} ..." >&2
  local install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive
    apt-get install -qq -y --no-install-recommends "${missing[@]}")
  # The package lists of a fresh machine are missing or old.
  if ! "${install[@]}" >/dev/null 2>&1; then
    if ! "${as_root[@]}" apt-get update -qq >&2 || ! "${install[@]}" >/dev/null; then
      echo "The packages could not be installed. The line was:" >&2
      echo "  apt-get install --no-install-recommends ${missing[*]}" >&2
      exit 1
    fi
  fi
}
