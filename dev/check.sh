#!/usr/bin/env bash
# The checks that are fast: formatting, and that includes point one way.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh
install_packages

say "Checking the formatting."
git ls-files '*.cpp' '*.h' | xargs -r clang-format --dry-run --Werror ||
    fail "Run dev/format.sh."

say "Checking that includes point one way."
python3 dev/check_includes.py || fail "An include points the wrong way."
