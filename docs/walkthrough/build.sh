#!/usr/bin/env bash
# Builds the two programs that docs/walkthrough.md looks into, with the compilers of Debian 12. The page's addresses are
# those of the programs beside this script: build them anew only together with the page.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
flags="-std=c++20 -g -gdwarf-5 -O1 -fno-exceptions -fno-rtti -ffile-prefix-map=$PWD/= -ffile-prefix-map=$PWD=. -ffile-prefix-map=/usr/="
g++ $flags -no-pie -Wl,--build-id=none -o sonde main.cpp frames.cpp -lm
i686-w64-mingw32-g++ $flags -shared -nostdlib -Wl,--entry=0,--no-insert-timestamp -o sonde.dll frames.cpp -lmsvcrt
