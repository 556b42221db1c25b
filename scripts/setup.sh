#!/usr/bin/env bash
# Installs with apt what the project needs and this machine lacks.
#     scripts/setup.sh            what ./run needs
#     scripts/setup.sh --check    what ./check needs besides
#     scripts/setup.sh --package  what ./run --package needs besides
#     scripts/setup.sh --docs     what ./run --docs needs besides
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config tzdata
    qtbase5-dev qttools5-dev qttools5-dev-tools qttranslations5-l10n fonts-wqy-microhei
    libboost-dev libboost-system-dev libboost-thread-dev
    libfmt-dev liblog4cxx-dev libmongoclient-dev libsimdjson-dev
    zlib1g-dev libbenchmark-dev
)
if [[ ${1:-} == --check ]]; then
    packages+=(libgtest-dev clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev doxygen
               abigail-tools valgrind)
elif [[ ${1:-} == --package ]]; then
    packages+=(dpkg-dev file)
elif [[ ${1:-} == --docs ]]; then
    packages+=(doxygen)
fi

if ! command -v dpkg-query >/dev/null; then
    echo "set-up: this is no Debian machine; make sure that these are present: ${packages[*]}"
    exit 0
fi

present=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n')
missing=()
for package in "${packages[@]}"; do
    [[ $'\n'$present$'\n' == *$'\n'"installed $package"$'\n'* ]] || missing+=("$package")
done
if ((${#missing[@]} == 0)); then exit 0; fi

as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "set-up: missing: ${missing[*]}; installing them takes root or sudo" >&2
        exit 1
    fi
    as_root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
install_missing() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}" </dev/null >"$log" 2>&1
}

echo "set-up: installing ${missing[*]}"
# The package lists of a fresh machine are empty or old: fetch them if it fails without.
if ! install_missing; then
    echo "set-up: fetching the package lists first"
    "${as_root[@]}" apt-get update -qq </dev/null
    if ! install_missing; then
        cat "$log" >&2
        echo "set-up: apt could not install what is missing" >&2
        exit 1
    fi
fi
