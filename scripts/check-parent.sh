#!/usr/bin/env bash
# Builds a small client that has this tree below it (tests/parent), and runs it. It builds the
# libraries once more: two to three minutes of one core, less with a warm ccache.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$root/build/parent
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi

mkdir -p "$work"
{
    cmake -S "$root/tests/parent" -B "$work" -G Ninja -DCMAKE_UNITY_BUILD=ON "${launcher[@]}"
    cmake --build "$work" -j2
} >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
said=$("$work/parent")
[[ $said == "linkage "*": SH600000 bought 300" ]] || { echo "it printed: $said" >&2; exit 1; }
# Only what it links: no program of this tree was built.
! compgen -G "$work/bin/linkage-*" && ! compgen -G "$work/linkage/bin/linkage-*"
