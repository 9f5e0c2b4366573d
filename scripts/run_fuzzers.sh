#!/usr/bin/env bash
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the fuzzers and runs those that are named, or all, for FUZZ_SECONDS each (60). Corpora grow in
# build/fuzz/corpus, on top of the stored inputs; an input that fails is printed and kept in
# build/fuzz/findings. Run one again:
#   build/fuzz/fuzz/zelmo_<target>_fuzzer build/fuzz/findings/<file>
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_deps.sh --with-fuzzers
cmake --preset fuzz > /dev/null
cmake --build --preset fuzz

# Absolute, since one target works in a folder of its own.
build="$PWD/build/fuzz"
mkdir -p "$build/findings" "$build/scratch"
export TMPDIR="$build/scratch"
export ASAN_OPTIONS="detect_stack_use_after_return=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$PWD/tests/support/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1"

if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for fuzzer in "$build"/fuzz/zelmo_*_fuzzer; do
    name=${fuzzer##*/zelmo_}
    targets+=("${name%_fuzzer}")
  done
fi

failed=()
for target in "${targets[@]}"; do
  corpus="$build/corpus/$target"
  log="$build/findings/$target.log"
  mkdir -p "$corpus"
  # 10 s for one input is a hang: the slowest known ones take a few tenths.
  if "$build/fuzz/zelmo_${target}_fuzzer" -max_total_time="${FUZZ_SECONDS:-60}" -timeout=10 \
    -rss_limit_mb=2048 -max_len=1024 -print_final_stats=1 -artifact_prefix="$build/findings/$target-" \
    "$corpus" "$PWD/fuzz/regressions/$target" > "$log" 2>&1; then
    executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1)
    printf '%-13s %8s inputs, %s\n' "$target" "$executed" "$coverage"
  else
    failed+=("$target")
    printf '%-13s FAILED\n' "$target"
    tail -n 60 "$log"
  fi
done
rm -rf "$build/scratch"
[ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}; inputs in build/fuzz/findings"; exit 1; }
