#!/usr/bin/env bash
# check_install.sh BUILD_DIR README VERSION
#
# Installs the build tree into a fresh prefix, checks what lands there, and
# builds the C example of the README (the fenced C block after the line
# "<!-- example: host.c -->") against the installed library as a host
# would: once through pkg-config, once as a CMake project with
# find_package(Ordo). Both programs run through their RUNPATH, which points
# into the prefix, and must print the example's result.
set -euo pipefail

build=$1 readme=$2 version=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# expect_equal WHAT EXPECTED ACTUAL
expect_equal() {
    [[ $2 == "$3" ]] || fail "$1: expected [$2], got [$3]"
}

cmake --install "$build" --prefix "$prefix" >/dev/null

# Exactly the library, its header, ordo-calc and the two package
# descriptions: no static engine, no tests.
installed=$(cd "$prefix" && find . -type f -o -type l | sed 's/OrdoTargets-.*\.cmake/OrdoTargets-CONFIG.cmake/' | sort)
expected=$(sort <<EOF
./bin/ordo-calc
./include/ordo.h
./lib/cmake/Ordo/OrdoConfig.cmake
./lib/cmake/Ordo/OrdoConfigVersion.cmake
./lib/cmake/Ordo/OrdoTargets-CONFIG.cmake
./lib/cmake/Ordo/OrdoTargets.cmake
./lib/libordo.so
./lib/libordo.so.1
./lib/libordo.so.$version
./lib/pkgconfig/ordo.pc
EOF
)
expect_equal "installed files" "$expected" "$installed"

soname=$(readelf -d "$prefix/lib/libordo.so" | sed -n 's/.*Library soname: \[\(.*\)\].*/\1/p')
expect_equal "soname" "libordo.so.1" "$soname"
expect_equal "libordo.so.1 link" "libordo.so.$version" "$(readlink "$prefix/lib/libordo.so.1")"

# The engine's dependencies stay inside libordo.so.
if grep -Eiq 'ordo_core|antlr|icu|unwind' "$prefix"/lib/cmake/Ordo/*.cmake; then
    fail "the exported target names a private dependency: $(grep -Eih 'ordo_core|antlr|icu|unwind' "$prefix"/lib/cmake/Ordo/*.cmake)"
fi

expect_equal "installed ordo-calc" "3" "$("$prefix/bin/ordo-calc" "1+2" 2>/dev/null)"

mkdir "$work/example"
awk '/^<!-- example: host.c -->$/ { marked = 1; next }
     marked && /^```c$/ { inside = 1; next }
     inside && /^```$/ { exit }
     inside { print }' "$readme" >"$work/example/host.c"
[[ -s $work/example/host.c ]] || fail "no C example after the marker in $readme"
expected_output=120

# pkg-config: the flags name the prefix, found from the file's own place,
# and no library but libordo.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
read -ra libs <<<"$(pkg-config --libs ordo)"
expect_equal "pkg-config --libs" "-L $prefix/lib -lordo" \
    "${libs[0]:0:2} $(realpath -m "${libs[0]:2}") ${libs[*]:1}"
libdir=$(pkg-config --variable=libdir ordo)
# shellcheck disable=SC2046 # pkg-config's output is a list of flags
cc -std=c11 -Wall -Wextra -Werror "$work/example/host.c" $(pkg-config --cflags --libs ordo) \
    -Wl,-rpath,"$libdir" -o "$work/host-pkg-config"
expect_equal "host built through pkg-config" "$expected_output" "$("$work/host-pkg-config" 2>/dev/null)"

# CMake: find_package(Ordo) and the imported target, nothing else.
cmake -S "$here/consumer" -B "$work/consumer" -G Ninja -DHOST_SOURCE="$work/example/host.c" \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/consumer" >/dev/null
expect_equal "host built through CMake" "$expected_output" "$("$work/consumer/host" 2>/dev/null)"

# Both hosts load the installed library, not the one of the build tree.
for host in "$work/host-pkg-config" "$work/consumer/host"; do
    loaded=$(ldd "$host" | sed -n 's/.*libordo\.so\.1 => \([^ ]*\).*/\1/p')
    expect_equal "libordo of $host" "$prefix/lib/libordo.so.1" "$(realpath -s "$loaded")"
done

echo "install ok: $prefix"
