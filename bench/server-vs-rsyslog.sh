#!/usr/bin/env bash
# The server against rsyslog from Debian, side by side in one run on this machine: the same
# sender (syslog-ng's loggen), the same 150-byte messages, each written to a file.
#
#   bench/server-vs-rsyslog.sh BUILD [TCP_MESSAGES] [UDP_SECONDS]
#
# - TCP: one connection sends TCP_MESSAGES (default 3,000,000) as fast as loggen can; the
#   figure is messages received and written a second, from the first sent to the last written,
#   and how many were lost (there must be none).
# - UDP: loggen offers 50,000 to 400,000 messages a second for UDP_SECONDS (default 5); the
#   figure is the share of the sent messages that is not in the file.
# Velmora runs with notifications off (bus = none), on (the session bus, with one listener,
# at most 20,000 a second, the default), and, over TCP only, on without a limit; for the runs
# with notifications the number of signals the listener got is shown. rsyslog (8.2302 in Debian 12) must be installed; it is started here with a
# configuration of its own and stopped again. loggen comes from the syslog-ng-core package,
# which conflicts with rsyslog's: it is unpacked with dpkg -x into a scratch folder, never
# installed (apt-get download syslog-ng-core). Run it inside dbus-run-session.
set -euo pipefail
build=${1:?usage: server-vs-rsyslog.sh BUILD [TCP_MESSAGES] [UDP_SECONDS]}
tcp_messages=${2:-3000000}
udp_seconds=${3:-5}
server=$(realpath "$build/src/server/velmora-server")
command -v rsyslogd >/dev/null || { echo "rsyslog is not installed" >&2; exit 1; }
[ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ] || { echo "run inside dbus-run-session" >&2; exit 1; }

work=$(mktemp -d /tmp/velmora-bench-XXXXXX)
pids=()
cleanup() { kill "${pids[@]}" 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

# loggen, unpacked from its Debian package.
(cd "$work" && apt-get download -qq syslog-ng-core 2>/dev/null && dpkg -x syslog-ng-core_*.deb loggen)
export SYSLOGNG_PREFIX=$work/loggen/usr LD_LIBRARY_PATH=$work/loggen/usr/lib/syslog-ng
loggen=$work/loggen/usr/bin/loggen

port=$((20000 + RANDOM % 20000))
out=$work/out
lines() { { cat "$out"/*.log 2>/dev/null || true; } | wc -l; }

# Empties the output; rsyslog is told to open its file anew.
empty_output() {
    rm -f "$out"/*.log
    if [ "$receiver" = rsyslog ]; then
        kill -HUP "${pids[-1]}"
    fi
    sleep 0.5
}

start_rsyslog() {
    mkdir -p "$out" "$work/rsyslog"
    cat >"$work/rsyslog.conf" <<CONF
global(workDirectory="$work/rsyslog")
module(load="imtcp")
module(load="imudp")
input(type="imtcp" port="$port")
input(type="imudp" port="$port" rcvbufSize="32m")
template(name="velmoraLine" type="string"
         string="%timegenerated:::date-unixtimestamp%,%syslogfacility-text%.%syslogseverity-text%,%fromhost-ip%,%msg%\n")
action(type="omfile" file="$out/rsyslog.log" template="velmoraLine")
CONF
    rsyslogd -n -f "$work/rsyslog.conf" -i "$work/rsyslog.pid" &
    pids+=($!)
}

start_velmora() {
    mkdir -p "$out"
    printf 'bus = %s\nnotify-limit = %s\n' "$1" "${2:-20000}" >"$work/server.conf"
    "$server" --data-dir "$out" --config "$work/server.conf" \
        --listen "udp://127.0.0.1:$port" --listen "tcp://127.0.0.1:$port" 2>>"$work/journal" &
    pids+=($!)
}

stop_receiver() {
    kill "${pids[-1]}"
    wait "${pids[-1]}" 2>/dev/null || true
    unset 'pids[-1]'
    rm -rf "$out"
}

wait_ready() {
    for _ in $(seq 100); do
        (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && return
        sleep 0.1
    done
    echo "the receiver did not start" >&2
    exit 1
}

# Waits until the file stops growing for two seconds; prints the time of the last growth.
settle() {
    local last=-1 count changed
    changed=$(date +%s.%N)
    while true; do
        count=$(lines)
        if [ "$count" != "$last" ]; then
            last=$count
            changed=$(date +%s.%N)
        elif awk -v now="$(date +%s.%N)" -v then="$changed" 'BEGIN { exit !(now - then > 2) }'; then
            echo "$changed"
            return
        fi
        sleep 0.05
    done
}

# loggen's closing line: "average rate = R msg/sec, count=N, time=T, ..."
sent_count() { sed -n 's/^average rate.*count=\([0-9]*\),.*/\1/p' "$1"; }
sent_time() { sed -n 's/^average rate.*time=\([0-9.]*\),.*/\1/p' "$1"; }

run_tcp() {
    local name=$1 begin end written
    begin=$(date +%s.%N)
    "$loggen" -i -S -s 150 -r 100000000 -n "$tcp_messages" 127.0.0.1 "$port" >"$work/loggen.txt" 2>&1
    end=$(settle)
    written=$(lines)
    printf '%-28s TCP  %9d sent  %9d written  %8.0f msg/s  lost %d\n' "$name" "$tcp_messages" \
        "$written" "$(awk -v n="$written" -v t="$(awk -v a="$begin" -v b="$end" 'BEGIN { print b - a }')" 'BEGIN { print n / t }')" \
        $((tcp_messages - written))
}

run_udp() {
    local name=$1 rate sent written
    for rate in 50000 100000 200000 300000 400000; do
        empty_output
        "$loggen" -i -D -s 150 -r "$rate" -I "$udp_seconds" 127.0.0.1 "$port" >"$work/loggen.txt" 2>&1
        settle >/dev/null
        sent=$(sent_count "$work/loggen.txt")
        written=$(lines)
        printf '%-28s UDP  offered %6d/s  sent %8d (%6.0f/s)  written %8d  lost %6.2f %%\n' "$name" \
            "$rate" "$sent" "$(awk -v n="$sent" -v t="$(sent_time "$work/loggen.txt")" 'BEGIN { print n / t }')" \
            "$written" "$(awk -v s="$sent" -v w="$written" 'BEGIN { print 100 * (s - w) / s }')"
    done
}

signals() { grep -c 'com.kestrix.Velmora' "$work/signals" 2>/dev/null || true; }
listen() {
    dbus-monitor --session --profile "type=signal,interface=com.kestrix.Velmora" >"$work/signals" 2>/dev/null &
    pids=("$!" "${pids[@]}")
    sleep 0.5
}

for receiver in rsyslog velmora-none velmora-session velmora-unlimited; do
    case $receiver in
    rsyslog) start_rsyslog; name="rsyslog $(rsyslogd -v | head -1 | cut -d' ' -f3)" ;;
    velmora-none) start_velmora none; name="velmora, notifications off" ;;
    velmora-session) listen; start_velmora session; name="velmora, notifications on" ;;
    velmora-unlimited) start_velmora session 0; name="velmora, no notify limit" ;;
    esac
    wait_ready
    before=$(signals)
    run_tcp "$name"
    [ "$receiver" = velmora-none ] || [ "$receiver" = rsyslog ] ||
        echo "    signals the listener got over TCP: $(($(signals) - before))"
    [ "$receiver" = velmora-unlimited ] || run_udp "$name"
    stop_receiver
done
grep -E 'dropped|without a notification' "$work/journal" || true
