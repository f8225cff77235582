#!/bin/sh
# Downloads the upstream archive of the source package $1 into the current folder, from where the machine has its Debian packages, with package
# lists of its own: the machine's stay untouched.
set -eu
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT
mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$state/parts"
for sources in /etc/apt/sources.list /etc/apt/sources.list.d/debian.list /etc/apt/sources.list.d/debian.sources; do
  [ -f "$sources" ] || continue
  sed -e 's/^Types:.*/Types: deb-src/' -e 's/^deb /deb-src /' "$sources" >"$state/parts/$(basename "$sources")"
done
apt() {
  apt-get -qq -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$state/parts" \
    -o Dir::State::Lists="$state/lists" -o Dir::Cache="$state/cache" -o APT::Sandbox::User=root "$@"
}
apt update
apt source --tar-only --download-only "$1"
