#!/bin/sh
# Builds the MT2203 parameter search and runs one slice of it at the lowest priority, appending
# to rows.txt; then rewrites the table sources from all rows found so far.
#   tools/mt2203/run_search.sh FIRST LAST [STEP]
# Rows already in rows.txt are searched again if the slice covers them (the result is the same
# row, emit keeps one). The table's valid members are the leading run of rows present, so a
# resumed search starts at the first missing row: see the count in mt2203_members.hpp.
set -e
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
g++ -O2 -march=native -std=c++20 -o "$here/.mt2203_search" "$here/mt2203_search.cpp"
nice -n 19 "$here/.mt2203_search" search "$1" "$2" "${3:-1}" >> "$here/rows.txt"
"$here/.mt2203_search" emit "$here/rows.txt" "$root/src/vsk/brng/mt2203"
