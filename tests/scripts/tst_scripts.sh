#!/usr/bin/env bash
# What run.sh, test.sh and what they share do on machines that are not this one: a copy of the
# scripts runs with programs that only write down how they were called.
set -uo pipefail
source_folder=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

check() { # <what> <condition...>
    local what=$1
    shift
    if "$@"; then
        printf 'PASS   : %s\n' "$what"
    else
        printf 'FAIL!  : %s\n' "$what"
        printf '  output: %s\n' "$(<"$work/output")"
        printf '  calls:  %s\n' "$(<"$work/calls")"
        failures=$((failures + 1))
    fi
}
says() { grep -qF -- "$1" "$work/output"; }
called() { grep -qE -- "$1" "$work/calls"; }
not() { ! "$@"; }

# A machine: every program notes its call and does what the variable of its name says.
new_machine() {
    rm -rf "${work:?}/tree" "${work:?}/bin"
    mkdir -p "$work/tree/dev" "$work/bin" "$work/elsewhere"
    cp "$source_folder"/{run.sh,test.sh,packages.txt} "$work/tree/"
    cp "$source_folder"/dev/{common.sh,in-display.sh} "$work/tree/dev/"
    : >"$work/calls"
    local program
    for program in apt-get sudo cmake ctest xvfb-run xdpyinfo localedef locale; do
        cat >"$work/bin/$program" <<STUB
#!/bin/sh
echo "$program \$*" >>"$work/calls"
exit 0
STUB
        chmod +x "$work/bin/$program"
    done
    program_in "$work/bin/xvfb-run" 'mkdir -p out'
    program_prints dpkg-query 'install ok installed'
    program_prints id 0
    mkdir -p "$work/tree/build/bin"
    program_in "$work/tree/build/bin/quorel2-host" 'exit 0'
}
program_prints() { program_in "$work/bin/$1" "echo '$2'"; }
program_in() { # <file> <script>
    printf '#!/bin/sh\necho "%s $*" >>"%s"\n%s\n' "$(basename "$1")" "$work/calls" "$2" >"$1"
    chmod +x "$1"
}
run() { # <script> [arguments]; the status is in $status
    (cd "$work/elsewhere" &&
        env -i PATH="$work/bin:/usr/bin:/bin" HOME="$work" ${display:+DISPLAY=$display} \
            "$work/tree/$1" "${@:2}" >"$work/output" 2>&1)
    status=$?
}
succeeded() { [[ $status -eq 0 ]]; }
display=

new_machine
run run.sh
check 'nothing is installed again' not called '^apt-get'

new_machine
program_prints dpkg-query 'deinstall ok config-files'
run run.sh
check 'root installs what is missing by itself' called '^apt-get .*install .*xvfb'
check 'root needs no sudo' not called '^sudo'

new_machine
program_prints dpkg-query ''
program_prints id 1000
run run.sh
check 'others install by sudo' called '^sudo .*apt-get .*install'

new_machine
program_prints dpkg-query ''
program_in "$work/bin/apt-get" 'case "$*" in *install*) exit 100 ;; esac; exit 0'
run run.sh
check 'packages that cannot be installed end it' not succeeded
check 'and are named' says 'These packages could not be installed: build-essential'

new_machine
program_prints dpkg-query ''
program_in "$work/bin/apt-get" 'case "$*" in *update*) exit 100 ;; esac; exit 0'
run run.sh
check 'a package list that cannot be read does not' succeeded

new_machine
program_in "$work/bin/cmake" 'case "$*" in *--build*) exit 1 ;; esac; exit 0'
run run.sh
check 'a failed build ends it with a sentence' says '!! The build failed.'

new_machine
run run.sh --scenario bodies.json
check 'without a display the demo is played' called '^xvfb-run .*quorel2-host --demo out'
check 'files are meant from where the script was called' \
    called "--scenario $work/elsewhere/bodies.json"

new_machine
mkdir -p "$work/elsewhere/pictures"
run run.sh --demo pictures
check "the caller's folder is the demo's only one" called "quorel2-host --demo $work/elsewhere/pictures\$"
check 'and it ends well' succeeded

new_machine
program_in "$work/bin/xvfb-run" 'mkdir -p out; exit 1'
run run.sh
check 'a demo that fails ends it' not succeeded
check 'and where it left what it did is told' says 'what it did is in out.'

new_machine
program_in "$work/bin/xvfb-run" 'exit 1'
run run.sh --seed one
check 'a demo that did not begin ends it too' not succeeded
check 'and nothing is said of a folder that is not there' not says 'is in out'

new_machine
run run.sh --controller 192.168.1.20:4711
check 'a real controller is not played with' not called '^xvfb-run'
check 'and the reason is told' says 'the demo would change a body on that controller'

new_machine
run run.sh --controller 192.168.1.20:4711 --demo pictures
check 'unless it is asked for' called '^xvfb-run .*--controller 192.168.1.20:4711'

new_machine
display=:5
run run.sh --seed 3
check 'on a display the host is started' called '^quorel2-host --seed 3'
check 'without a demo' not called '^xvfb-run'

new_machine
program_in "$work/bin/xdpyinfo" 'exit 1'
run run.sh
check 'a display that cannot be reached is told of' says 'The display :5 cannot be reached.'
check 'and a virtual one serves' called '^xvfb-run .*--demo out'
display=

new_machine
run run.sh --help
check 'help needs no display' called '^quorel2-host --help'

new_machine
run test.sh --fast
check 'the tests know their options' says 'Usage: ./test.sh [--quick]'
check 'and run nothing for others' not called '^cmake'

new_machine
program_in "$work/bin/xvfb-run" 'exit 8'
run test.sh --quick
check 'failed tests end with a sentence' says '!! Tests failed.'
check 'and a status' not succeeded

new_machine
run test.sh
check 'a locale that cannot be made ends the tests' says 'The German locale'

printf 'Totals: %s failed\n' "$failures"
[[ $failures -eq 0 ]]
