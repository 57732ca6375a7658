#!/usr/bin/env bash
# Benchmarks beside other libraries: "bench.sh [FAMILY...]" runs those families, or all. Installs the peers that are
# missing, prints one table, and writes the same to build/bench/table.json. KIV_BENCH_REPETITIONS (5) is the number of
# runs of which the table has the medians. "bench.sh kiv_inspect [PROGRAM]" runs the tool beside those of binutils and
# LLVM instead: see bench_inspect.py.
if [ "${1:-}" = kiv_inspect ] && [ -n "${2:-}" ]; then program=$(realpath "$2"); fi
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Only the programs that run: cmake's own output matters when it fails.
folder=build/bench
build() {
  mkdir -p $folder/raw
  say "building"
  cmake --preset bench >$folder/cmake.log 2>&1 || { cat $folder/cmake.log >&2; die "cmake failed"; }
  cmake --build --preset bench --target "$@" -- --quiet
}

if [ "${1:-}" = kiv_inspect ]; then
  [ $# -le 2 ] || die "usage: bench.sh kiv_inspect [PROGRAM]"
  install g++ cmake ninja-build python3 pkg-config libbenchmark-dev binutils llvm elfutils
  build kiv_inspect
  python3 scripts/bench_inspect.py $folder ${program:+"$program"}
  python3 scripts/bench_table.py $folder inspect
  exit
fi

families=()
for source in bench/kiv_*_bench.cpp; do
  family=${source#bench/kiv_}
  families+=("${family%_bench.cpp}")
done
known=" ${families[*]} "
if [ $# -gt 0 ]; then families=("$@"); fi
for family in "${families[@]}"; do
  [[ $known == *" $family "* ]] || die "no such family: $family; there are$known"
done

install g++ cmake ninja-build python3 pkg-config libbenchmark-dev libglib2.0-dev libapr1-dev libtalloc-dev \
  libicu-dev libutfcpp-dev libdmalloc-dev libpcre2-dev libre2-dev libtre-dev libgmp-dev libmpfr-dev libboost-dev \
  libabsl-dev libfmt-dev uthash-dev

build $(printf 'kiv_%s_bench ' "${families[@]}")
for family in "${families[@]}"; do
  say "running $family"
  # In turns, so that what else the machine does meets all contestants alike.
  $folder/bin/kiv_"${family}"_bench --benchmark_repetitions="${KIV_BENCH_REPETITIONS:-5}" \
    --benchmark_enable_random_interleaving=true --benchmark_out_format=json \
    --benchmark_out=$folder/raw/"$family".json >$folder/raw/"$family".log 2>&1 ||
    { tail -n 5 $folder/raw/"$family".log >&2; die "the benchmark of $family failed"; }
done
python3 scripts/bench_table.py $folder "${families[@]}"
