#!/usr/bin/env bash
# interop.sh ONE OTHER: two builds of kiv_socket_test talk to each other, both ways round; Windows programs under Wine.
set -euo pipefail
wine=$(dirname "${BASH_SOURCE[0]}")/../../scripts/wine_run.sh
[ -x "$2" ] || { echo "skipped: $2 is not built"; exit 77; }

run() { case $1 in *.exe) "$wine" "$@" ;; *) "$@" ;; esac; }

# talk SERVER CLIENT
talk() {
  local port heard failure
  exec 3< <(run "$1" --child=serve)
  read -r port <&3
  export KIV_TEST_PORT=${port%$'\r'}
  heard=$(run "$2" --child=ask)
  [ "${heard%$'\r'}" = "all was heard" ] || { echo "$heard"; exit 1; }
  # What the server says at its end: its failures.
  ! read -r failure <&3 || { echo "$failure"; exit 1; }
}
talk "$1" "$2"
talk "$2" "$1"
