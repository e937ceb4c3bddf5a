#!/usr/bin/env bash
# Installs the builds of the presets `tool` and `own-host` and uses them from programs outside the
# tree, moving the installed tree first: nothing in it may name the place where it was made. Then
# takes an installation away again.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$here/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
flags=(-std=c++20 -O2 -Wall -Wextra -Werror)

fail() {
    printf 'install-check: %s\n' "$*" >&2
    exit 1
}

# install_moved PRESET DIRECTORY
install_moved() {
    cmake --install "$root/build/$1" --prefix "$work/staging" >/dev/null
    mv "$work/staging" "$2"
}

# says_the_same WHAT PROGRAM...: runs it; every consumer prints what the first one printed.
says_the_same() {
    local what=$1 output
    output=$("${@:2}") || fail "$what: the program fails"
    [[ $output == "${first:=$output}" ]] || fail "$what: prints $output instead of $first"
    printf '%-22s works\n' "$what"
}

check_files() {
    local header
    while read -r header; do
        [[ -f $prefix/include/$header ]] || fail "$header is not installed"
    done < <(cd "$root" && find tqamsg -name '*.h')
    readelf -d "$lib/libtqamsg.so" | grep 'SONAME.*\[libtqamsg\.so\.1\]' >/dev/null || fail 'SONAME is not libtqamsg.so.1'
    if grep -rIlF -e "$work" -e "$(cd "$root" && pwd)" "$prefix"; then fail 'these files name the build machine'; fi
    "$root/debian/symbols.py" --check --all "$lib/libtqamsg.so"
}

check_headers() {
    local header
    while read -r header; do
        printf '#include "%s"\n' "$header" | g++ "${flags[@]}" -fsyntax-only -I"$prefix/include" -xc++ - ||
            fail "$header does not compile alone"
    done < <(cd "$prefix/include" && find tqamsg -name '*.h')
    echo 'every header           compiles alone'
}

use_cmake() {
    cmake -G Ninja -S "$here" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$work/cmake" >/dev/null
    says_the_same 'CMake, shared' "$work/cmake/with_tqamsg"
    says_the_same 'CMake, static' "$work/cmake/with_tqamsg_static"
    needs_library "$work/cmake/with_tqamsg" || fail 'with_tqamsg does not use the shared library'
    if needs_library "$work/cmake/with_tqamsg_static"; then fail 'with_tqamsg_static uses the shared library'; fi
}

needs_library() { readelf -d "$1" | grep 'NEEDED.*libtqamsg' >/dev/null; }

use_pkg_config() {
    local shared static
    export PKG_CONFIG_PATH=$lib/pkgconfig
    read -ra shared < <(pkg-config --cflags --libs tqamsg)
    g++ "${flags[@]}" "$here/main.cpp" "${shared[@]}" -o "$work/shared"
    says_the_same 'pkg-config, shared' env LD_LIBRARY_PATH="$lib" "$work/shared"

    read -ra static < <(pkg-config --static --cflags --libs tqamsg)
    g++ "${flags[@]}" "$here/main.cpp" -Wl,-Bstatic "${static[@]}" -Wl,-Bdynamic -o "$work/static"
    says_the_same 'pkg-config, static' "$work/static"
    if needs_library "$work/static"; then fail 'the static program uses the shared library'; fi
}

use_tool() {
    "$prefix/bin/tqamsg" --help >/dev/null || fail 'the installed tool does not run'
    local file
    for file in man/man1/tqamsg.1 man/man1/tqamsg-show.1 bash-completion/completions/tqamsg \
        zsh/vendor-completions/_tqamsg fish/vendor_completions.d/tqamsg.fish; do
        [[ -s $prefix/share/$file ]] || fail "share/$file is not installed"
    done
}

use_own_host() {
    local own=$work/own kind
    install_moved own-host "$own"
    for kind in so a; do
        g++ "${flags[@]}" -I"$own/include" "$here/own_host.cpp" "$own"/lib*/libtqamsg."$kind" -o "$work/own-$kind"
        LD_LIBRARY_PATH=$(echo "$own"/lib*) "$work/own-$kind" 2>/dev/null || fail "own host, .$kind: the program fails"
    done
    echo 'own host               works with both libraries'
}

# Only here the tree stays where it was installed: gdb finds the printers by the library's path.
use_gdb() {
    local stay=$work/stay
    cmake --install "$root/build/tool" --prefix "$stay" >/dev/null
    g++ "${flags[@]}" -g -I"$stay/include" "$here/main.cpp" "$stay"/lib*/libtqamsg.so -Wl,-rpath,"$(echo "$stay"/lib*)" -o "$work/debugged"
    gdb -batch -nx -iex "add-auto-load-scripts-directory $stay/share/gdb/auto-load" -iex "add-auto-load-safe-path $stay" \
        -ex 'break veidIn' -ex run -ex 'print message' "$work/debugged" 2>&1 | grep '<packet>, .* bytes = {@version = "4.0.0"' >/dev/null ||
        fail 'gdb does not print a message'
    echo 'gdb                    prints messages'
}

uninstall() {
    local gone=$work/gone
    cmake --install "$root/build/tool" --prefix "$gone" >/dev/null
    touch "$(dirname "$(find "$gone" -name libtqamsg.a)")/of_another"
    cmake --build "$root/build/tool" --target uninstall >/dev/null
    [[ $(find "$gone" -type f) == "$gone"/lib*/of_another && ! -e $gone/include ]] || fail "uninstall leaves $(find "$gone")"
    rm "$gone"/lib*/of_another
    cmake --install "$root/build/tool" --prefix "$gone" >/dev/null
    cmake --build "$root/build/tool" --target uninstall >/dev/null
    [[ -z $(ls -A "$gone") ]] || fail "uninstall leaves $(find "$gone")"
    echo 'uninstall              leaves nothing'
}

install_moved tool "$work/prefix"
prefix=$work/prefix
lib=$(dirname "$(find "$prefix" -name libtqamsg.a)")
check_files
check_headers
use_cmake
use_pkg_config
use_tool
use_own_host
use_gdb
uninstall
