#!/usr/bin/env bash
# Builds KaDom and does its main job: an XML file goes into a DOM database, is looked at and edited, and comes out again.
#   ./run.sh [FILE.xml]
set -euo pipefail

input="$(realpath -- "${1:-$(dirname -- "${BASH_SOURCE[0]}")/examples/sample.xml}")"
cd -- "$(dirname -- "${BASH_SOURCE[0]}")"

# Shows a command and runs it.
run() {
  printf '\n$'
  printf ' %q' "$@"
  printf '\n'
  "$@"
}

cmake/install-packages.sh
run cmake --preset release
run cmake --build --preset release --target kadom KaDom KaDatabase

PATH="$PWD/build/release/bin:$PATH"
mkdir -p out
rm -f out/sample.db out/sample.db-journal out/first.xml out/second.xml
run kadom import out/sample.db first "$input"
run kadom tree out/sample.db first --limit 40
run kadom set out/sample.db first 1 edited "by hand: <yes> & no" --type Text
run kadom set out/sample.db first 1 matrix 1 0 0 0 1 0 0 0 1 --type DoubleArray3x3 --unit 12
run kadom get out/sample.db first 1

# What comes out must go in again and come out the same.
run kadom export out/sample.db first out/first.xml
run kadom import out/sample.db second out/first.xml
run kadom export out/sample.db second out/second.xml
run kadom ls out/sample.db
run cmp out/first.xml out/second.xml
printf '\nout/first.xml and out/second.xml are the same, byte for byte.\n'
