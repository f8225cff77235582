#!/usr/bin/env bash
# Installs the Debian packages that are needed and missing. Without the rights to do so it names them and fails.
#   cmake/install-packages.sh [GROUP...]     groups: build (the default), lint, fuzz, bench, amalgamation, windows
set -euo pipefail

packages=()
needs_npm=no
for group in "${@:-build}"; do
  case "$group" in
    build)
      packages+=(cmake ninja-build g++ libsqlite3-dev libutfcpp-dev libcli11-dev libexpat1-dev libgtest-dev libgmock-dev)
      ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    bench) packages+=(python3 libbenchmark-dev libpugixml-dev libhdf5-dev) ;;
    lint) packages+=(clang clang-format clang-tidy) ;;
    amalgamation) needs_npm=yes ;;
    windows)
      packages+=(g++-mingw-w64-x86-64-posix wine wine64 googletest)
      needs_npm=yes
      ;;
    *)
      echo "There is no group of packages \"$group\"." >&2
      exit 1
      ;;
  esac
done

# Node.js may have come with a package manager of its own.
if [[ $needs_npm == yes ]] && ! command -v npm >/dev/null; then
  packages+=(npm)
fi

is_installed() {
  [[ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null || true)" == installed ]]
}

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

as_root=()
if [[ $EUID -ne 0 ]]; then
  as_root=(sudo)
  if ! command -v sudo >/dev/null; then
    echo "These packages are missing, and installing them takes root or sudo: ${missing[*]}" >&2
    exit 1
  fi
fi
echo "Installing ${missing[*]}"
"${as_root[@]}" apt-get update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends "${missing[@]}"
