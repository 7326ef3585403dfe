#!/usr/bin/env bash
# Runs a command with a home and a temporary folder of its own and fails when it leaves anything
# behind: in these two, in the root folder, in the user's own home, or under a name of ours in /tmp.
# What other runs of the tests make in /tmp at the same time, velnor-XXXXXX, is passed over, as is
# /dev/shm.
#   scripts/leave-nothing.sh COMMAND...
set -uo pipefail
folder=$(mktemp -d /tmp/velnor-tests.XXXXXX)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/home" "$folder/tmp"
chmod 755 "$folder" # tests that run as root become an ordinary user here
chmod 1777 "$folder/tmp"
user_home=$HOME

listing() {
    ls -A1d / /* /.[!.]* 2>/dev/null
    find "$user_home" -mindepth 1 -maxdepth 1
    find "$user_home"/.config "$user_home"/.local/share -mindepth 1 -maxdepth 2 2>/dev/null
    find /tmp -mindepth 1 -maxdepth 1 \( -name 'velnor*' -o -name 'Tarn*' \) \
        ! -name 'velnor-??????' ! -name 'velnor-tests.*'
}

before=$(listing | sort)
env -u XDG_DATA_HOME -u XDG_CONFIG_HOME HOME="$folder/home" TMPDIR="$folder/tmp" "$@"
status=$?
left=$(comm -13 <(echo "$before") <(listing | sort)
       find "$folder" -mindepth 2)
if [ -n "$left" ]; then
    printf 'left behind by %s:\n%s\n' "$1" "$left" >&2
    [ "$status" -ne 0 ] || status=1
fi
exit "$status"
