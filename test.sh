#!/usr/bin/env bash
# Installs what is missing, builds both word widths and runs every test of both.
#   ./test.sh              both widths
#   ./test.sh PRESET...    only these presets of CMakePresets.json
set -euo pipefail
cd "$(dirname "$0")"
case ${1-} in -h | --help) sed -n '2,4s/^# \{0,1\}//p' "$0"; exit 0 ;; esac

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(lp64 ilp32)
sets=(build)
for preset in "${presets[@]}"; do
    case $preset in
    clang* | rtsan | fuzz) sets+=(check) ;;
    bench) sets+=(bench) ;;
    esac
done
scripts/install-packages.sh "${sets[@]}"
mkdir -p build

for preset in "${presets[@]}"; do
    case $preset in *ilp32*) scripts/i386-libraries.sh ;; esac
    echo "== $preset: configure and build"
    cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || {
        cat "build/$preset.configure.log" >&2
        exit 1
    }
    cmake --build --preset "$preset" -- --quiet
    echo "== $preset: tests"
    scripts/leave-nothing.sh ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j "$(nproc)" \
        >"build/$preset.test.log" 2>&1 || {
        grep -vE '^ *[0-9]+/[0-9]+ Test .* Passed|^ *Start ' "build/$preset.test.log" >&2
        exit 1
    }
    grep -F '(Skipped)' "build/$preset.test.log" || true
    grep -E '^[0-9]+% tests passed|^Total Test time' "build/$preset.test.log"
done
