#!/usr/bin/env bash
# Unpacks the 32-bit libraries that the ilp32 build links into build/i386, beside the system and
# without touching its package state. Uses the machine's own package sources. Does nothing when
# they are there already.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD/build/i386
stamp=$root/.complete-1
[ -e "$stamp" ] && exit 0

packages=(libplist3 libtinyxml2.6.2v5 libfluidsynth3 libsndfile1)
work=$root/apt
rm -rf "$root"
mkdir -p "$work/lists/partial" "$work/cache/archives/partial" "$root/sysroot"
apt=(apt-get -q -oAPT::Architecture=i386 -oAPT::Architectures=i386 -oAPT::Sandbox::User=root
     -oDir::State="$work" -oDir::State::Lists="$work/lists" -oDir::State::Status=/dev/null
     -oDir::Cache="$work/cache" -oDebug::NoLocking=1)
# One of the mirror's indexes may be out of step; the download below is what decides.
"${apt[@]}" update >"$work/update.log" 2>&1 || true
if ! "${apt[@]}" install -y --no-install-recommends --download-only "${packages[@]}" >"$work/download.log" 2>&1; then
    tail -n 5 "$work/download.log" >&2
    echo "i386-libraries: the 32-bit packages could not be downloaded; see $work/download.log" >&2
    exit 1
fi
for deb in "$work"/cache/archives/*.deb; do
    case ${deb##*/} in
    libc6_* | libgcc-s1_* | libstdc++6_* | libllvm* | libgl1-mesa* | debconf*) continue ;;
    esac
    dpkg -x "$deb" "$root/sysroot"
done
rm -rf "$work"
touch "$stamp"
