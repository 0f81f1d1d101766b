#!/usr/bin/env bash
# Installs the Debian packages the library builds, tests and benchmarks with.
# Idempotent: when every package is present it returns at once.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  libeigen3-dev libtbb-dev
  libglew-dev libgl-dev libopengl-dev libegl-dev libegl-mesa0 libgl1-mesa-dri libglx-mesa0
  libopencv-core-dev libopencv-imgproc-dev
  liblzf-dev liblodepng-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
