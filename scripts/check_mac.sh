#!/usr/bin/env bash
# On a Mac: makes the disk image, runs the Quillmere that lies in it on the sample organisation, and
# asks the machine what is only assumed of it elsewhere.
#
# QT_ROOT_DIR names an official Qt. Results lie in build/mac: window.png, box.png, quillmere.log and
# answers.md, the table at the end. It opens an installer that holds nothing. Fails unless every row
# has its version and one installer was downloaded, unpacked and opened; an answer fails nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

[ $# -eq 0 ] || fail "unknown arguments: $*; the script's first lines say what it does"
on_mac || fail "this needs a Mac"

out=build/mac
rm -rf "$out"
mkdir -p "$out"
# shellcheck source=scripts/processes.sh
. scripts/processes.sh
# shellcheck source=scripts/sample.sh
. scripts/sample.sh
# shellcheck source=scripts/mac_window.sh
. scripts/mac_window.sh
# shellcheck source=scripts/mac_answers.sh
. scripts/mac_answers.sh

volume=$PWD/$out/volume
log=${settings:?}/quillmere.log
is_attached=no

leave() {
    stop_all
    [ -e "$out/quillmere.log" ] || cp "$log" "$out/quillmere.log" 2>/dev/null || true
    [ "$is_attached" = no ] || hdiutil detach -force "$volume" >/dev/null || true
}
trap leave EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

packaging/macos/make-dmg.sh
image=$(find build/dmg -maxdepth 1 -name '*.dmg')
mkdir -p "$volume"
hdiutil attach -nobrowse -readonly -mountpoint "$volume" "$image"
is_attached=yes
# shellcheck disable=SC2034 # for start_quillmere
quillmere_program=$volume/Quillmere.app/Contents/MacOS/Quillmere

say "== Quillmere on the sample organisation =="
make_sample
start_server
write_configuration
# shellcheck disable=SC2119 # its own arguments
start_quillmere
wait_until 120 "the end of the scan" scan_ended
table logged "$out" || fail "a row is not as it must be; see $log"
screencapture -x "$out/window.png" || say "no picture: screencapture failed"

say "== One download =="
press "$quillmere_id" "Download Basaltine"
wait_until 120 "the installer to be opened" grep -qF "Install - Launching: " "$log"
grep -E ' (Download|Extract|Install) - |\[score ' "$log"
item=$(sed -n 's/.*Install - Launching: //p' "$log" | tail -n 1)
[ -e "$item" ] || fail "what was opened is not there: $item"
cp "$log" "$out/quillmere.log" # the next start empties it

say "== What is only assumed of a Mac =="
answer_all "$item"
