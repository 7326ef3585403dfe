#!/usr/bin/env bash
# Installs the Debian packages that are missing. Arguments name sets: build (default), check, bench.
set -euo pipefail
build=(build-essential g++-multilib cmake ninja-build pkg-config python3 googletest
       libplist-dev libtinyxml-dev libfluidsynth-dev libsndfile1-dev libcli11-dev nlohmann-json3-dev
       timgm6mb-soundfont)
check=(clang-22 clang-tidy-22 clang-format-22 libclang-rt-22-dev llvm-22 fluidsynth openttd-openmsx)
bench=(libbenchmark-dev libboost-dev fluidsynth time)

wanted=()
for set in "${@:-build}"; do
    case $set in
    build) wanted+=("${build[@]}") ;;
    check) wanted+=("${check[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    *) echo "install-packages: unknown set '$set' (build, check, bench)" >&2; exit 2 ;;
    esac
done

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null; then
        as_root=(sudo)
    else
        echo "install-packages: these packages are missing; install them as root and start again:" >&2
        echo "  apt-get install ${missing[*]}" >&2
        exit 1
    fi
fi
echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
if ! { "${as_root[@]}" apt-get -q update &&
       "${as_root[@]}" apt-get -q install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    exit 1
fi
