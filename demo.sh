#!/usr/bin/env bash
# Installs what is missing, builds, installs component and engine into a private home under build/,
# renders the songs of examples/ and says what to listen to. Touches nothing outside this checkout
# but packages, and the cache of ccache where that is installed.
set -euo pipefail
cd "$(dirname "$0")"
case ${1-} in -h | --help) sed -n '2,4s/^# \{0,1\}//p' "$0"; exit 0 ;; esac

scripts/install-packages.sh build
mkdir -p build
echo "Building (the first time takes a few minutes) ..."
cmake --preset lp64 >build/lp64.configure.log 2>&1 || { cat build/lp64.configure.log >&2; exit 1; }
cmake --build --preset lp64 --target velnor-host velnor_component soundfont_engine -- --quiet

# A home of its own: preferences, component, log and engine data stay under build/demo.
home=$PWD/build/demo/home
data=$PWD/build/demo/sounds
host=build/lp64/bin/velnor-host
mkdir -p "$home/.local/share" "$data"
export HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share
export XDG_CONFIG_DIRS=$home/xdg XDG_DATA_DIRS=$home/xdg
unset VELNOR_COMPONENT_PATH

ln -sf /usr/share/sounds/sf2/TimGM6mb.sf2 "$data/TimGM6mb.sf2"
"$host" install build/bundles/Velnor.component --engine build/bundles/SoundFont.engine --data "$data" --write-setup
"$host" doctor >build/demo/doctor.txt || { cat build/demo/doctor.txt >&2; exit 1; }

for song in examples/*.mid; do
    out=build/demo/$(basename "${song%.mid}").wav
    echo "Rendering $song"
    "$host" render "$song" -o "$out"
done
echo
echo "Listen to:"
for wav in build/demo/*.wav; do echo "  $PWD/$wav"; done
echo "What to listen for stands in examples/README.md."
