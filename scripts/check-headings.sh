#!/usr/bin/env bash
# The headings in the headers of the manager and the ledger say in which files the operations
# below them live. Fails when one of those operations is defined in none of them.
#     scripts/check-headings.sh [HEADER CLASS]...
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# check HEADER CLASS
check() {
    awk -v class="$2" -v header="$1" '
    # Reads what the named files define; a name without folder stands beside the one before.
    function heading(line,   words, count, at, path, command, text) {
        count = split(line, words, /[ ,;:]+/)
        delete places
        named = ""
        for (at = 1; at <= count; ++at) {
            if (words[at] ~ /^linkage\/.*\.(cpp|h)$/) dir = words[at]
            else if (words[at] !~ /^[a-z0-9]+\.(cpp|h)$/ && words[at] !~ /^linkage\/[a-z]+\/$/) continue
            path = words[at]
            if (path !~ /\//) { sub(/[^\/]*$/, "", dir); path = dir path }
            named = named " " path
            if (path ~ /\/$/) path = path "*.cpp"
            command = "cat " path
            while ((command | getline text) > 0) {
                while (match(text, class "::~?[A-Za-z]+")) {
                    places[substr(text, RSTART + length(class) + 2, RLENGTH - length(class) - 2)] = 1
                    text = substr(text, RSTART + RLENGTH)
                }
            }
            if (close(command) != 0) { print header ":" FNR ": no file " path; bad = 1 }
        }
    }
    $0 ~ "^(class|struct) .*" class { inside = 1 }
    !inside { next }
    /^};/ { inside = 0; exit bad }
    /^ *\/\/[^\/].*linkage\/[a-z]+\/|^ *\/\/ linkage\/[a-z]+\// { heading($0); next }
    /^ *(\/\/|friend|using|template|#|struct|class)/ { next }
    /^[A-Za-z].*:$/ { named = ""; next }
    /signals2::signal/ { next }
    /^    [A-Za-z].*[( ]/ || /^    ~/ {
        # A declaration at the class level; its name stands before the first bracket.
        line = $0
        sub(/\/\/.*/, "", line)
        sub(/LINKAGE_[A-Z_]*\(.*/, "", line)
        if (line !~ /\(/ || line ~ /\{/) next
        head = substr(line, 1, index(line, "(") - 1)
        if (head ~ /=/ || head ~ /^     /) next
        count = split(head, words, /[ *&]+/)
        name = words[count]
        if (name == "" || name ~ /^[A-Z_]+$/ || named == "") next
        if (!(name in places)) {
            print header ":" FNR ": " name " is not defined in" named
            bad = 1
        }
    }
    END { exit bad }' "$1"
}

failed=0
if (($#)); then
    while (($# > 1)); do check "$1" "$2" || failed=1; shift 2; done
else
    check linkage/core/clinkagemanager.h CLinkageManager || failed=1
    check linkage/ledger/ledger.h CLedger || failed=1
fi
exit $failed
