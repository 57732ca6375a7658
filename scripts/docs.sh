#!/usr/bin/env bash
# Generates the reference from the public headers into build/docs/html.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install doxygen
mkdir -p build
doxygen docs/Doxyfile
say "build/docs/html/index.html"
