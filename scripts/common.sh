# Sourced by ./check, ./demo, ./package, the scripts beside it and bench/measuring.py: installs what a fresh Debian 12
# lacks, configures and builds.

fail() {
    echo "error: $*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "installing needs root: install sudo, or run as root once: $*"
    fi
}

installed() {
    dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q '^install ok installed$'
}

# A mirror that is being synchronised answers with wrong sizes for some minutes; ask again.
install_packages() {
    local try
    for try in 1 2 3 4 5; do
        as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq &&
            as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" \
                >"$log" 2>&1 && return
        echo "installing failed (try $try of 5)" >&2
        [ "$try" = 5 ] || sleep $((try * 15))
    done
    tail -n 20 "$log" >&2
    fail "could not install: $*"
}

# need PACKAGE...: installs those that are missing.
need() {
    local missing=() package log
    command -v dpkg-query >/dev/null || fail "this is no Debian system; install by hand what provides: $*"
    for package in "$@"; do
        installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} = 0 ] && return
    echo "installing ${missing[*]}"
    log=$(mktemp)
    install_packages "${missing[@]}"
    rm -f "$log"
}

# The Debian release of this machine and the archives that it uses, for the roots that tests make.
debian_suite() {
    (. /etc/os-release && echo "$VERSION_CODENAME")
}
debian_sources() {
    apt-get indextargets --format 'deb $(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' "Component: $1" \
        "Origin: Debian" |
        sort -u
}
debian_source() {
    debian_sources "$1" | grep -v -e -updates -e -security | head -n 1
}

# driver_tests BUILD: the programs that test the driver folders.
driver_tests() {
    local file
    for file in tests/{driver,lists,image,protocol,remote}/tst_*.cpp; do
        echo "$1/tests/$(basename "$file" .cpp)"
    done
}

# For everything but the gateway.
need_for_tools() {
    need g++ cmake ninja-build qtbase5-dev libqt5serialport5-dev libcli11-dev nlohmann-json3-dev libtomlplusplus-dev \
        libmuparser-dev
}

need_for_build() {
    need_for_tools
    need pkg-config libmosquitto-dev libprotozero-dev libmicrohttpd-dev libgnutls28-dev prometheus-cpp-dev libsqlite3-dev
}

# quietly COMMAND...: shows the output only if the command fails.
quietly() {
    local output
    output=$("$@" 2>&1) || {
        printf '%s\n' "$output" >&2
        fail "failed: $*"
    }
}

# configure FOLDER [OPTION...]: an existing build folder keeps its generator.
configure() {
    local folder=$1 generator=(-G Ninja)
    shift
    [ -e "$folder/CMakeCache.txt" ] && generator=()
    quietly cmake -S . -B "$folder" "${generator[@]}" "$@"
}

build() {
    quietly cmake --build "$1" --parallel "$(nproc)" "${@:2}"
}
