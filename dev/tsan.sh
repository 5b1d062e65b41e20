#!/usr/bin/env bash
# All unit tests under the thread sanitizer. Qt's libraries are not instrumented, so what happens
# between their own threads is left out.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh
install_packages
build tsan quorel2-unit-tests
TSAN_OPTIONS=ignore_noninstrumented_modules=1 LC_ALL=C.UTF-8 \
    with_display ctest --test-dir build-tsan --output-on-failure --no-tests=error -L unit ||
    fail "Tests failed."
