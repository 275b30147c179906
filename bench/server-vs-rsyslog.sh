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
# Velmora runs twice, with notifications off (bus = none) and on (the session bus, with one
# listener). rsyslog (8.2302 in Debian 12) must be installed; it is started here with a
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
lines() { cat "$out"/*.log 2>/dev/null | wc -l; }

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
    printf 'bus = %s\n' "$1" >"$work/server.conf"
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

sent_count() { sed -n 's/.*count=\([0-9]*\).*/\1/p' "$1" | tail -1; }

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
        rm -f "$out"/*.log
        [ "$name" = rsyslog ] && kill -HUP "${pids[-1]}" # reopen the file just removed
        sleep 0.5
        "$loggen" -i -D -s 150 -r "$rate" -I "$udp_seconds" 127.0.0.1 "$port" >"$work/loggen.txt" 2>&1
        settle >/dev/null
        sent=$(sent_count "$work/loggen.txt")
        written=$(lines)
        printf '%-28s UDP  offered %6d/s  sent %8d (%6.0f/s)  written %8d  lost %6.2f %%\n' "$name" \
            "$rate" "$sent" "$(awk -v n="$sent" -v t="$udp_seconds" 'BEGIN { print n / t }')" \
            "$written" "$(awk -v s="$sent" -v w="$written" 'BEGIN { print 100 * (s - w) / s }')"
    done
}

for receiver in rsyslog velmora-none velmora-session; do
    case $receiver in
    rsyslog) start_rsyslog; name="rsyslog $(rsyslogd -v | head -1 | cut -d' ' -f3)" ;;
    velmora-none) start_velmora none; name="velmora, notifications off" ;;
    velmora-session)
        dbus-monitor --session "type=signal,interface=com.kestrix.Velmora" >/dev/null 2>&1 &
        pids=("$!" "${pids[@]}")
        start_velmora session
        name="velmora, notifications on"
        ;;
    esac
    wait_ready
    run_tcp "$name"
    rm -f "$out"/*.log
    [ "$receiver" = rsyslog ] && kill -HUP "${pids[-1]}"
    run_udp "$name"
    stop_receiver
done
grep -E 'dropped|without a notification' "$work/journal" || true
