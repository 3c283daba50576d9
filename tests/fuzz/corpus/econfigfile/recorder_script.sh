#!/bin/sh
# The box's recorder for the radio plug-in, run by the image daemon:
#   streamripper_script.sh start URL   records the stream URL into STREAMDIR
#   streamripper_script.sh stop        ends the recording
# STREAMDIR and DAEMON are box paths: the daemon gives the box root in BOX_ROOT
# (empty on the box itself). The recorder's complaints go to /tmp/.streamdebug,
# which the plug-in shows while the recorder runs.
STREAMDIR=/hdd/radio
DAEMON=/usr/bin/streamripper

root=${BOX_ROOT:-}
pidfile="$root/tmp/.streamripper.pid"
debug="$root/tmp/.streamdebug"
complaints="$root/tmp/.streamripper.err"

# Whether process $1 runs: an ended recorder that nobody has reaped yet (its
# parent, this script, is gone) does not.
recorder_runs() {
    [ -r "/proc/$1/stat" ] || return 1
    state=$(sed 's/.*) \([A-Za-z]\).*/\1/' "/proc/$1/stat" 2>/dev/null)
    [ -n "$state" ] && [ "$state" != Z ]
}

case "$1" in
start)
    case "$2" in
    "")
        echo "streamripper_script.sh: start needs a stream URL" >>"$debug"
        exit 1
        ;;
    -*)
        # The recorder would take it for one of its options.
        echo "streamripper_script.sh: not a stream URL: $2" >>"$debug"
        exit 1
        ;;
    esac
    if [ ! -x "$root$DAEMON" ]; then
        echo "streamripper_script.sh: the recorder $DAEMON is missing" >>"$debug"
        exit 1
    fi
    # The message file is written only when there is something to say: the
    # plug-in shows whatever it finds there, an empty file included.
    if ! made=$(mkdir -p "$root$STREAMDIR" 2>&1); then
        echo "$made" >>"$debug"
        exit 1
    fi
    : >"$complaints"
    "$root$DAEMON" "$2" -d "$root$STREAMDIR" -a --quiet </dev/null >/dev/null 2>>"$complaints" &
    echo $! >"$pidfile"
    # Pass the recorder's complaints on while it runs, and once more when it ends.
    (
        pid=$(cat "$pidfile")
        while recorder_runs "$pid"; do
            if [ -s "$complaints" ]; then
                cat "$complaints" >>"$debug"
                : >"$complaints"
            fi
            sleep 1
        done
        if [ -s "$complaints" ]; then
            cat "$complaints" >>"$debug"
        fi
        rm -f "$complaints"
    ) </dev/null >/dev/null 2>&1 &
    ;;
stop)
    if [ -f "$pidfile" ]; then
        kill "$(cat "$pidfile")" 2>/dev/null
        rm -f "$pidfile"
    fi
    ;;
*)
    echo "usage: $0 start URL | stop" >&2
    exit 2
    ;;
esac
