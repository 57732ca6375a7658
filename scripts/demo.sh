#!/usr/bin/env bash
# Builds the library and shows kiv_inspect on a real program, its own, and on the library.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install_build_tools
build linux-x86_64 -DKIV_TESTS=OFF -DKIV_EXAMPLES=ON

program=build/linux-x86_64/bin/kiv_inspect
library=build/linux-x86_64/lib/libkiv_common.so
show() {
  printf '\n$ %s\n' "$*"
  "$@"
}
show $program symbols $program '*main*'
show $program symbols --by-name $library 'kiv_avl_find*'
show $program symbols --by-size 5 $library
main=$($program resolve $program main | cut -d ' ' -f 1)
show $program resolve $program "$main" "$(printf '%x' $((0x$main + 0x1f)))" 0 main
# The section around main, main itself, and what follows it.
show $program ranges $program "$main" "$(printf '%x' $((0x$main + 0xff)))"
show $program constants $program 'kiv::inspect::Outcome::*'
show $program constants $program '*::k[CM]*'
# The types of its debug information, drawn, and a walk: into the right half, and back.
show $program tree --width 120 $program kiv::inspect::ConstantValue
show $program tree --navigate --cell 16 $program kiv::inspect::Outcome <<< $'r\np\nq'
# What main starts with, and its first instruction's bits.
show $program bytes $program "$main" 32 0:16
# The same as instructions.
show $program disasm $program "$main" 8
# The same from a server, at a port that the system chooses and its first line tells.
coproc server { exec $program serve --once $program 0; }
server_pid=$server_PID
trap 'kill $server_pid 2>/dev/null || true' EXIT
read -r -t 60 line <&"${server[0]}"
printf '\n$ %s serve --once %s 0\n%s\n' $program $program "$line"
show $program ask localhost "${line##* }" ranges "$main" "$main"
# What it says when it fails, with its memory watched.
show $program --debug-heap resolve absent 0 2>&1 || echo "(exit status $?)"
