#!/usr/bin/env bash
# Installs a build in a folder of its own, and builds and runs the examples from there.
#     scripts/check-package.sh BUILDDIR
set -euo pipefail
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/installed

cmake --install "$build" --prefix "$prefix" >"$work/log" || { cat "$work/log" >&2; exit 1; }
[[ $("$prefix/bin/linkage-replay" --version) == "linkage-replay $(sed -n 's/.*VERSION\[\] = "\(.*\)".*/\1/p' "$root/linkage/version.h")" ]]

cmake -S "$root/examples/paper" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=Debug >"$work/log"
cmake --build "$work/cmake" >"$work/log" || { cat "$work/log" >&2; exit 1; }
"$work/cmake/example-paper"

# The same through pkg-config, with clang; the paper client is an archive and stands first.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs linkage)"
clang++-14 -std=c++20 "$root/examples/paper/main.cpp" "$prefix/lib/libpaper.a" "${flags[@]}" \
    -lmongoclient -Wl,-rpath,"$prefix/lib" -o "$work/by-pkg-config"
"$work/by-pkg-config"
