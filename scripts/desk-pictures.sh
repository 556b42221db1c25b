#!/usr/bin/env bash
# Takes pictures of the desk in both languages, on a small and a large screen and on a fine one,
# to be looked at:
#     scripts/desk-pictures.sh SCENARIO DIR [HH:MM]
# LINKAGE_DESK names the program; else it is that of the build "check".
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
program=${LINKAGE_DESK:-$root/build/check/bin/linkage-desk}
scenario=${1:?scenario} dir=${2:?directory}
mkdir -p "$dir"
for lang in en zh_CN; do
    for shape in 1280x800:1 1920x1080:1 1280x800:2; do
        size=${shape%:*} factor=${shape#*:}
        QT_SCALE_FACTOR=$factor "$program" --shot "$dir/desk-$lang-$size-$factor.png" \
            --lang "$lang" --size "$size" ${3:+--until "$3"} "$scenario"
    done
done
