#!/usr/bin/env bash
# Formats the sources (with --check: only tells what is not formatted) and runs clang-tidy on them.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install_build_tools
install git clang-format clang-tidy
sources=$(git ls-files '*.c' '*.cpp' '*.h') || die "this is no git checkout"
mapfile -t sources <<<"$sources"
if [ "${1:-}" = --check ]; then
  clang-format --dry-run --Werror "${sources[@]}"
else
  clang-format -i "${sources[@]}"
fi
build linux-x86_64 -DKIV_TESTS=ON
git ls-files 'base/*.cpp' 'containers/*.cpp' 'debugsupport/*.cpp' 'examples/*.cpp' 'foundation/*.cpp' 'net/*.cpp' 'numbers/*.cpp' 'objects/*.cpp' 'os/*.cpp' 'text/*.cpp' |
  grep -v win32 |
  xargs -P 2 -n 4 clang-tidy -p build/linux-x86_64 --quiet --extra-arg=-Wno-ignored-optimization-argument
