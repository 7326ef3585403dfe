#!/usr/bin/env bash
# Builds the benchmarks and prints what they measure. Each figure means something only beside its
# peer of the same run. Raw results go to build/bench/results/.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-packages.sh build bench
mkdir -p build/bench/results
cmake --preset bench >build/bench.configure.log 2>&1 || { cat build/bench.configure.log >&2; exit 1; }
cmake --build --preset bench -- --quiet
for program in build/bench/bin/*_bench; do
    name=$(basename "$program")
    echo "== $name"
    "$program" --benchmark_out="build/bench/results/$name.json" --benchmark_out_format=json
done
echo "== render_compare"
bench/render_compare.py build/bench/bin/velnor-host build/bench/bundles build/bench/bin/fluid_minimal \
    examples/grieg-mountain-king.mid | tee build/bench/results/render_compare.json
