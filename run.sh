#!/usr/bin/env bash
# Installs what is needed, builds, and starts the stand-alone host on its embedded simulated
# controller. Arguments go to the host. Without a display the host plays its demo under a virtual X
# server instead and leaves pictures and the protocol transcript in out/.
set -euo pipefail
caller=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"
source dev/common.sh

# Files that are given relative to where the script was called.
arguments=()
demo=
controller=
while [[ $# -gt 0 ]]; do
    case $1 in
    --demo | --scenario | --plugin)
        name=$1 value=${2:-}
        shift $(($# > 1 ? 2 : 1))
        ;;
    --demo=* | --scenario=* | --plugin=*)
        name=${1%%=*} value=${1#*=}
        shift
        ;;
    *)
        [[ $1 == --controller || $1 == --controller=* ]] && controller=1
        arguments+=("$1")
        shift
        continue
        ;;
    esac
    [[ -n $value ]] || fail "$name wants a value."
    [[ $value == /* ]] || value=$caller/$value
    [[ $name == --demo ]] && demo=$value
    arguments+=("$name" "$value")
done
set -- ${arguments[@]+"${arguments[@]}"}

install_packages
build dev quorel2-host-and-plugin

host=build/bin/quorel2-host
for option in "$@"; do
    case $option in
    --help | --version | -h | -v) exec "$host" "$@" ;;
    esac
done

if has_display; then
    say "Starting the host."
    exec "$host" "$@"
fi

if [[ -z $demo ]]; then
    # The demo redefines a body; what a real controller holds is not for playing.
    [[ -z $controller ]] ||
        fail "There is no display, and the demo would change a body on that controller. Give --demo FOLDER as well if that is what you want."
    demo=out
    set -- --demo out "$@"
    remove_folder out
fi
say "There is no display: playing the demo under a virtual X server."
if with_display "$host" "$@"; then
    say "Done: the controller holds the new definitions. Pictures and transcript are in $demo:"
    ls "$demo"
else
    # What is wrong with the options is told before the host makes the folder.
    [[ -d $demo ]] || fail "The demo could not begin."
    fail "The demo did not reach its goal; what it did is in $demo."
fi
