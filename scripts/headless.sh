# shellcheck shell=bash
# A display that nobody sees, and pictures of what Quillmere shows on it. Builds on sample.sh.

out=${out:?the folder for output, set by the script that sources this file}
window="" # the main window's id
opened=$out/opened.txt # a line for each item that was handed to the desktop's handler

# Starts Xvfb on a display that is free, tall enough for the whole table.
start_display() {
    start xvfb Xvfb -displayfd 3 -screen 0 1280x2000x24 -nolisten tcp 3>"$out/display"
    wait_until 20 "the display" test -s "$out/display"
    DISPLAY=":$(cat "$out/display")"
    export DISPLAY QT_QPA_PLATFORM=xcb
    unset WAYLAND_DISPLAY
}

# Quillmere's windows on the display: the main one alone, once the wait dialog is gone.
one_window_left() {
    window=$(xdotool search --onlyvisible --pid "${quillmere_id:?}" 2>/dev/null) \
        && [ "$(printf '%s\n' "$window" | wc -l)" -eq 1 ]
}

find_window() {
    wait_until 20 "the wait dialog to close" one_window_left
    # To the corner, and the pointer away from it: no row and no button is highlighted.
    xdotool windowmove "$window" 0 0 mousemove 1279 1999
}

take_picture() {
    import -silent -window "$window" "$1" 2>>"$out/import.log"
}

# Whether the picture that it takes shows every row, painted.
table_in_picture() {
    take_picture "$1" && table complete "$1"
}

window_height() {
    xdotool getwindowgeometry --shell "$window" | sed -n 's/^HEIGHT=//p'
}

has_height() {
    [ "$(window_height)" = "$1" ]
}

# Makes the window just tall enough for the whole table.
fit_window() {
    local picture=$out/fitting.png height
    xdotool windowsize "$window" 630 1900
    wait_until 20 "the window to grow" has_height 1900
    wait_until 20 "the whole table in the window" table_in_picture "$picture"
    height=$(table height "$picture") || fail "cannot see the table's end; see $picture"
    rm -f "$picture"
    xdotool windowsize "$window" 630 "$height"
    wait_until 20 "the window to fit the table" has_height "$height"
}

# Whether the picture that it takes shows the download button of the row of that name.
button_in_picture() {
    take_picture "$1" && table button "$1" "$2" >"$out/button" 2>>"$out/table.log"
}

# Presses the download button that button_in_picture has found last.
press_download() {
    local x y
    read -r x y <"$out/button"
    xdotool mousemove "$x" "$y" click 1 mousemove 1279 1999
}

# Whether the picture that it takes shows the bar of the row of that name part-way across.
bar_in_picture() {
    local percentage
    take_picture "$1"
    percentage=$(table bar "$1" "$2") || return 1
    [ "$percentage" -ge 40 ] && [ "$percentage" -le 80 ]
}

# Whether the desktop's handler has been given that many items.
items_opened() {
    [ -e "$opened" ] && [ "$(wc -l <"$opened")" -ge "$1" ]
}

# What the desktop's handler has been given last: the item's name, with its %-encoding undone.
opened_item() {
    local url
    url=$(tail -n 1 "$opened")
    url=${url##*/}
    printf '%b' "${url//%/\\x}"
}
