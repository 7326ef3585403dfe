#!/usr/bin/env bash
# Installs the Debian packages that are missing, and never removes one. Arguments name sets: build
# (default), check, bench.
set -euo pipefail
build=(build-essential g++-multilib cmake ninja-build pkg-config python3 googletest
       libplist-dev libtinyxml-dev libfluidsynth-dev libsndfile1-dev libcli11-dev nlohmann-json3-dev
       timgm6mb-soundfont)
check=(clang-22 clang-tidy-22 clang-format-22 libclang-rt-22-dev llvm-22 fluidsynth openttd-openmsx)
bench=(libbenchmark-dev libboost-dev fluidsynth openttd-openmsx time)

wanted=()
for set in "${@:-build}"; do
    case $set in
    build) wanted+=("${build[@]}") ;;
    check) wanted+=("${check[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    *) echo "install-packages: unknown set '$set' (build, check, bench)" >&2; exit 2 ;;
    esac
done

installed() { [ "$(dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null | head -n 1)" = installed ]; }

missing=()
for package in "${wanted[@]}"; do
    installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

# FluidSynth's headers want those of either JACK, and left to itself apt takes the first kind, which
# excludes the second kind's libraries. The machine's own kind comes along; the second where it has none.
case " ${missing[*]} " in
*" libfluidsynth-dev "*)
    if ! installed libjack-dev && ! installed libjack-jackd2-dev; then
        if installed libjack0; then missing+=(libjack-dev); else missing+=(libjack-jackd2-dev); fi
    fi
    ;;
esac

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null; then
        as_root=(sudo)
    else
        echo "install-packages: these packages are missing; install them as root and start again:" >&2
        echo "  apt-get install --no-remove ${missing[*]}" >&2
        exit 1
    fi
fi
echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
refused() {
    tail -n 20 "$log" >&2
    if grep -q 'remove is disabled' "$log"; then
        echo "install-packages: some of these packages exclude ones that this machine has; nothing was changed." >&2
        echo "See which, and decide: apt-get -s install ${missing[*]}" >&2
    fi
    exit 1
}
"${as_root[@]}" apt-get -q update >"$log" 2>&1 || refused
"${as_root[@]}" apt-get -q install -y --no-remove --no-install-recommends "${missing[@]}" >"$log" 2>&1 || refused
