#!/usr/bin/env bash
# Builds the library and shows kiv_inspect on a real program, its own.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install_build_tools
build linux-x86_64 -DKIV_TESTS=OFF

program=build/linux-x86_64/bin/kiv_inspect
show() {
  printf '\n$ %s\n' "$*"
  "$@"
}
show $program symbols $program 'kiv_*'
show $program symbols $program 'main'
main=$($program symbols $program main | cut -d ' ' -f 1)
show $program resolve $program "$main" "$(printf '%x' $((0x$main + 0x1f)))" 0
