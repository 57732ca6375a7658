#!/usr/bin/env bash
# All tests: on linux-x86_64, with the address and undefined-behaviour sanitizers, those of threads with the thread
# sanitizer, and on the Windows DLL under Wine. "test.sh PRESET..." runs only these presets; linux-i686 and
# windows-x86_64 are two further ones.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
presets=("$@")
[ $# -gt 0 ] || presets=(linux-x86_64 asan tsan windows-i686)
export CTEST_OUTPUT_ON_FAILURE=1

stop_wine() { [ -z "${KIV_WINEPREFIX:-}" ] || WINEPREFIX=$KIV_WINEPREFIX wineserver -k 2>/dev/null || true; }

start_wine() {
  command -v wine >/dev/null || die "wine is missing: please install the packages wine and wine32:i386"
  export KIV_WINEPREFIX=$PWD/build/$1/wine WINEDEBUG=-all
  mkdir -p "$KIV_WINEPREFIX"
  trap stop_wine EXIT
  WINEPREFIX=$KIV_WINEPREFIX wineserver -p
  say "starting wine"
  WINEPREFIX=$KIV_WINEPREFIX WINEDLLOVERRIDES='mscoree,mshtml=' timeout 300 wine wineboot --init >/dev/null 2>&1 ||
    die "wine does not start: please check that the package wine32:i386 is installed"
}

install_build_tools
for preset in "${presets[@]}"; do
  case $preset in
    windows-i686) install_windows_tools ;;
    windows-x86_64) install_windows_tools; install g++-mingw-w64-x86-64-posix wine64 ;;
    linux-i686) install g++-multilib ;;
  esac
done
for preset in "${presets[@]}"; do
  # The demo configures without tests.
  build "$preset" -DKIV_TESTS=ON -DKIV_EXAMPLES=ON
done
for preset in "${presets[@]}"; do
  say "testing $preset"
  jobs=2
  case $preset in windows-*) start_wine "$preset"; jobs=1 ;; esac
  ctest --test-dir "build/$preset" --parallel $jobs
  case $preset in windows-*) stop_wine ;; esac
done
