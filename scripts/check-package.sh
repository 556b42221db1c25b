#!/usr/bin/env bash
# Installs a build in a folder of its own, compiles each header alone in C++17, and builds and runs
# the examples from there.
#     scripts/check-package.sh BUILDDIR
set -euo pipefail
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/installed

cmake --install "$build" --prefix "$prefix" >"$work/log" || { cat "$work/log" >&2; exit 1; }
version=$(sed -n 's/.*VERSION\[\] = "\(.*\)".*/\1/p' "$root/linkage/version.h")
[[ $("$prefix/bin/linkage-replay" --version) == "linkage-replay $version" ]]

# The interface is what it was.
for name in linkage linkage-platform; do
    "$root/scripts/exports.sh" "$prefix/lib/lib$name.so" | diff "$root/docs/exports-$name.txt" - ||
        { echo "lib$name.so exports something else; see \"Versions\" in CONTRIBUTING.md" >&2; exit 1; }
done

# Macros have our prefix, so that none meets one of the client's.
if grep -rnE '^ *# *define ' "$prefix/include/linkage-1" | grep -v 'define LINKAGE_'; then exit 1; fi

# Every header alone: what it needs it includes, and it needs no more than C++17. The second
# compiler sees the headers without the global alias that a client may do without.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
read -ra headers_flags <<<"$(pkg-config --cflags linkage)"
alone() {
    echo "#include \"$2\"" | "$1" -std=c++17 -Wall -Wextra -Werror -fsyntax-only "${@:3}" -x c++ -
}
export -f alone
(cd "$prefix/include/linkage-1" && find . -name '*.h' -printf '%P\n') >"$work/headers"
xargs -P2 -I{} bash -c 'alone "$@"' - g++ {} "${headers_flags[@]}" <"$work/headers"
xargs -P2 -I{} bash -c 'alone "$@"' - clang++-14 {} "${headers_flags[@]}" -DLINKAGE_NO_BSON_ALIAS <"$work/headers"

export QT_QPA_PLATFORM=offscreen TZ=Asia/Shanghai
for compiler in g++ clang++-14; do
    built=$work/$compiler
    cmake -S "$root/examples" -B "$built" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$compiler" >"$work/log"
    cmake --build "$built" -j2 >"$work/log" || { cat "$work/log" >&2; exit 1; }
    # expect PROGRAM TEXT [ARGUMENT...]: it ends well, and the last line that it prints is the text.
    expect() {
        local said
        said=$(timeout 60 "$built/$1/example-$1" "${@:3}" | tail -n 1)
        [[ $said == "$2" ]] || { echo "example-$1 of $compiler printed: $said" >&2; exit 1; }
    }
    expect paper "linkage $version: SH600000 bought 300"
    expect minimal "SH600000: a balance would sell 300"
    expect csv "S SZ000001: bought 100, sold 0" "$root/examples/csv/deals.csv"
    expect widgets "4 stocks, the last is SH600003"
    expect plugin "SH600000 bought 300, sold 0" "$prefix/lib/liblinkage.so"
    # Loaded, not linked.
    if readelf -d "$built/plugin/example-plugin" | grep 'NEEDED.*liblinkage\.so'; then exit 1; fi
done

# A program through pkg-config; the paper client and the bases are archives and stand first.
read -ra flags <<<"$(pkg-config --cflags --libs linkage)"
clang++-14 -std=c++20 "$root/examples/paper/main.cpp" "$prefix/lib/libpaper.a" \
    "$prefix/lib/liblinkage-adapters.a" "${flags[@]}" \
    -lmongoclient -Wl,-rpath,"$prefix/lib" -o "$work/by-pkg-config"
"$work/by-pkg-config"

# Clients that end badly.
g++ -std=c++17 -I "$root/examples/host" "$root/tests/package/lifetime.cpp" \
    "$prefix/lib/liblinkage-adapters.a" "${flags[@]}" -lQt5Core \
    -Wl,-rpath,"$prefix/lib" -o "$work/lifetime"
for way in "" services-first; do
    valgrind -q --error-exitcode=1 "$work/lifetime" $way >"$work/log" 2>&1 ||
        { cat "$work/log" >&2; exit 1; }
done
