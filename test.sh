#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test: in the C locale, again in a locale with a
# decimal comma (and with that measures which branches of the plug-in the tests take), under the
# address and undefined-behaviour sanitizers, and those that use threads under the thread sanitizer.
#
#   ./test.sh             everything
#   ./test.sh --quick     the first of these only
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source dev/common.sh

quick=
case ${1:-} in
'') ;;
--quick) quick=1 ;;
*) fail "Usage: ./test.sh [--quick]" ;;
esac

install_packages
build dev

say "Tests, in the C locale."
LC_ALL=C.UTF-8 run_tests build
[[ -n $quick ]] && exit 0

locales=$PWD/build/locales
in_german() { env LOCPATH="$locales" LC_ALL=de_DE.UTF-8 "$@"; }
if [[ $(in_german locale decimal_point 2>/dev/null) != , ]]; then
    remove_folder "$locales"
    mkdir -p "$locales"
    localedef -i de_DE -f UTF-8 "$locales/de_DE.utf8" || fail "The German locale could not be made."
    [[ $(in_german locale decimal_point) == , ]] || fail "The German locale does not work."
fi
say "Tests, in a locale with a decimal comma; measuring coverage."
build coverage
forget_coverage
TEST_LOCPATH=$locales TEST_LC_ALL=de_DE.UTF-8 LC_ALL=C.UTF-8 run_tests build-coverage
dev/coverage.sh --report

say "Tests, under the address and undefined-behaviour sanitizers."
build asan
# Leaks are looked for by hand (dev/lsan.supp): what window systems and font libraries keep differs
# from system to system. The tracer and the sanitizer cannot both be loaded first.
export ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1
LC_ALL=C.UTF-8 run_tests build-asan -E tst_GLCallOrder

say "Tests with threads, under the thread sanitizer."
build tsan quorel2-thread-tests
TSAN_OPTIONS=ignore_noninstrumented_modules=1 LC_ALL=C.UTF-8 with_display \
    ctest --test-dir build-tsan --output-on-failure --no-tests=error -L threads ||
    fail "Tests failed."

say "All tests passed."
