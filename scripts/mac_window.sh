# shellcheck shell=bash
# Quillmere's window on a Mac, by the system's accessibility, which whoever runs this must have been
# allowed to use (System Settings, Privacy & Security, Accessibility).

# press PROCESS NAME: presses the button of that name, as a screen reader does. Qt begins to describe
# a window when it is first asked, so it is asked more than once.
press() {
    local try
    for try in 1 2 3; do
        press_once "$1" "$2" && return
        say "try $try: not pressed"
        sleep 5
    done
    fail "the button \"$2\" could not be pressed"
}

press_once() {
    osascript - "$1" "$2" <<'END'
on run {processId, wanted}
    tell application "System Events" to tell (first process whose unix id is (processId as integer))
        set frontmost to true
        repeat with element in (get entire contents of window 1)
            try
                if (description of element is wanted) or (title of element is wanted) then
                    perform action "AXPress" of element
                    return "pressed"
                end if
            end try
        end repeat
    end tell
    error "no element has the name " & wanted
end run
END
}

# windows PROCESS: for each window its kind and the texts in it, one window a line.
windows() {
    osascript - "$1" <<'END'
on run {processId}
    set said to ""
    tell application "System Events" to tell (first process whose unix id is (processId as integer))
        repeat with one in (get windows)
            set said to said & (subrole of one)
            repeat with element in (get static texts of one)
                set said to said & " | " & (value of element)
            end repeat
            set said to said & linefeed
        end repeat
    end tell
    return said
end run
END
}

# tab_stops PROCESS: the roles of what has the focus after each of six presses of Tab.
tab_stops() {
    osascript - "$1" <<'END'
on run {processId}
    set said to ""
    tell application "System Events"
        tell (first process whose unix id is (processId as integer)) to set frontmost to true
        repeat 6 times
            key code 48
            delay 0.3
            tell (first process whose unix id is (processId as integer))
                set said to said & (role of (value of attribute "AXFocusedUIElement")) & " "
            end tell
        end repeat
    end tell
    return said
end run
END
}
