#!/usr/bin/env bash
# Branch coverage of the plug-in: builds, runs the tests, prints the figures of each folder and the
# branches that no test takes, with the reason that docs/coverage.md gives.
#
#   dev/coverage.sh             all of it
#   dev/coverage.sh --report    only the figures, of what has been run in build-coverage
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh

if [[ ${1:-} != --report ]]; then
    install_packages
    build coverage
    forget_coverage
    LC_ALL=C.UTF-8 run_tests build-coverage
fi

# Branches into exceptions, and those of lines without code, are nobody's to test.
gcovr --root . --object-directory build-coverage --filter '(module|protocol|model|view|dialog|widgets)/' \
    --exclude-throw-branches --exclude-unreachable-branches --json build-coverage/coverage.json ||
    fail "gcovr failed. Where source files were renamed or removed, remove build-coverage."
dev/check_coverage.py build-coverage/coverage.json ||
    fail "The tests take too few branches, or docs/coverage.md is out of date."
