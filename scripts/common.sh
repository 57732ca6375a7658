# Sourced by the scripts: finds the repository, and installs what a build or a test needs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '== %s\n' "$*"; }
die() { printf '%s\n' "$*" >&2; exit 1; }

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

installed() { dpkg-query -W -f '${Status}\n' "$1" 2>/dev/null | grep -q 'ok installed'; }

# quietly COMMAND...: shows what a command prints only when it fails.
quietly() {
  local output
  output=$("$@" 2>&1) || { printf '%s\n' "$output" >&2; return 1; }
}

apt_install() { as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@"; }

# install PACKAGE...: installs what is missing of a list.
install() {
  local missing=() package
  for package in "$@"; do installed "$package" || missing+=("$package"); done
  [ ${#missing[@]} -eq 0 ] && return
  command -v apt-get >/dev/null || die "please install: ${missing[*]}"
  [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null || die "please install, or run this as root: ${missing[*]}"
  say "installing ${missing[*]}"
  if [ -z "${package_lists_are_new:-}" ]; then
    # A complaint about one stale index is no reason to stop.
    quietly as_root apt-get update -qq || true
    package_lists_are_new=1
  fi
  # Where the newest of both architectures differ, one suite has them in step.
  apt_install "${missing[@]}" >/dev/null 2>&1 || quietly apt_install -t bookworm "${missing[@]}" ||
    die "could not install: ${missing[*]}"
}

# MPFR is an oracle of the tests; kiv_inspect disassembles with Capstone.
install_build_tools() { install g++ cmake ninja-build googletest pkg-config libmpfr-dev libcapstone-dev; }

install_windows_tools() {
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    as_root dpkg --add-architecture i386
    package_lists_are_new=
  fi
  install g++-mingw-w64-i686-posix wine wine32:i386
}

# build PRESET [CMAKE-ARGUMENT...]
build() {
  say "building $1"
  quietly cmake --preset "$@" || die "cmake failed"
  cmake --build --preset "$1" -- --quiet
}
