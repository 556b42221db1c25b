#!/usr/bin/env bash
# Arrows go down only: fails when a file includes something that its folder may not know.
# The table: a folder, and the folders whose headers it may include besides its own. The two files
# in it are the contracts of the library: they bring what their results are made of.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

table='
platform
common
linkage          platform
linkage/tape     linkage common platform
linkage/ledger   linkage/tape linkage common platform
linkage/core     linkage/record linkage/ledger linkage/tape linkage common platform
linkage/stats    linkage/core linkage/ledger linkage/tape linkage common platform
linkage/balance  linkage/core linkage/ledger linkage/tape linkage common platform
linkage/store    linkage/balance linkage/core linkage/ledger linkage/tape linkage common platform
linkage/record   linkage/store linkage/balance linkage/stats linkage/core linkage/ledger linkage/tape linkage common platform
linkage/draw     linkage platform
linkage/core/clinkagemanager.h linkage/core linkage/record linkage/ledger linkage/stats linkage/balance linkage/store linkage platform
linkage/plugin.h linkage/core linkage/draw
linkage/plugin   linkage linkage/core linkage/draw platform
adapters         common platform
paper            adapters linkage/core common platform
adaptercheck     platform
adaptercheck/program adaptercheck paper linkage platform
replay           paper linkage/* common platform
desk             replay paper linkage/* common platform
examples         adapters paper linkage/* platform
lab              replay paper linkage/* common platform
textbook         linkage/core linkage/ledger linkage common platform
fuzz             replay paper linkage/* common platform
bench            textbook replay paper linkage/* common platform
tests            adaptercheck adaptercheck/program adapters lab desk textbook replay paper linkage/* common platform
'

git ls-files -co --exclude-standard -- '*.h' '*.cpp' | xargs grep -oE '^#include "[^"]+"' |
    awk -v table="$table" '
    # The folder of a path: two steps of it within linkage and adaptercheck, else one.
    function folder(path,   steps, count) {
        count = split(path, steps, "/")
        return (steps[1] == "linkage" || steps[1] == "adaptercheck") && count > 2 ? steps[1] "/" steps[2] : steps[1]
    }
    BEGIN {
        rows = split(table, lines, "\n")
        for (row = 1; row <= rows; ++row) {
            count = split(lines[row], words, " ")
            if (count > 0) known[words[1]] = 1
            for (word = 1; word <= count; ++word) may[words[1], words[word]] = 1
        }
    }
    {
        colon = index($0, ":")
        file = substr($0, 1, colon - 1)
        match($0, /"[^"]+"/)
        header = substr($0, RSTART + 1, RLENGTH - 2)
        from = file in known ? file : folder(file)
        to = folder(header)
        if (header !~ /\//) next
        if (!(from in known)) { print file ": its folder is not in the table"; bad = 1; next }
        if (may[from, to]) next
        if (to ~ /^linkage/ && may[from, "linkage/*"]) next
        print file ": may not include " header
        bad = 1
    }
    END { exit bad }'
