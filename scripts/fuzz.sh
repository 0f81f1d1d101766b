#!/usr/bin/env bash
# Builds the libFuzzer targets of the file readers with clang and runs each one
# for a bounded time on seeds written by the library's own writers.
#   FUZZ_SECONDS   seconds per target (default 30)
#   FUZZ_TARGETS   names to run, e.g. "mri png" (default: every target built)
# Inputs that fail are kept as build/fuzz/artifacts/<target>-crash-*; the
# script then exits non-zero.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${FUZZ_SECONDS:-30}"
build=build/fuzz

if ! command -v clang++ >/dev/null; then
  echo "clang++ is required: apt-get install -y clang libclang-rt-14-dev" >&2
  exit 2
fi
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DZOL3D_FUZZ=ON \
  -DZOL3D_BUILD_TESTS=OFF -DZOL3D_BUILD_BENCHMARKS=OFF -DZOL3D_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target zol3d_fuzz -j2

targets="${FUZZ_TARGETS:-$(cd "$build/fuzz" && ls fuzz_* | sed 's/^fuzz_//')}"
mkdir -p "$build/artifacts"
failed=()
for name in $targets; do
  seeds="$build/corpus/$name/seeds"
  corpus="$build/corpus/$name/found"
  mkdir -p "$seeds" "$corpus"
  "$build/fuzz/seeds_$name" "$seeds"
  echo "== fuzz_$name for ${seconds}s"
  if ! "$build/fuzz/fuzz_$name" "$corpus" "$seeds" -max_total_time="$seconds" -timeout=10 \
       -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$build/artifacts/$name-" 2>"$build/fuzz_$name.log"; then
    failed+=("$name")
    tail -40 "$build/fuzz_$name.log" >&2
  fi
  grep -E "^stat::number_of_executed_units|^stat::peak_rss_mb" "$build/fuzz_$name.log" || true
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz targets that failed: ${failed[*]}" >&2
  exit 1
fi
echo "all fuzz targets ran clean"
