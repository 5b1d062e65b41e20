#!/bin/sh
# Renders the pictures of the forms (widgets/resources/*.svg) to PNG, once in the size that the
# drawing states and once with twice the pixels ("@2x") for fine displays.
# Needs rsvg-convert (package librsvg2-bin) and the DejaVu fonts.
set -eu

cd "$(dirname "$0")/../widgets/resources"

if ! command -v rsvg-convert >/dev/null 2>&1; then
    echo "render-pictures: rsvg-convert is missing (package librsvg2-bin)" >&2
    exit 1
fi

for drawing in *.svg; do
    name=${drawing%.svg}
    rsvg-convert --zoom 1 --output "$name.png" "$drawing"
    rsvg-convert --zoom 2 --output "$name@2x.png" "$drawing"
    echo "$name"
done
