#!/usr/bin/env bash
# Builds the Debian packages twice, in folders of different names, and leaves them in build/package.
# They must be the same byte for byte, have no fault that lintian sees, and work where they are
# installed: the tests of debian/tests run on a copy of this system that is thrown away.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

fail() {
    printf 'package: %s\n' "$*" >&2
    exit 1
}

# log_of FILE COMMAND...: runs it in silence; when it fails the end of its output is shown.
log_of() {
    "${@:2}" >"$1" 2>&1 || fail "$(printf '%s fails:\n' "$2" && tail -n 40 "$1")"
}

# The sources as they are here, uncommitted changes included.
export_sources() {
    mkdir -p "$1"
    git ls-files -z --cached --others --exclude-standard | while read -rd '' file; do
        if [[ -e $file ]]; then printf '%s\0' "$file"; fi
    done | tar -c --null -T - | tar -x -C "$1"
}

# build_in DIRECTORY. A compiler cache would give the second build the objects of the first.
build_in() {
    export_sources "$1/libtqamsg"
    log_of "$1/log" env -C "$1/libtqamsg" -u CMAKE_CXX_COMPILER_LAUNCHER dpkg-buildpackage -us -uc -b
}

compare() {
    local package
    for package in "$work"/one/*.deb; do
        cmp "$package" "$work/another_place/$(basename "$package")" || fail "$(basename "$package") differs between two builds"
    done
    echo 'two builds             the same bytes'
}

check_with_lintian() {
    lintian --fail-on error,warning --profile debian "$work"/one/*.changes || fail 'lintian complains'
    echo 'lintian                no complaints'
}

# Runs a command on the system's root with a layer above it that takes all changes; both are gone
# when it ends. Only $work is the same inside and outside.
on_a_copy() {
    local as_user=()
    ((EUID == 0)) || as_user=(--map-root-user)
    # shellcheck disable=SC2016  # it is the inner shell that expands them
    unshare "${as_user[@]}" --mount bash -euc '
        mount -t tmpfs none "$0/copy"
        mkdir "$0"/copy/{layer,work,root}
        mount -t overlay -o lowerdir=/,upperdir="$0/copy/layer",workdir="$0/copy/work" none "$0/copy/root"
        mount -t tmpfs none "$0/copy/root/tmp"
        mkdir -p "$0/copy/root$0"
        for each in /proc /dev /sys "$0"; do mount --rbind "$each" "$0/copy/root$each"; done
        chroot "$0/copy/root" "$@"' "$work" "$@"
}

run_autopkgtest() {
    mkdir "$work/copy"
    on_a_copy true || {
        echo 'autopkgtest            SKIPPED: this system gives no namespace for a copy of itself'
        return
    }
    export_sources "$work/source"
    log_of "$work/log" on_a_copy autopkgtest --summary "$work/summary" "$work"/one/*.deb "$work/source/" -- null
    sed 's/^/autopkgtest            /' "$work/summary"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build_in "$work/one"
build_in "$work/another_place"
compare
check_with_lintian
run_autopkgtest
rm -rf build/package
mkdir -p build/package
mv "$work"/one/*.{deb,changes,buildinfo} build/package
ls build/package/*.deb
