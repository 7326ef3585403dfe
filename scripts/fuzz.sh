#!/usr/bin/env bash
# Builds the fuzzers and runs them, as many at a time as there are processors.
#   scripts/fuzz.sh [SECONDS [FUZZER...]]    60 seconds each, and all of them, by default
# Inputs that are worth keeping gather in build/fuzz/corpus, findings in build/fuzz/findings. The exit
# status is 1 when there is a finding; the table's last lines say how to repeat it.
set -euo pipefail
cd "$(dirname "$0")/.."
case ${1-} in -h | --help) sed -n '2,6s/^# \{0,1\}//p' "$0"; exit 0 ;; esac

seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || { echo "fuzz.sh: '$seconds' is no number of seconds" >&2; exit 2; }
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
options=(-seed=1 -max_len=4096 -rss_limit_mb=3072 -malloc_limit_mb=3072 -timeout=60)
scripts/install-packages.sh build check
echo "== fuzz: configure and build"
mkdir -p $build/logs $build/findings
cmake --preset fuzz >$build/logs/configure.txt 2>&1 || { cat $build/logs/configure.txt >&2; exit 1; }
cmake --build --preset fuzz --target fuzz_corpus "${fuzzers[@]/%/_fuzzer}" -- --quiet

# Fuzzers that stop at a finding leave their homes behind.
TMPDIR=$(mktemp -d -p /dev/shm velnor-fuzz.XXXXXX 2>/dev/null || mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

echo "== fuzz: ${#fuzzers[@]} fuzzers, $seconds s each, ${options[*]}"
run() {
    mkdir -p "$build/corpus/$1"
    "$build/bin/${1}_fuzzer" "${options[@]}" -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$build/findings/$1-" "$build/corpus/$1" >"$build/logs/$1.txt" 2>&1 \
        </dev/null && echo clean >"$build/logs/$1.result" || echo FOUND >"$build/logs/$1.result"
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

field() { grep -o "$2" "$build/logs/$1.txt" | tail -n 1 | grep -o '[0-9]*$' || echo -; }
format='%-16s %10s %8s %7s %9s %7s  %s\n'
# shellcheck disable=SC2059
printf "$format" fuzzer executions per-s edges features corpus result
found=()
for name in "${fuzzers[@]}"; do
    result=$(<"$build/logs/$name.result")
    # shellcheck disable=SC2059
    printf "$format" "$name" "$(field "$name" 'executed_units: *[0-9]*')" \
        "$(field "$name" 'exec_per_sec: *[0-9]*')" "$(field "$name" 'cov: [0-9]*')" \
        "$(field "$name" 'ft: [0-9]*')" "$(field "$name" 'corp: [0-9]*')" "$result"
    [ "$result" = clean ] || found+=("$name")
done
for name in "${found[@]}"; do
    echo
    tail -n 20 "$build/logs/$name.txt"
    artifact=$(grep -o 'Test unit written to .*' "$build/logs/$name.txt" | tail -n 1 || true)
    echo "repeat it with: $build/bin/${name}_fuzzer ${artifact#Test unit written to }"
done
[ ${#found[@]} -eq 0 ]
