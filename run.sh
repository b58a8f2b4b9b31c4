#!/usr/bin/env bash
# Builds Quillmere and runs it; see --help.
set -euo pipefail
cd "$(dirname "$0")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'END'
Usage: ./run.sh [--mine | --help]

Installs what is missing (Debian: apt-get; macOS: Homebrew), builds Quillmere and runs it
on a sample organisation: a catalogue and installers with invented names, served on 127.0.0.1, and
sample applications instead of those in /Applications. Quillmere gets a HOME of its own; your files
and settings are left alone. Everything lies in build/sample/, which is made anew at every start.

With a display, the window opens; everything stops when it is closed, or on Ctrl-C.
Without one (neither DISPLAY nor WAYLAND_DISPLAY is set), the same runs under Xvfb: the table is
printed, two rows are downloaded, one of them in the window as it opens, and their installers handed
to a stand-in for the desktop, pictures of all that are written to build/sample/, and the exit status says whether every row showed what the
sample organisation must show and the right item was opened.

  --mine   run on your own HOME, configuration and /Applications instead; needs a display
  --help   say this
END
}

mine=no
case "$#:${1-}" in
    0:) ;;
    1:--mine) mine=yes ;;
    1:--help | 1:-h) usage; exit 0 ;;
    *) fail "unknown arguments: $*; ./run.sh --help says what there is" ;;
esac

run_packages="unzip=unzip"
display=yes
if on_mac; then
    :
elif [ -z "${DISPLAY-}${WAYLAND_DISPLAY-}" ]; then
    display=no
    run_packages="$run_packages Xvfb=xvfb xdotool=xdotool import=imagemagick"
elif [ -z "${DISPLAY-}" ]; then
    run_packages="$run_packages qt6-wayland"
fi
if [ "$mine" = yes ]; then
    [ "$display" = yes ] \
        || fail "--mine needs a display; start it in a desktop session, or leave --mine away"
else
    run_packages="$run_packages python3=python3"
fi

# shellcheck disable=SC2086 # a list of names
install_missing $run_packages
build_preset release quillmere

if [ "$mine" = yes ]; then
    exec "$(release_program)"
fi

out=build/sample
rm -rf "$out"
mkdir -p "$out"
# shellcheck source=scripts/processes.sh
. scripts/processes.sh
# shellcheck source=scripts/sample.sh
. scripts/sample.sh
trap stop_all EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

make_sample
start_server
write_configuration

if [ "$display" = yes ]; then
    say "Quillmere runs on the sample organisation; close its window, or press Ctrl-C, to end."
    start_quillmere
    wait "$quillmere_id" || fail_with_output quillmere $?
    exit 0
fi

# shellcheck source=scripts/headless.sh
. scripts/headless.sh
start_display
start_quillmere recorded
wait_until 60 "the end of the scan" scan_ended
find_window

# As it opens, with a scroll bar: the row that its lower edge cuts.
wait_until 20 "the button of a row that is half seen" \
    button_in_picture "$out/1-window.png" Isolande
press_download
wait_until 60 "the installer to be opened" items_opened 1
wait_until 60 "the end of the scan that follows" scans_ended 2
find_window
say
say "Downloaded and opened: $(opened_item)"
say

fit_window
wait_until 20 "every row's colour in the window" table_in_picture "$out/2-table.png"
table print "$out" "$out/2-table.png" || fail "the table is not as it must be; see $out/2-table.png"

# An archive that the server sends slowly.
wait_until 20 "the button of the row" button_in_picture "$out/2-table.png" Basaltine
press_download
wait_until 30 "the bar part-way across the row" bar_in_picture "$out/3-download.png" Basaltine
wait_until 60 "the installer to be opened" items_opened 2
wait_until 60 "the end of the scan that follows" scans_ended 3
find_window
wait_until 20 "the row's own colour" table_in_picture "$out/4-opened.png"
say
say "Downloaded, unpacked and opened: $(opened_item)"
grep -E ' (Download|Extract|Install) - |\[score ' "$settings/quillmere.log"

say
say "pictures       $out/1-window.png, 2-table.png, 3-download.png, 4-opened.png"
say "log            $settings/quillmere.log"
say "configuration  $settings/config.xml"
