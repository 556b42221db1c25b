#!/usr/bin/env bash
# Writes deals_sheet.*: what a spreadsheet program makes of deals_mark.csv when somebody opens and
# saves it. Needs ssconvert, of the package gnumeric. The files differ in bytes with each run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

while read -r format name; do
    ssconvert --import-type=Gnumeric_stf:stf_csvtab --export-type="$format" deals_mark.csv "$name"
done <<END
Gnumeric_Excel:excel_biff8 deals_sheet.xls
Gnumeric_Excel:xlsx2 deals_sheet.xlsx
Gnumeric_OpenCalc:odf deals_sheet.ods
END
