# Sourced by the scripts that let programs run side by side. It ends all that was started when the script ends, however
# that is; a script may define on_end CODE and after_end for what else is to be done then.
pids=()
at_end() {
    local code=$?
    trap - EXIT INT TERM
    ! declare -F on_end >/dev/null || on_end "$code"
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    ! declare -F after_end >/dev/null || after_end # when all have been told to end
    wait 2>/dev/null || true
    exit "$code"
}
trap at_end EXIT
# A pipe of which the last command stops reading early fails now and then: read to the end, or from a text.
trap 'echo "${0##*/}: line $LINENO: code $?: $BASH_COMMAND" >&2' ERR
trap 'exit 130' INT TERM

start() { # LOG COMMAND...      its process is $!
    local log=$1
    shift
    "$@" >"$log" 2>&1 &
    pids+=($!)
}
wait_for() { # SECONDS COMMAND...      false when it has not come true by then
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.1
    done
}
ended() { ! kill -0 "$1" 2>/dev/null; }
ok() { echo "ok   $1"; }
virtual_screen() { # FOLDER SIZE [DISPLAY]      logs go to the folder; false when there is none
    start "$1/xvfb.log" Xvfb ${3:-} -displayfd 3 -screen 0 "$2x24" -nolisten tcp 3>"$1/display"
    wait_for 20 test -s "$1/display" || return 1
    DISPLAY=":$(cat "$1/display")"
    export DISPLAY
}
