# shellcheck shell=bash disable=SC2034
# Sourced by the project's commands: what the build needs, and how to get it where apt-get is known.

# The release, debug and sanitizer presets also configure the tests and the benchmarks.
build_packages=(
    g++ cmake ninja-build pkg-config
    libsimdjson-dev libicu-dev libasio-dev uuid-dev
    libgtest-dev libbenchmark-dev
)

# quietly COMMAND...: shows what the command says only where it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# What the tests need beyond that: for the packages, the manual page and the official clients.
# (Never empty: the Bash of macOS does not know an empty list.)
test_packages=(dpkg-dev file man-db ruby)
command -v node npm >/dev/null || test_packages+=(nodejs npm)

package_is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# install_packages NAME...: installs those that are missing, and does nothing where none is.
install_packages() {
    local name missing=() as_root=()
    if ! command -v apt-get dpkg-query >/dev/null; then
        echo "No apt-get here: the build needs what Debian calls $*." >&2
        return 0
    fi
    for name in "$@"; do
        package_is_installed "$name" || missing+=("$name")
    done
    ((${#missing[@]} == 0)) && return 0

    ((EUID == 0)) || as_root=(sudo)
    echo "Installing ${missing[*]}" >&2
    quietly "${as_root[@]}" apt-get update
    quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}

# build_release TARGET...: configures the release preset and builds the targets in build/release.
# To be called in the project's folder.
build_release() {
    echo "Building $* in build/release (a minute or two the first time)" >&2
    quietly cmake --preset release
    quietly cmake --build --preset release --target "$@"
}
