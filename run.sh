#!/usr/bin/env bash
# Installs what is needed, builds, and starts the stand-alone host on its embedded simulated
# controller. Arguments go to the host. Without a display the host plays its demo under a virtual X
# server instead and leaves pictures and the protocol transcript in out/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source dev/common.sh

install_packages
build dev quorel2-host-and-plugin

host=build/bin/quorel2-host
for option in "$@"; do
    case $option in
    --help | --version | -h | -v) exec "$host" "$@" ;;
    esac
done

if [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]; then
    say "Starting the host."
    exec "$host" "$@"
fi

say "There is no display: playing the demo under a virtual X server."
rm -rf out
if with_display "$host" --demo out "$@"; then
    say "Done: the controller holds the new definition. Pictures and transcript are in out/:"
    ls out
else
    fail "The demo did not reach its goal; what it did is in out/."
fi
