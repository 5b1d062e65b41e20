#!/usr/bin/env bash
# Measures what users feel and prints it as ratios: reading data lines, drawing, exchanges with the
# controller. Nothing here passes or fails; docs/measurements.md keeps what was measured once.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source dev/common.sh
install_packages
build dev quorel2-benchmarks

say "Reading data lines."
build/bin/bench_data_lines
say "Drawing."
with_display build/bin/bench_drawing
say "Exchanges with the controller."
build/bin/bench_exchanges
