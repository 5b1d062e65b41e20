# shellcheck shell=bash
# What run.sh, test.sh and CI share. Sourced, with the repository as the working directory.

say() { printf '== %s\n' "$*"; }
fail() {
    printf '!! %s\n' "$*" >&2
    exit 1
}

wanted_packages() { sed -e 's/#.*//' -e '/^[[:space:]]*$/d' packages.txt; }

# Installs the packages of packages.txt that are not there yet.
install_packages() {
    command -v apt-get >/dev/null || fail "This needs Debian or Ubuntu: there is no apt-get."
    local missing=() package
    while read -r package; do
        [[ $(dpkg-query -W -f='${Status}' "$package" 2>/dev/null) == *" installed" ]] ||
            missing+=("$package")
    done < <(wanted_packages)
    if [[ ${#missing[@]} -eq 0 ]]; then
        say "All packages are installed."
        return
    fi
    local root=()
    if [[ $(id -u) -ne 0 ]]; then
        command -v sudo >/dev/null ||
            fail "Missing packages: ${missing[*]}. Install them as root; there is no sudo here."
        root=(sudo)
    fi
    say "Installing: ${missing[*]}"
    local lists=(-o DPkg::Lock::Timeout=300)
    # A source that has nothing to do with these packages may be out of order.
    "${root[@]}" apt-get "${lists[@]}" update -q || say "Not all package lists could be read."
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "${lists[@]}" install -y -q \
        --no-install-recommends "${missing[@]}" ||
        fail "These packages could not be installed: ${missing[*]}"
}

# What root has made under sudo, its owner cannot renew.
remove_folder() {
    rm -rf "$1" 2>/dev/null || fail "$1 cannot be removed; was it made with sudo?"
}

# build <preset> [target]
build() {
    local folder=build
    [[ $1 == dev ]] || folder=build-$1
    [[ ! -e $folder || -w $folder ]] ||
        fail "$folder cannot be written to; was it made with sudo? Remove it."
    say "Configuring ($1)."
    local output
    output=$(cmake --preset "$1" 2>&1) || {
        printf '%s\n' "$output" >&2
        fail "The build could not be configured."
    }
    say "Building ($1)."
    cmake --build --preset "$1" ${2:+--target "$2"} || fail "The build failed."
}

# True if windows can be shown here: a display that is named may be gone.
has_display() {
    [[ -n ${DISPLAY:-} ]] || return 1
    xdpyinfo >/dev/null 2>&1 && return 0
    say "The display $DISPLAY cannot be reached."
    return 1
}

# Runs a command on a virtual X server of its own, with software OpenGL and a window manager.
with_display() {
    local runtime
    runtime=$(mktemp -d)
    chmod 700 "$runtime"
    local status=0
    env -u QT_SCALE_FACTOR -u QT_STYLE_OVERRIDE -u QT_FONT_DPI -u QT_PLUGIN_PATH \
        -u QT_AUTO_SCREEN_SCALE_FACTOR -u QT_LOGGING_RULES -u WAYLAND_DISPLAY \
        XDG_RUNTIME_DIR="$runtime" LIBGL_ALWAYS_SOFTWARE=1 QT_QPA_PLATFORM=xcb \
        xvfb-run -a -s "-screen 0 1920x1200x24 +extension GLX" dev/in-display.sh "$@" || status=$?
    rm -rf "$runtime"
    return "$status"
}

# run_tests <build directory> [ctest options]
run_tests() {
    local tests=(ctest --test-dir "$1" --output-on-failure --no-tests=error "${@:2}") log
    with_display "${tests[@]}" -L unit -j "$(nproc)" || fail "Tests failed."
    # On a loaded machine a window may lose the focus to the window manager: what shows windows may
    # try once more, and it is told.
    log=$(mktemp)
    with_display "${tests[@]}" -LE unit --repeat until-pass:2 2>&1 | tee "$log" || {
        rm -f "$log"
        fail "Tests failed."
    }
    ! grep -E '\*\*\*(Failed|Exception|Timeout)' "$log" || say "The tests above were tried again."
    rm -f "$log"
}

# What earlier runs have counted.
forget_coverage() { find build-coverage -name '*.gcda' -delete; }
