#!/usr/bin/env bash
# Builds the benchmarks, runs them, and prints one table: what was measured, its peer of the same run
# or its limit, the ratio, the goal, met or missed. docs/performance.md says what each row means.
#   ./bench.sh              a few minutes; best on a machine that does nothing else
#   ./bench.sh --quick      a smoke run: whether everything can be measured, not what
#   ./bench.sh --document   also puts the table into docs/performance.md
#   ./bench.sh --against BUILD   also compares a pull with that of another commit's bench build,
#                           a folder as build/bench is here
#   ./bench.sh --pull --against BUILD   only that
# Exit status 0 when every row was measured: a missed goal is shown, it is no failure.
# Raw results: build/bench/results/, the rows: build/bench/results/table.json.
set -euo pipefail
here=$PWD
cd "$(dirname "$0")"

programs=(registry_bench bridge_bench render_bench)
targets=(velnor_benchmarks)
repetitions=5
table=()
against=
while [ $# -gt 0 ]; do
    option=$1
    shift
    case $option in
    --quick) repetitions=1 table+=(--quick); export VELNOR_BENCH_QUICK=1 ;;
    --document) table+=(--document docs/performance.md) ;;
    --pull) programs=() targets=(bridge_bench render_bench) ;;
    --against)
        against=$(cd "$here" && realpath -m -- "${1:-.}")
        shift || true
        [ -x "$against/bin/bridge_bench" ] && [ -x "$against/bin/render_bench" ] || {
            echo "bench.sh: no bench build in '$against'; see --help" >&2
            exit 2
        }
        ;;
    -h | --help) sed -n '2,11s/^# \{0,1\}//p' "$0"; exit 0 ;;
    *) echo "bench.sh: unknown option '$option'; see --help" >&2; exit 2 ;;
    esac
done
if [ -n "${VELNOR_BENCH_QUICK-}" ] && [[ " ${table[*]} " == *" --document "* ]]; then
    echo "bench.sh: a smoke run is nothing to document" >&2
    exit 2
fi
if [ ${#programs[@]} -eq 0 ] && { [ -z "$against" ] || [[ " ${table[*]} " == *" --document "* ]]; }; then
    echo "bench.sh: --pull goes with --against, and is too little to document" >&2
    exit 2
fi

scripts/install-packages.sh build bench
results=build/bench/results
mkdir -p "$results"
rm -f "$results"/*.json
cmake --preset bench >build/bench.configure.log 2>&1 || { cat build/bench.configure.log >&2; exit 1; }
cmake --build --preset bench --target "${targets[@]}" -- --quiet >&2

for program in "${programs[@]}"; do
    echo "measuring: $program" >&2
    "build/bench/bin/$program" --benchmark_repetitions=$repetitions --benchmark_enable_random_interleaving=true \
        --benchmark_out="$results/$program.json" --benchmark_out_format=json >"$results/$program.txt" 2>&1 || {
        cat "$results/$program.txt" >&2
        exit 1
    }
done
if [ -n "$against" ]; then
    echo "measuring: against $against" >&2
    bench/against.py build/bench "$against" >"$results/against.json"
fi
if [ ${#programs[@]} -eq 0 ]; then
    exec bench/table.py "$results" --only-against "${table[@]}"
fi
echo "measuring: render_compare" >&2
bench/render_compare.py build/bench/bin/velnor-host build/bench/bundles build/bench/bin/fluid_minimal \
    build/bench/lib/libfirst_block.so >"$results/render_compare.json"
bench/table.py "$results" "${table[@]}"
