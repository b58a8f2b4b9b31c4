# shellcheck shell=bash
# What runs in the background while run.sh runs: started here, watched here, stopped here.

out=${out:?the folder for output, set by the script that sources this file}
started="" # "id:name" of each, the last one first
last_id="" # of the one started last

# start NAME COMMAND...: runs it in the background, its output in NAME.out; its id is in last_id.
start() {
    local name=$1
    shift
    "$@" >"$out/$name.out" 2>&1 &
    last_id=$!
    started="$last_id:$name $started"
}

# Stops what was started, the last one first, and waits until it is gone.
stop_all() {
    local item id tries
    for item in $started; do
        id=${item%%:*}
        kill "$id" 2>/dev/null || true
        tries=0
        while kill -0 "$id" 2>/dev/null && [ "$tries" -lt 30 ]; do
            sleep 0.1
            tries=$((tries + 1))
        done
        kill -KILL "$id" 2>/dev/null || true
        wait "$id" || true
    done 2>/dev/null # the shell's own "Terminated" lines
    started=""
}

# Ends the script because of what NAME said when it ended with STATUS.
fail_with_output() {
    tail -n 5 "$out/$1.out" >&2
    fail "$1 ended with status $2; see $out/$1.out"
}

# Fails if something that was started has ended by itself.
check_running() {
    local item id status
    for item in $started; do
        id=${item%%:*}
        if ! kill -0 "$id" 2>/dev/null; then
            status=0
            wait "$id" || status=$?
            fail_with_output "${item#*:}" "$status"
        fi
    done
}

# wait_until SECONDS WHAT COMMAND...: until the command succeeds; fails when the time is over.
wait_until() {
    local end=$((SECONDS + $1)) what=$2 seconds=$1
    shift 2
    until "$@"; do
        check_running
        [ "$SECONDS" -lt "$end" ] || fail "waited $seconds s in vain for $what; see $out"
        sleep 0.1
    done
}
