#!/usr/bin/env bash
# Runs a command on the current display beside a window manager, so that windows get the focus.
#
# TEST_LC_ALL and TEST_LOCPATH are the command's locale: the shell itself does not know it.
set -uo pipefail
openbox --sm-disable >/dev/null 2>&1 &
manager=$!
for ((i = 0; i < 100; ++i)); do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && break
    sleep 0.05
done
locale=()
[[ -n ${TEST_LC_ALL:-} ]] && locale=(env LC_ALL="$TEST_LC_ALL" LOCPATH="${TEST_LOCPATH:-}")
"${locale[@]}" "$@"
status=$?
kill "$manager" 2>/dev/null
wait "$manager" 2>/dev/null
exit "$status"
