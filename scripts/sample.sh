# shellcheck shell=bash
# Quillmere on the sample organisation, all of it below $out: bundles, server, HOME.

out=${out:?the folder for output, set by the script that sources this file}
home=$out/home
settings=$home/Library/Quillmere
quillmere_id=""

table() {
    PYTHONDONTWRITEBYTECODE=1 python3 sample/table.py "$@"
}

make_sample() {
    python3 sample/make_sample.py "$out" \
        || fail "the sample organisation could not be made; its reason is above"
}

# Starts the catalogue server; its address is in base_url.
start_server() {
    start server python3 sample/server.py --root "$out/www" --port-file "$out/port" \
        --slow-list "$out/slow-files.txt"
    wait_until 20 "the catalogue server" test -s "$out/port"
    base_url="http://127.0.0.1:$(cat "$out/port")/"
}

# Quillmere's defaults, but for the server's address.
write_configuration() {
    mkdir -p "$settings" "$home/Downloads"
    cat >"$settings/config.xml" <<END
<?xml version="1.0" encoding="UTF-8"?>
<root>
	<color>
		<base>#d4d4d4</base>
		<down>#ffdada</down>
		<equal>#daffda</equal>
		<up>#dadaff</up>
	</color>
	<localconfig>
		<downloadFolder>~/Downloads</downloadFolder>
	</localconfig>
	<webconfig>
		<baseURL>$base_url</baseURL>
		<csvPath>config/01_MacOS.csv</csvPath>
		<csvSeparator>,</csvSeparator>
		<softPath>data/software/macos/</softPath>
	</webconfig>
</root>
END
}

# start_quillmere [recorded]: starts Quillmere where it sees the sample's bundles, server and HOME,
# and nothing of the user's. "recorded": what it opens is only noted. $quillmere_program is another
# program than the preset's.
start_quillmere() {
    local path=$PWD/sample/bin:$PATH
    on_mac || path=$PWD/sample/plutil:$path
    if [ "${1-}" = recorded ]; then
        path=$PWD/sample/desktop:$path
    fi
    # With another HOME, the display's key would be looked for in the wrong folder.
    export XAUTHORITY="${XAUTHORITY:-${HOME-}/.Xauthority}"
    start quillmere env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME -u XDG_STATE_HOME \
        -u http_proxy -u https_proxy -u all_proxy -u HTTP_PROXY -u HTTPS_PROXY -u ALL_PROXY \
        HOME="$PWD/$home" PATH="$path" QUILLMERE_SAMPLE_APPLICATIONS="$PWD/$out/Applications" \
        QUILLMERE_SAMPLE_OPENED="$PWD/$out/opened.txt" \
        "${quillmere_program:-$(release_program)}"
    # shellcheck disable=SC2034 # for the scripts that source this file
    quillmere_id=${last_id:?}
}

scan_ended() {
    local log=${settings:?}/quillmere.log
    if [ "$(grep -cF '[ERROR] WebProfiler' "$log" 2>/dev/null)" = 2 ]; then
        fail "the catalogue could not be loaded:" \
            "$(grep -F '[ERROR] WebProfiler' "$log" | tail -n 1)"
    fi
    table scanned "$out"
}

# Whether that many scans have ended.
scans_ended() {
    [ "$(grep -cF "SysProfiler - data updated" "${settings:?}/quillmere.log")" -ge "$1" ] && scan_ended
}
