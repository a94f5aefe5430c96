#!/usr/bin/env bash
# Installs what is missing, builds the fuzzer and runs it.
set -euo pipefail
# shellcheck source=scripts/setup.sh
. "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"

targets=()
for folder in "$root"/tests/fuzz/corpus/*/; do
  targets+=("$(basename "$folder")")
done

show_help() {
  cat <<HELP
Usage: ./fuzz.sh [TARGET|all [MINUTES]]
       ./fuzz.sh --keep TARGET
Installs the packages that are missing (as root or with sudo), builds the fuzzer by clang under
AddressSanitizer and UndefinedBehaviorSanitizer, and lets it look for inputs that break one target, or all in
turn: MINUTES each, 5 if nothing is said. The first build takes ten to twenty minutes.

TARGET is one of: ${targets[*]}.

What is found is made as small as may be and kept in build/fuzz/finds/TARGET; the exit code is 1 then, and 0 if
nothing is. Inputs that reach something new are kept in build/fuzz/corpus/TARGET for the next time. --keep
takes the fewest of them that reach as much into tests/fuzz/corpus/TARGET, which ./test.sh plays.

KORV_BUILD=DIR in the environment: build there and not in build/.
HELP
}

is_target() {
  local one
  for one in "${targets[@]}"; do
    [ "$one" = "$1" ] && return
  done
  return 1
}

keep=
chosen=("${targets[@]}")
minutes=5
case ${1-all} in
  -h | --help)
    show_help
    exit 0
    ;;
  --keep)
    keep=1
    is_target "${2-}" || complain "--keep expects one of: ${targets[*]}"
    [ $# -eq 2 ] || complain "'$3' is too much; --help tells what fuzz.sh takes"
    chosen=("$2")
    ;;
  -*) complain "unknown option '$1'; --help tells what fuzz.sh takes" ;;
  *)
    if [ "${1-all}" != all ]; then
      is_target "$1" || complain "there is no target '$1', expected all or one of: ${targets[*]}"
      chosen=("$1")
    fi
    minutes=${2-5}
    [[ $minutes =~ ^[1-9][0-9]{0,4}$ ]] || complain "'$minutes' is no number of minutes from 1 to 99999"
    [ $# -le 2 ] || complain "'$3' is too much; --help tells what fuzz.sh takes"
    ;;
esac

install_missing "${korv_packages[@]}" clang-14 libclang-rt-14-dev llvm-14
check_build_folder
configure fuzz
build_preset fuzz "The fuzzer" --target fuzzer
fuzzer=$build/fuzz/tests/fuzz/fuzzer
work=$build/fuzz
ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer-14 || true)
export ASAN_SYMBOLIZER_PATH

# Inputs longer than that are cut.
most_bytes() {
  case $1 in
    script) echo 65536 ;;
    capture | words | dll) echo 16384 ;;
    interface | snapshot | text) echo 1024 ;;
    *) echo 4096 ;;
  esac
}

# Where a target's inputs come from besides its corpus.
seeds() {
  case $1 in
    script) echo "$root/scenes" "$root/tests/tools/hostile" ;;
    capture) echo "$root/tests/stream/data" ;;
  esac
}

# Takes out of a find what it does not need, for at most a minute.
minimise() {
  local target=$1 find=$2 small
  small=$(dirname "$find")/small-$(basename "$find")
  "$fuzzer" --target="$target" -minimize_crash=1 -max_total_time=60 -timeout=60 \
    -exact_artifact_path="$small" "$find" >/dev/null 2>&1 || true
  if [ -s "$small" ] && [ "$(stat -c %s "$small")" -lt "$(stat -c %s "$find")" ]; then
    mv "$small" "$find"
  else
    rm -f "$small"
  fi
}

# fuzz TARGET: says what was done; false if it found something.
fuzz() {
  local target=$1 log=$work/$1.log known find executions edges new=()
  mkdir -p "$work/corpus/$target" "$work/finds/$target"
  known=$(ls "$work/finds/$target")
  echo "$target: $minutes minutes, finds go to $work/finds/$target"
  local TIMEFORMAT='%U %S'
  # It goes on behind a find, in a process of its own.
  # shellcheck disable=SC2046 # several folders
  { time { (cd "$work" && "$fuzzer" --target="$target" -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 \
    -max_total_time=$((minutes * 60)) -max_len="$(most_bytes "$target")" -timeout=60 -entropic=0 -report_slow_units=1000 -rss_limit_mb=2560 \
    -artifact_prefix="$work/finds/$target/" "$work/corpus/$target" "$root/tests/fuzz/corpus/$target" \
    $(seeds "$target")) >"$log" 2>&1 || true; }; } 2>"$work/$target.time"
  for find in "$work/finds/$target"/*; do
    if [ -e "$find" ] && ! grep -qxF "$(basename "$find")" <<<"$known"; then
      minimise "$target" "$find"
      new+=("$find")
    fi
  done
  # Of lines of the kind "#1234: cov: 56 ft: 78 corp: 9 ...". What is covered is counted by one process.
  executions=$(sed -nE 's/^#([0-9]+): cov: .*/\1/p' "$log" | tail -1)
  edges=$("$fuzzer" --target="$target" -runs=0 -max_len="$(most_bytes "$target")" "$work/corpus/$target" \
    "$root/tests/fuzz/corpus/$target" 2>&1 | sed -nE 's/^#[0-9]+\s+DONE\s+cov: ([0-9]+).*/\1/p')
  echo "  ${executions:-0} executions in $(awk '{sum += $1 + $2} END {printf "%.1f", sum / 60}' "$work/$target.time") minutes of" \
    "processor time, ${edges:-0} edges covered, $(find "$work/corpus/$target" -type f | wc -l) inputs kept"
  [ ${#new[@]} -eq 0 ] && echo "  no finds" && return
  echo "  ${#new[@]} finds:"
  for find in "${new[@]}"; do
    echo "  $find"
    "$fuzzer" --target="$target" "$find" 2>&1 |
      grep -m1 -E 'ERROR: |runtime error: |^[a-z].* differs?$|terminate called' | sed 's/^/    /' || true
  done
  return 1
}

if [ -n "$keep" ]; then
  target=${chosen[0]}
  kept=$root/tests/fuzz/corpus/$target
  # Those that were chosen before have sums for names, finds have names that people gave them. Of the rest
  # the small ones will do.
  choice=$work/choice
  rm -rf "$choice"
  mkdir -p "$work/corpus/$target" "$choice"
  find "$kept" -type f -regextype posix-extended -regex '.*/[0-9a-f]{40}' -exec mv -t "$choice" {} +
  find "$work/corpus/$target" -type f -size -1537c -exec cp -t "$choice" {} +
  "$fuzzer" --target="$target" -merge=1 -use_counters=0 -max_len=65536 -timeout=60 "$kept" "$choice" \
    >"$work/$target.keep.log" 2>&1 ||
    complain "no inputs could be chosen: $work/$target.keep.log tells why"
  echo "$target: $(find "$kept" -type f | wc -l) inputs, $(find "$kept" -type f -printf '%s\n' |
    awk '{sum += $1} END {print sum + 0}') bytes"
  exit 0
fi

found=0
for target in "${chosen[@]}"; do
  fuzz "$target" || found=1
done
exit "$found"
