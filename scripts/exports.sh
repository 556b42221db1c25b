#!/usr/bin/env bash
# What a library exports, sorted, without what the compiler makes (tables, type information, thunks).
#     scripts/exports.sh LIBRARY
set -euo pipefail
nm -DC --defined-only "$1" | cut -d' ' -f3- |
    grep -vE '^(vtable|VTT|typeinfo|typeinfo name|construction vtable|guard variable) for |thunk to ' |
    LC_ALL=C sort -u
