# Set-up shared by scripts/test and scripts/ordo-calc: installs the packages
# the build needs and configures build trees under build/. Sourced, not run.

ORDO_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
ORDO_PACKAGES=(cmake ninja-build g++ libantlr-dev libicu-dev libgtest-dev libgmock-dev googletest
    libbenchmark-dev libunwind-dev pkg-config binutils libedit-dev python3)

ordo_missing_packages() {
    local package
    for package in "${ORDO_PACKAGES[@]}"; do
        [[ $(dpkg -s "$package" 2>/dev/null) == *"Status: install ok installed"* ]] ||
            echo "$package"
    done
}

# apt-get as root (through sudo when needed), never asking anything.
ordo_apt_get() {
    local sudo=()
    if [[ $(id -u) -ne 0 ]] && command -v sudo >/dev/null; then
        sudo=(sudo)
    fi
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -q -y -o DPkg::Lock::Timeout=300 "$@" </dev/null
}

# Installs what is missing; the package lists are refreshed only if the first try fails.
ordo_install_packages() {
    local missing
    mapfile -t missing < <(ordo_missing_packages)
    [[ ${#missing[@]} -eq 0 ]] && return 0
    echo "installing: ${missing[*]}"
    ordo_apt_get install --no-install-recommends "${missing[@]}" ||
        { ordo_apt_get update && ordo_apt_get install --no-install-recommends "${missing[@]}"; }
}

# ordo_configure NAME BUILD_TYPE [cmake options...]: configures the tree
# build/NAME. Our own trees treat warnings as errors.
ordo_configure() {
    local name=$1 type=$2
    shift 2
    cmake -S "$ORDO_ROOT" -B "$ORDO_ROOT/build/$name" -G Ninja -DCMAKE_BUILD_TYPE="$type" \
        -DORDO_WARNINGS_AS_ERRORS=ON "$@"
}

# -O3, so that the optimiser's warnings are seen too.
ordo_configure_release() {
    ordo_configure release Release -DORDO_SANITIZE=
}

# Runs a command with its output held back, shown only if it fails.
ordo_quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    [[ $status -eq 0 ]] || cat "$log" >&2
    rm -f "$log"
    return "$status"
}
