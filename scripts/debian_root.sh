# shellcheck shell=bash
# Shared by scripts that need their own Debian 12 file tree: where packages come from, and progress.

DEBIAN_RELEASE=bookworm
SKIPPED=77 # exit status of a run that was impossible through no fault of the project
PATH=$PATH:/usr/sbin # debootstrap is there; not every user has it in PATH

# skip NAME REASON: ends the run and says why.
skip() {
    echo "$1: SKIPPED: $2" >&2
    exit "$SKIPPED"
}

# debian_mirror: the address that this machine's apt takes Debian 12 from.
debian_mirror() {
    # shellcheck disable=SC2016
    apt-get indextargets --format '$(SITE)' 'Created-By: Packages' "Codename: $DEBIAN_RELEASE" \
        'Component: main' 'Origin: Debian' 2>/dev/null | head -1
}

# use_apt_proxy: makes debootstrap reach the mirror the way apt does.
use_apt_proxy() {
    local proxy=
    eval "$(apt-config shell proxy Acquire::http::Proxy)"
    [ -z "$proxy" ] || export http_proxy=$proxy
}

# counted WHAT LOG COMMAND...: runs COMMAND with its output in LOG. On a terminal it shows how many lines there are so
# far; elsewhere it prints only the final number.
counted() {
    local what=$1 log=$2 line number=0 status
    shift 2
    "$@" 2>&1 | tee "$log" | while IFS= read -r line; do
        number=$((number + 1))
        [ ! -t 2 ] || printf '\r\033[K   %s: %d  %.60s' "$what" "$number" "$line" >&2
    done
    status=${PIPESTATUS[0]}
    [ ! -t 2 ] || printf '\r\033[K' >&2
    echo "   $what: $(wc -l <"$log")"
    return "$status"
}

# debootstrapped FOLDER LOG OPTION...: a minimal Debian 12 in FOLDER, with debootstrap's further options.
debootstrapped() {
    local folder=$1 log=$2 mirror
    shift 2
    mirror=$(debian_mirror)
    if [ -z "$mirror" ]; then
        echo "this machine's apt has no source for Debian $DEBIAN_RELEASE" >"$log"
        return 1
    fi
    use_apt_proxy
    counted "steps of debootstrap" "$log" "${AS_ROOT[@]}" debootstrap --variant=minbase "$@" \
        "$DEBIAN_RELEASE" "$folder" "$mirror"
}

# debootstrap asks for root; to unpack files, fake root is enough.
AS_ROOT=()
if [ "$(id -u)" -ne 0 ]; then
    AS_ROOT=(fakeroot)
fi
