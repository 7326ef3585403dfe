#!/usr/bin/env bash
# Ten minutes of simulated song through the instrument with each engine, at random block sizes, rates,
# buses, resets, offline switches, state saves and editor openings: no event lost or doubled, no growth.
#   scripts/soak.sh [SECONDS [SEED]]     the seed that a run prints repeats it
set -euo pipefail
cd "$(dirname "$0")/.."
case ${1-} in -h | --help) sed -n '2,4s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
for number in "$@"; do
    [[ $number =~ ^[1-9][0-9]*$ ]] || { echo "soak.sh: '$number' is no whole number above 0" >&2; exit 2; }
done
export VELNOR_SOAK_SECONDS=${1:-600}
if [ $# -gt 1 ]; then export VELNOR_SOAK_SEED=$2; fi
scripts/install-packages.sh build
cmake --preset lp64 >build/lp64.configure.log 2>&1 || { cat build/lp64.configure.log >&2; exit 1; }
cmake --build --preset lp64 --target soak_tests -- --quiet
build/lp64/bin/soak_tests
