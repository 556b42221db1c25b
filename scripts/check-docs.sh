#!/usr/bin/env bash
# Makes the pages of the public headers with doxygen. Fails, and names them, when names are
# undocumented or references and links lead nowhere.
#     scripts/check-docs.sh HEADERS DIR   HEADERS: the list that CMake writes; pages: DIR/html
set -euo pipefail
headers=$(realpath "$1")
mkdir -p "$2"
pages=$(realpath "$2")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

documents=(README.md ARCHITECTURE.md CONTRIBUTING.md CHANGELOG.md docs/HOSTING.md
    docs/SCENARIOS.md docs/namespaces.dox)
version=$(sed -n 's/.* VERSION\[\] = "\(.*\)";/\1/p' linkage/version.h)
mapfile -t public <"$headers"

# Doxygen looks at the macros and global names of those files alone that are files of the pages.
sed 's/.*/\/\/\/ @file &/' "$headers" >"$pages/files.dox"

{
    cat docs/Doxyfile
    echo "PROJECT_NUMBER = $version"
    echo "INPUT = ${documents[*]} ${public[*]} \"$pages/files.dox\""
    echo "OUTPUT_DIRECTORY = \"$pages\""
} | doxygen - 2>&1 | sed "s#^$PWD/##" >&2

# What the documents link of the tree goes along: examples, pictures.
linked() { grep -ohE '(href|src)="[^":#]+\.(cpp|h|png|svg|md)"' "$pages"/html/{index,md_*}.html; }
for link in $(linked | cut -d'"' -f2 | sort -u); do
    if [[ -e ${link#../} ]]; then
        install -D -m 644 "${link#../}" "$pages/html/$link"
    elif [[ ! -e $pages/html/$link ]]; then
        echo "check-docs: a document links $link, which is not there" >&2
        exit 1
    fi
done
