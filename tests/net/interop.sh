#!/usr/bin/env bash
# interop.sh ONE OTHER: two builds of kiv_socket_peer talk to each other, both ways round; Windows programs under Wine.
set -euo pipefail
tests=$(dirname "${BASH_SOURCE[0]}")
for program in "$1" "$2"; do
  [ -x "$program" ] || { echo "skipped: $program is not built"; exit 77; }
done

run() {
  case $1 in *.exe) "$tests/../../scripts/wine_run.sh" "$@" ;; *) "$@" ;; esac
}

# talk SERVER CLIENT
talk() {
  local port
  exec 3< <(run "$1" serve || echo "the server failed")
  read -r port <&3
  run "$2" ask "${port%$'\r'}"
  # What the server says at its end, if anything.
  ! read -r failure <&3 || { echo "$failure"; exit 1; }
  exec 3<&-
}
talk "$1" "$2"
talk "$2" "$1"
echo "both ways round"
