#!/usr/bin/env bash
# Renews the pictures of docs/pictures from the program itself.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh
install_packages
build dev quorel2-host-and-plugin

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
with_display build/bin/quorel2-host --demo "$folder" || fail "The demo did not reach its goal."
mkdir -p docs/pictures
cp "$folder"/*-turned.png docs/pictures/dialog.png
cp "$folder"/*-closed.png docs/pictures/host.png
say "Renewed docs/pictures."
