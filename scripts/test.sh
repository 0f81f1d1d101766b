#!/usr/bin/env bash
# Quick start 2: installs what is missing, builds the library and its tests
# under AddressSanitizer and UndefinedBehaviorSanitizer, runs every test, and
# fuzzes each file reader for a short, bounded time.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset sanitize
cmake --build --preset sanitize
ctest --preset sanitize
FUZZ_SECONDS="${FUZZ_SECONDS:-10}" bash scripts/fuzz.sh
