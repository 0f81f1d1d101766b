#!/usr/bin/env bash
# Quick start 1: installs what is missing, builds everything optimised and
# runs the sample host program on its built-in data.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release
cmake --build --preset release
./build/release/examples/zol3d_sample
