#!/usr/bin/env bash
# clang-tidy over every source of the 64-bit clang build; -j as many as there are processors.
set -euo pipefail
cd "$(dirname "$0")/.."
[ -e build/clang/compile_commands.json ] || cmake --preset clang >/dev/null
git ls-files 'platform/*.cpp' 'support/*.cpp' 'framework/*.cpp' 'bridge/*.cpp' 'engines/*.cpp' 'host/*.cpp' |
    grep -v /tests/ |
    xargs -P "$(nproc)" -n 8 clang-tidy-22 -p build/clang --quiet
