#!/bin/sh
# Runs a Windows program of a build folder (build/NAME/bin/PROGRAM.exe) under Wine, with a prefix in that folder.
# test.sh keeps one server up for the whole run; without one, the first program starts it.
folder=$(cd "$(dirname "$1")/.." && pwd)
WINEPREFIX=${KIV_WINEPREFIX:-$folder/wine} WINEDEBUG=-all exec wine "$@"
