#!/usr/bin/env bash
# Quick start 2: installs what is missing, builds the library and its tests
# under AddressSanitizer and UndefinedBehaviorSanitizer, and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset sanitize
cmake --build --preset sanitize
ctest --preset sanitize
