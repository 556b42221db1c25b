#!/usr/bin/env bash
# Measures how soon the desk answers clicks while a day plays at 1,000 times its speed:
#     scripts/desk-fluency.sh [--at-most MS] [SCENARIO]
# Without SCENARIO it takes the recorded day of LINKAGE_DATA, or else the built-in market, live. It
# measures three times, because whatever else the machine does disturbs; the best run counts, and
# --at-most makes it fail when even that is slower. LINKAGE_DESK names the program; else it is that
# of the build "check".
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
program=${LINKAGE_DESK:-$root/build/check/bin/linkage-desk}
limit=()
if [[ ${1:-} == --at-most ]]; then
    limit=(--at-most "${2:?milliseconds}")
    shift 2
fi
days=("$@")
if ((${#days[@]} == 0)) && [[ -n ${LINKAGE_DATA:-} ]]; then
    days=("$LINKAGE_DATA"/*.jsonl.gz)
    days=("${days[0]}")
fi
status=1
for run in 1 2 3; do
    echo "run $run"
    if "$program" --lang en --measure 300 --seed "$run" "${limit[@]}" "${days[@]}"; then
        status=0
    fi
done
exit "$status"
