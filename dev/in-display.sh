#!/usr/bin/env bash
# Runs a command on the current display beside a window manager, so that windows get the focus.
set -uo pipefail
openbox --sm-disable >/dev/null 2>&1 &
manager=$!
"$@"
status=$?
kill "$manager" 2>/dev/null
wait "$manager" 2>/dev/null
exit "$status"
