# shellcheck shell=bash
# The Debian 12 root for 32-bit ARM: headers and libraries to build against, and to run with under qemu. Source
# scripts/common.sh and scripts/debian_root.sh first, and run everything from the project's folder.

CROSS_TOOLS=(debootstrap fakeroot qemu-user-static g++-arm-linux-gnueabihf binutils-arm-linux-gnueabihf)
ROOT=build/armhf-root
ROOT_PACKAGES=$(printf '%s\n' "${BUILD_PACKAGES[@]}" | grep -E '^(lib|qt)' | paste -sd ,)
ROOT_RECIPE="$ROOT_PACKAGES $(cksum armhf/root.sh)" # a root made by another recipe is rebuilt
HOST_QT_TOOLS=/usr/lib/qt5/bin

# unpack_everything FOLDER: unpacks the files of every package that debootstrap fetched, and collects in FOLDER/shlibs
# what the packages say about their libraries. Nothing in the root runs on its own, so no package has to be configured.
unpack_everything() {
    local folder=$1 package
    for package in "$folder"/var/cache/apt/archives/*.deb; do
        basename "$package"
        "${AS_ROOT[@]}" dpkg-deb --extract "$package" "$folder" || return 1
        dpkg-deb --info "$package" shlibs >>"$folder/shlibs" 2>/dev/null || true
        rm "$package"
    done
}

# keep_links_inside FOLDER: an absolute link points outside the root, and the linker would fall back to a static
# library.
keep_links_inside() {
    local folder=$1 name
    find "$folder/usr/lib" -type l -lname '/*' -print0 | while IFS= read -r -d '' name; do
        ln -snfr "$folder$(readlink "$name")" "$name"
    done
}

# use_host_tools FOLDER: CMake looks for moc next to the target's Qt, but moc has to run here.
use_host_tools() {
    local tool
    for tool in moc rcc uic; do
        ln -sf "$HOST_QT_TOOLS/$tool" "$1/usr/lib/qt5/bin/$tool"
    done
}

make_root() {
    local log=build/armhf-root.log
    if [ "$(cat "$ROOT/complete" 2>/dev/null)" = "$ROOT_RECIPE" ]; then
        return
    fi
    step "make $ROOT, which is kept for later runs"
    mkdir -p build
    rm -rf "$ROOT" "$ROOT.new"
    if ! debootstrapped "$ROOT.new" "$log" --foreign --arch=armhf --include="$ROOT_PACKAGES"; then
        tail -3 "$log" >&2
        skip armhf "no armhf root could be made from the package mirror; $log has all that was said"
    fi
    if ! counted "packages unpacked" "$log" unpack_everything "$ROOT.new"; then
        tail -3 "$log" >&2
        echo "armhf: unpacking into $ROOT.new failed; $log has all that was said" >&2
        exit 1
    fi
    keep_links_inside "$ROOT.new"
    use_host_tools "$ROOT.new"
    echo "$ROOT_RECIPE" >"$ROOT.new/complete"
    mv "$ROOT.new" "$ROOT"
}

# qt_versions_agree: the Qt of the root must understand what this machine's moc writes.
qt_versions_agree() {
    local here there
    here=$("$HOST_QT_TOOLS/moc" -v | grep -oE '[0-9.]+$')
    there=$(grep -oE '[0-9]+\.[0-9]+\.[0-9]+' \
        "$ROOT/usr/lib/arm-linux-gnueabihf/cmake/Qt5Core/Qt5CoreConfigVersion.cmake" | head -1)
    [ "$here" = "$there" ] || skip armhf "Qt is $here on this machine, $there in $ROOT"
}

# prepare_armhf: everything that a cross-build needs; ends the run with the reason if that is impossible.
prepare_armhf() {
    if [ "${ARMHF:-on}" = off ]; then
        skip armhf "turned off by ARMHF=off"
    fi
    need_packages "${BUILD_PACKAGES[@]}" "${CROSS_TOOLS[@]}" python3 ||
        skip armhf "packages that it needs cannot be installed"
    make_root
    qt_versions_agree
}
