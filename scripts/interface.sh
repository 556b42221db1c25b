#!/usr/bin/env bash
# Keeps the interface of the shared libraries what it was. docs/interface.abi describes it, as
# libabigail sees it: the layout of the public classes, the order of their virtual functions, and
# what the exported functions give back. Names and parameters of these stand in docs/exports-*.txt.
#     scripts/interface.sh --compare HEADERS   fails, with a report, when it is different
#     scripts/interface.sh --write HEADERS     describes it
# HEADERS is a build's list of the public headers; no library need be built. Sizes are of x86-64.
set -euo pipefail
list=$(realpath "$2")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mapfile -t headers < <(grep -E '^(platform|linkage)/' "$list" | LC_ALL=C sort)

# Every class and enumeration of a header, outside of others.
types() {
    awk 'FNR == 1 { space = ""; template = 0 }
        /^namespace [A-Za-z_:]+ \{/ { space = $2 }
        /^}  \/\/ namespace/ { space = "" }
        /^template/ { template = 1; next }
        /^(class|struct|enum) [^;(]*[{:]/ && space != "" && !template {
            sub(/ *(:[^:]|\{).*/, "")
            sub(/ final$/, "")
            print space "::" $NF
        }
        { template = 0 }' "${headers[@]}" | LC_ALL=C sort -u
}

# What an exported function gives back, as the type of a function without parameters: its own
# overload is found by its class and parameters.
returns() {
    LC_ALL=C sort -u docs/exports-*.txt | sed 's/\[abi:cxx11\]//g' |
        awk '/\)( const)?$/ && !/operator|~/ {
        constant = sub(/ const$/, "")
        depth = 0
        for (at = 1; at <= length($0); ++at) {
            letter = substr($0, at, 1)
            depth += (letter == "<") - (letter == ">")
            if (depth == 0 && letter == ":") colon = at
            if (depth == 0 && letter == "(") break
        }
        name = substr($0, 1, at - 1)
        parameters = substr($0, at + 1, length($0) - at - 1)
        scope = substr(name, 1, colon - 2)
        last = substr(name, colon + 1)
        plain = scope
        sub(/<.*/, "", plain)
        sub(/.*::/, "", plain)
        if (plain == last || last ~ /</) next
        symbol = name
        gsub(/[^A-Za-z0-9]+/, "_", symbol)
        printf "extern \"C\" decltype(Given<%s>::%s(&%s)) %s_%d() { __builtin_trap(); }\n",
            parameters, constant ? "constant" : "plain", name, symbol, ++seen[symbol]
    }'
}

# A library of functions that do nothing, in whose debug information all of this stands.
{
    printf '#include "%s"\n' "${headers[@]}"
    cat <<'END'
template <class... P>
struct Given {
    template <class R, class C> static R plain(R (C::*)(P...));
    template <class R> static R plain(R (*)(P...));
    template <class R, class C> static R constant(R (C::*)(P...) const);
};
#pragma GCC visibility push(default)
END
    types | while read -r type; do echo "extern \"C\" void ${type//::/_}($type*) {}"; done
    returns
} >"$work/interface.cpp"
root=$PWD
read -ra flags <<<"$(pkg-config --cflags Qt5Gui)"
(cd "$work" && g++ -std=c++17 -g -femit-class-debug-always -fno-access-control -w -fPIC -shared \
    -fvisibility=hidden -fvisibility-inlines-hidden -ffile-prefix-map="$work"=. \
    -ffile-prefix-map="$root"=. -I "$root" "${flags[@]}" interface.cpp -o libinterface.so)

# Types of other libraries are theirs: what clients see of them stays with its name.
cat >"$work/others" <<'END'
[suppress_type]
  name_regexp = ^((std|__gnu_cxx|boost|mongo|fmt)::|Q[A-Z]).*
  name_not_regexp = ^((std|std::__cxx11|boost)::(map|set|unordered_map|list|vector|basic_string|optional|function|shared_ptr|unique_ptr|pair)<.*>|Q[A-Za-z]+(<.*>)?)$
  drop = true
[suppress_type]
  name_regexp = ^std::pair<std::_.*
  drop = true
END
now=$work/interface.abi
[[ $1 == --write ]] && now=docs/interface.abi
abidw --headers-dir linkage --headers-dir platform --drop-private-types --no-corpus-path \
    --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names --type-id-style hash \
    --exported-interfaces-only --suppressions "$work/others" "$work/libinterface.so" --out-file "$now"
[[ $1 == --write ]] && exit 0

if ! abidiff --no-show-locs docs/interface.abi "$now" >"$work/report"; then
    cat "$work/report" >&2
    echo 'The interface is not what docs/interface.abi describes. "Versions" in CONTRIBUTING.md says' >&2
    echo "when it may change; then: scripts/interface.sh --write $2" >&2
    exit 1
fi
