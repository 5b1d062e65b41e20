#!/usr/bin/env bash
# Runs a command on the current display beside a window manager, so that windows get the focus.
#
# TEST_LC_ALL and TEST_LOCPATH are the command's locale: the shell itself does not know it.
set -uo pipefail
# A window that is mapped while the manager starts may never be shown.
ready=$(mktemp -d)
openbox --sm-disable --startup "touch $ready/managing" >/dev/null 2>&1 &
manager=$!
for ((attempt = 0; attempt < 500; ++attempt)); do
    [[ -e $ready/managing ]] && break
    kill -0 "$manager" 2>/dev/null || break
    sleep 0.02
done
rm -rf "$ready"
locale=()
[[ -n ${TEST_LC_ALL:-} ]] && locale=(env LC_ALL="$TEST_LC_ALL" LOCPATH="${TEST_LOCPATH:-}")
${locale[@]+"${locale[@]}"} "$@"
status=$?
kill "$manager" 2>/dev/null
wait "$manager" 2>/dev/null
exit "$status"
