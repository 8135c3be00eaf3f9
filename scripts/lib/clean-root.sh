# clean-root.sh - a folder with Debian's base system and nothing else, and commands that run in it.
# To be sourced by bash, after packages.sh; needs root.
#
#     make_clean_root FOLDER             # from the archive that this machine's apt uses
#     in_clean_root FOLDER COMMAND...    # as root, with its own /proc and mounts
#     remove_clean_root FOLDER

# The lines "URI SUITE COMPONENT" of the Debian archives that this machine's apt knows.
debian_sources() {
  apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | LC_ALL=C sort -u
}

make_clean_root() {
  local root=$1 codename uri
  if [ "$(id -u)" -ne 0 ]; then
    echo "A clean root can be made by root alone. Start this script with sudo." >&2
    exit 1
  fi
  ensure_packages clean-root
  [ -n "$(debian_sources)" ] || apt-get update -qq
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  uri=$(debian_sources | awk -v suite="$codename" '$2 == suite && $3 == "main" { print $1; exit }')
  if [ -z "$uri" ]; then
    echo "This machine's apt knows no archive of $codename, so there is nothing to make a root from." >&2
    exit 1
  fi
  mkdir -p "$root"
  debootstrap --variant=minbase "$codename" "$root" "$uri" >"$root.log" 2>&1 || {
    tail -n 20 "$root.log" >&2
    echo "debootstrap failed" >&2
    exit 1
  }
  rm -f "$root.log"
  # Inside, apt works as it does outside.
  debian_sources | sed 's/^/deb /' >"$root/etc/apt/sources.list"
  apt-config dump | grep '^Acquire::' >"$root/etc/apt/apt.conf.d/90machine" || true
  cp /etc/resolv.conf /etc/hosts "$root/etc/"
  in_clean_root "$root" apt-get update -qq
}

in_clean_root() {
  local root=$1
  shift
  unshare --mount --pid --fork --kill-child bash -c '
    mount -t proc proc "$0/proc" && mount --rbind /dev "$0/dev" && exec chroot "$0" "$@"' \
    "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive CMAKE_BUILD_PARALLEL_LEVEL="${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}" "$@"
}

remove_clean_root() {
  rm -rf --one-file-system "$1"
}
