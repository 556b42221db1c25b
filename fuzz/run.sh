#!/usr/bin/env bash
# Fuzzes one kind of input: fuzz/run.sh BINDIR NAME [OPTIONS of libFuzzer...]
# New inputs that reach new code are kept in BINDIR/../fuzz/NAME; a finding is written there too.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
program=$1/fuzz-$2
name=$2
kept=$1/../fuzz/$name
shift 2

case $name in
    statement) seeds=("$root/tests/data/import") ;;
    state) seeds=("$root/fuzz/state") ;;
    scenario) seeds=("$root/tests/scenarios" "$root/tests/data") ;;
    *) echo "fuzz: there is no input $name; there are: scenario state statement" >&2; exit 2 ;;
esac

mkdir -p "$kept/corpus"
export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export LSAN_OPTIONS=suppressions=$root/tests/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1 QT_QPA_PLATFORM=offscreen TZ=Asia/Shanghai
exec "$program" -dict="$root/fuzz/$name.dict" -artifact_prefix="$kept/" -timeout=5 \
    -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 "$@" "$kept/corpus" "${seeds[@]}"
