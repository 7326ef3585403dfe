#!/usr/bin/env bash
# Builds the fuzzers and runs them, as many at a time as there are processors.
#   scripts/fuzz.sh [SECONDS [FUZZER...]]    60 seconds each, and all of them, by default
# Inputs that are worth keeping gather in build/fuzz/corpus, findings in build/fuzz/findings. The exit
# status is 1 when there is a finding; the table's last lines say how to repeat it. VELNOR_FUZZ_SEED
# makes the choices of an earlier run again; otherwise each run makes its own.
set -euo pipefail
cd "$(dirname "$0")/.."
case ${1-} in -h | --help) sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 0 ;; esac

seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || { echo "fuzz.sh: '$seconds' is no number of seconds" >&2; exit 2; }
seed=${VELNOR_FUZZ_SEED:-$((RANDOM << 15 | RANDOM | 1))}
[[ $seed =~ ^[1-9][0-9]{0,9}$ ]] || { echo "fuzz.sh: '$seed' is no seed" >&2; exit 2; }
fuzzers=("${@:2}")
if [ ${#fuzzers[@]} -eq 0 ]; then
    for source in fuzz/*_fuzzer.cpp; do
        name=$(basename "$source" _fuzzer.cpp)
        fuzzers+=("$name")
    done
fi
for name in "${fuzzers[@]}"; do
    [ -f "fuzz/${name}_fuzzer.cpp" ] || { echo "fuzz.sh: there is no fuzzer '$name'" >&2; exit 2; }
done

build=build/fuzz
options=(-rss_limit_mb=3072 -malloc_limit_mb=3072 -timeout=60)
longest() {
    case $1 in
        soundfont_chunk) echo 8300 ;; # a chunk has 8,246 bytes
        *) echo 4096 ;;
    esac
}
scripts/install-packages.sh build check
echo "== fuzz: configure and build"
mkdir -p $build/logs $build/findings
cmake --preset fuzz >$build/logs/configure.txt 2>&1 || { cat $build/logs/configure.txt >&2; exit 1; }
cmake --build --preset fuzz --target "${fuzzers[@]/%/_fuzzer}" -- --quiet

# The fuzzers' homes are kept in memory, and those that stop at a finding leave them behind.
TMPDIR=$(mktemp -d -p /dev/shm velnor-fuzz.XXXXXX 2>/dev/null || mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

echo "== fuzz: ${#fuzzers[@]} fuzzers, $seconds s each, seed $seed, ${options[*]}"
run() {
    mkdir -p "$build/corpus/$1"
    "$build/bin/${1}_fuzzer" "${options[@]}" -seed="$seed" -max_len="$(longest "$1")" \
        -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$build/findings/$1-" \
        "$build/corpus/$1" >"$build/logs/$1.txt" 2>&1 </dev/null &&
        echo clean >"$build/logs/$1.result" || echo FOUND >"$build/logs/$1.result"
}
running=0
for name in "${fuzzers[@]}"; do
    if [ $running -ge "$(nproc)" ]; then
        wait -n
        running=$((running - 1))
    fi
    run "$name" &
    running=$((running + 1))
done
wait

# The last number of the last place in a fuzzer's log that looks so.
field() { grep -o "$2" "$build/logs/$1.txt" | tail -n 1 | grep -o '[0-9]*' | tail -n 1 || echo -; }
share() { [ "$1$2" = "${1//-/}${2//-/}" ] && echo "$((100 * $1 / $2))%" || echo -; }
format='%-16s %10s %7s %6s %7s %6s %8s %6s  %s\n'
# shellcheck disable=SC2059
printf "$format" fuzzer executions per-s edges of share features corpus "result (seed $seed)"
found=()
for name in "${fuzzers[@]}"; do
    result=$(<"$build/logs/$name.result")
    edges=$(field "$name" 'cov: [0-9]*')
    all=$(field "$name" 'Loaded [0-9]* modules *([0-9]*')
    # shellcheck disable=SC2059
    printf "$format" "$name" "$(field "$name" 'executed_units: *[0-9]*')" \
        "$(field "$name" 'exec_per_sec: *[0-9]*')" "$edges" "$all" "$(share "$edges" "$all")" \
        "$(field "$name" 'ft: [0-9]*')" "$(field "$name" 'corp: [0-9]*')" "$result"
    [ "$result" = clean ] || found+=("$name")
done
for name in "${found[@]}"; do
    echo
    tail -n 20 "$build/logs/$name.txt"
    artifact=$(grep -o 'Test unit written to .*' "$build/logs/$name.txt" | tail -n 1 || true)
    echo "repeat it with: $build/bin/${name}_fuzzer ${artifact#Test unit written to }"
    echo "or the whole run, if it began without a corpus: VELNOR_FUZZ_SEED=$seed scripts/fuzz.sh $seconds $name"
done
[ ${#found[@]} -eq 0 ]
