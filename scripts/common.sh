# Shared by ./dev and its scripts: packages, progress, lists of files.

BUILD_PACKAGES=(g++ cmake ninja-build pkg-config qtbase5-dev libqt5sql5-sqlite libmodbus-dev libcli11-dev
    libncurses-dev)
TEST_PACKAGES=(mbpoll gnuplot-nox python3 python3-pymodbus python3-pyte)
PICTURE_PACKAGES=(gnuplot-nox python3 python3-pyte)
BENCH_PACKAGES=(libbenchmark-dev libboost-dev libsqlite3-dev libqt5serialbus5-dev valgrind python3 gnuplot-nox)
LINT_PACKAGES=(clang-format-14 clang-tidy-14 cppcheck shellcheck)

# step TEXT: a line that says what comes next.
step() {
    if [ -t 1 ]; then
        printf '\033[1m== %s\033[0m\n' "$*"
    else
        printf '== %s\n' "$*"
    fi
}

# quietly COMMAND...: shows its output only if it fails.
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

# need_packages NAME...: installs those Debian packages that are missing.
need_packages() {
    local missing=() name
    for name in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "These Debian packages are missing, and neither root nor sudo is at hand: ${missing[*]}" >&2
            return 1
        fi
        root=(sudo)
    fi
    step "install ${missing[*]}"
    quietly "${root[@]}" apt-get update
    quietly "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}

# sources: every C++ file of the project.
sources() {
    git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp'
}

# in_lanes FUNCTION ITEM...: calls FUNCTION ITEM for each item, as many at a time as there are processors; fails if one
# of the calls fails.
in_lanes() {
    local work=$1 lanes item failures status=0
    shift
    lanes=$(nproc)
    failures=$(mktemp)
    for item in "$@"; do
        while [ "$(jobs -rp | wc -l)" -ge "$lanes" ]; do
            wait -n || true
        done
        { "$work" "$item" || echo "$item" >>"$failures"; } &
    done
    wait
    [ ! -s "$failures" ] || status=1
    rm -f "$failures"
    return $status
}
