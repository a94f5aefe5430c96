#!/bin/sh
# Instructions of a triangle member per triangle and per word, counted by callgrind.
# usage: instructions.sh path/to/bench_triangles [triangles [member [mesh]]]
set -eu
program=$1
count=${2:-20000}
member=${3:-Glint_Tri_XYZ_RGBF}
mesh=${4:-random}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

result=$(valgrind --tool=callgrind --callgrind-out-file="$scratch/out" \
    --toggle-collect="$member(*" --collect-atstart=no \
    "$program" --count "$count" "$member" "$mesh" 2>"$scratch/log") || { cat "$scratch/log" >&2; exit 1; }
set -- $result
triangles=$2
words=$4
total=$(sed -n 's/^summary: //p' "$scratch/out")
awk -v i="$total" -v t="$triangles" -v w="$words" 'BEGIN {
    printf "%d instructions, %d triangles, %d words\n", i, t, w
    printf "%.1f instructions a triangle, %.2f a word\n", i / t, i / w
}'
