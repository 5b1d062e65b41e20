#!/usr/bin/env bash
# Formats every source file in place.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files '*.cpp' '*.h' | xargs -r clang-format -i
