#!/usr/bin/env bash
# The slow checks: clang-tidy (.clang-tidy) and clazy (dev/clazy-checks.txt) over every source file of
# the project, or over those given. Needs the packages clang-tidy and clazy, and the dev build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh

for tool in clang-tidy clazy-standalone; do
    command -v "$tool" >/dev/null || fail "Install clang-tidy and clazy first: $tool is missing."
done
build dev

if [[ $# -gt 0 ]]; then
    files=("$@")
else
    mapfile -t files < <(git ls-files '*.cpp' | grep -v '^tests/')
fi

say "clang-tidy."
printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -n 4 clang-tidy --quiet -p build ||
    fail "clang-tidy found something."

say "clazy."
checks=$(sed -e 's/#.*//' -e '/^[[:space:]]*$/d' dev/clazy-checks.txt | paste -sd,)
output=$(printf '%s\0' "${files[@]}" |
    xargs -0 -P "$(nproc)" -n 4 clazy-standalone -p build -checks="$checks" \
        -header-filter="$PWD/(host|module|protocol|model|view|dialog|widgets|standalone|controller)/" \
        2>&1 | grep -E 'warning:.*\[-Wclazy' | sort -u) || true
if [[ -n $output ]]; then
    printf '%s\n' "$output"
    fail "clazy found something."
fi
say "Clean."
