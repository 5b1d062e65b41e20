#!/usr/bin/env bash
# The checks that are fast: formatting, scripts, that includes point one way, that every promised
# behaviour has its tests, and that the reasons for missed branches are up to date.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh
install_packages

say "Checking the formatting."
sources=$(git ls-files '*.cpp' '*.h') || fail "git cannot list the files."
printf '%s\n' "$sources" | xargs -r clang-format --dry-run --Werror ||
    fail "Run dev/format.sh."

say "Checking the scripts."
shellcheck -x run.sh test.sh dev/*.sh tests/scripts/*.sh .ci/run || fail "Mend the scripts."

say "Checking that includes point one way."
python3 dev/check_includes.py || fail "An include points the wrong way."

say "Checking that the plug-in leaves the process's locale alone."
! grep -nE '\bsetlocale *\(' -r module protocol model view dialog widgets --include='*.cpp' --include='*.h' ||
    fail "Only the host may call setlocale()."

say "Checking the promised behaviour against the tests."
python3 dev/check_conformance.py || fail "docs/conformance.md and the tests differ."

say "Checking that what is said of coverage is up to date."
python3 dev/check_coverage.py || fail "docs/coverage.md explains code that has changed."
