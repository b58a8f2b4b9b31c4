# shellcheck shell=bash
# What docs/architecture.md assumes about a Mac, asked there. Each function prints what it saw in one
# line and ends with 0 when that is what is assumed, with 1 when it is not; with 2, or without a
# line, it could not be asked.

out=${out:?the folder for output, set by the script that sources this file}

# Says on standard output what went wrong, after the path as it was given, and ends with 1.
answer_plutil() {
    local folder=$out/É status=0 said
    mkdir -p "$folder"
    python3 -c 'import plistlib, sys
plistlib.dump({"CFBundleVersion": "7"}, open(sys.argv[1], "wb"), fmt=plistlib.FMT_BINARY)' \
        "$folder/Info.plist" || return 2
    said=$(plutil -extract CFBundleShortVersionString raw "$folder/Info.plist" 2>"$out/plutil.err") \
        || status=$?
    printf 'status %s, standard output "%s", standard error "%s"' "$status" "$said" \
        "$(cat "$out/plutil.err")"
    [ "$status" = 1 ] && [[ $said == "$folder/Info.plist: "* ]]
}

# The mark of what came from the network is on the item that unzip made.
answer_quarantine() { # ITEM
    local mark
    mark=$(xattr -p com.apple.quarantine "$1" 2>&1) && printf 'marked %s' "$mark" && return
    printf 'not marked: %s' "$mark"
    return 1
}

# unzip by itself passes its archive's mark on.
answer_unzip() {
    local folder=$out/unzip
    mkdir -p "$folder"
    cp "$out"/www/data/software/macos/Pluvisel-2.1.zip "$folder/a.zip" || return 2
    xattr -w com.apple.quarantine "0081;00000000;Quillmere;" "$folder/a.zip" || return 2
    unzip -qo "$folder/a.zip" -d "$folder" || return 2
    answer_quarantine "$folder/Lisez-moi.txt"
}

# The file system keeps a name as it was made, so find prints it so.
answer_names() {
    local folder=$out/names made found
    mkdir -p "$folder"
    made=$(printf 'E\314\201.app')
    : >"$folder/$made"
    found=$(cd "$folder" && find . -name '*.app')
    if [ "${found#./}" = "$made" ]; then
        printf 'a decomposed name stays decomposed'
    else
        printf 'a decomposed name came back as %s' "$(printf '%s' "$found" | xxd -p)"
        return 1
    fi
}

# Quillmere goes on when its own bundle is replaced under it.
answer_own_update() {
    local bundle=$out/Running.app id end=$((SECONDS + 30))
    ditto "${volume:?}/Quillmere.app" "$bundle" || return 2
    mkdir -p "$out/other-home"
    HOME=$PWD/$out/other-home "$bundle/Contents/MacOS/Quillmere" >"$out/replaced.out" 2>&1 &
    id=$!
    until [ -s "$out/other-home/Library/Quillmere/quillmere.log" ]; do
        if [ "$SECONDS" -ge "$end" ]; then
            kill "$id" 2>/dev/null || true
            return 2
        fi
        sleep 0.2
    done
    rm -rf "$bundle"
    ditto "$volume/Quillmere.app" "$bundle"
    sleep 10
    if kill "$id" 2>/dev/null; then
        wait "$id" 2>/dev/null || true
        printf 'still ran 10 s after its bundle was replaced'
    else
        printf 'ended when its bundle was replaced'
        return 1
    fi
}

# A message is a box of the system's, with its text as it stands.
answer_box() { # PROCESS, which shows a box
    local seen
    seen=$(windows "$1") || return 2
    screencapture -x "$out/box.png" || true
    printf '%s' "$seen" | tr '\n' ' '
    [[ $seen == *AXDialog* && $seen == *"Ressources internet inaccessibles"* ]]
}

# Tab passes over buttons unless keyboard navigation is switched on.
answer_tab() { # PROCESS
    local seen mode
    mode=$(defaults read -g AppleKeyboardUIMode 2>/dev/null) || mode="unset"
    seen=$(tab_stops "$1") || return 2
    printf 'AppleKeyboardUIMode %s: %s' "$mode" "$seen"
    if [ "$mode" = unset ] || [ "$mode" = 0 ]; then
        [[ $seen != *AXButton* ]]
    else
        [[ $seen == *AXButton* ]]
    fi
}

# row QUESTION FUNCTION ARGUMENTS...: a line of the table.
row() {
    local question=$1 seen status=0 verdict
    shift
    seen=$("$@" 2>>"$out/answers.err") || status=$?
    case $status:${seen:+seen} in
        0:seen) verdict="as assumed" ;;
        1:seen) verdict="**otherwise**" ;;
        *) verdict="no answer" ;;
    esac
    printf '| %s | %s | %s |\n' "$question" "$verdict" \
        "$(printf '%s' "$seen" | tr '\n|' ' /')" | tee -a "$out/answers.md"
}

# The window's box, for which the server is taken away and the catalogue asked for again.
start_with_box() {
    sed -i.bak 's|<baseURL>.*</baseURL>|<baseURL>http://127.0.0.1:9/</baseURL>|' \
        "${settings:?}/config.xml"
    start_quillmere
    wait_until 60 "the second attempt" second_attempt_failed
    sleep 2
}

second_attempt_failed() {
    [ "$(grep -cF 'WebProfiler - Network error' "$settings/quillmere.log")" -ge 2 ]
}

# answer_all ITEM: the whole table, with the installer that was opened.
answer_all() {
    {
        printf '%s %s, %s\n\n' "$(sw_vers -productName)" "$(sw_vers -productVersion)" "$(uname -m)"
        printf '| Assumed | Answer | Seen |\n|---|---|---|\n'
    } | tee "$out/answers.md"
    row "plutil tells of its failures on standard output, after the path" answer_plutil
    row "what Quillmere unpacked is quarantined" answer_quarantine "$1"
    row "unzip passes the quarantine on" answer_unzip
    row "a file keeps its name's composition" answer_names
    row "Tab passes over buttons without keyboard navigation" answer_tab "${quillmere_id:?}"
    stop_all
    row "Quillmere survives the replacement of its bundle" answer_own_update
    start_with_box
    row "a message is a box of the system's" answer_box "$quillmere_id"
    [ -z "${GITHUB_STEP_SUMMARY-}" ] || cat "$out/answers.md" >>"$GITHUB_STEP_SUMMARY"
}
