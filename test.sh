#!/usr/bin/env bash
# Builds everything and runs every test.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")"

cmake/install-packages.sh
cmake --preset release
cmake --build --preset release
ctest --preset release
