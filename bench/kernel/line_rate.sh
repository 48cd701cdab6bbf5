#!/bin/bash
# iperf3 between two network namespaces: through a board that runs, and through two veth pairs and a bridge of the same kernel, in
# turns. Prints a table for docs/performance.md; what one processor carries comes of the processor time of the board's process.
#   bench/kernel/line_rate.sh VORN-ONU [SECONDS]
# Needs root, iperf3 and /dev/net/tun. Tags are the kernel's VLAN devices at the ends, or, where it has none, programs for tc that
# clang compiles.
set -euo pipefail
tool=$(realpath "$1")
seconds=${2:-4}
here=$(dirname "$(realpath "$0")")
scratch=$(mktemp -d)
customer=customer$$ operators=operator$$
board=

clean() {
    [ -z "$board" ] || kill "$board" 2>/dev/null || true
    for name in "$customer" "$operators" "v$customer" "v$operators"; do ip netns del "$name" 2>/dev/null || true; done
    ip link del "vb$$" 2>/dev/null || true
    rm -rf "$scratch"
}
trap clean EXIT

# Two veth pairs and a bridge.
make_bridge() {
    ip link add "vb$$" type bridge
    ip link set "vb$$" up
    local number=1
    for name in "v$customer" "v$operators"; do
        ip netns add "$name"
        ip link add "v$number.$$" type veth peer name end0 netns "$name"
        ip link set "v$number.$$" master "vb$$" up
        ip -n "$name" addr add "10.8.0.$number/24" dev end0
        ip -n "$name" link set end0 up
        number=$((number + 1))
    done
    sleep 2
}

# tag NETNS DEVICE ADDRESS TPID/VID...: outermost first; the address is behind the tags.
tag() {
    local netns=$1 device=$2 address=$3 below=$2 push="" pop="" one
    shift 3
    if ! ip -n "$netns" link add link "$device" name probe type vlan id 4 2>/dev/null; then
        for one; do # the innermost is pushed first, and the outermost taken off first
            push="push(skb, __builtin_bswap16(${one%/*}), ${one#*/}); $push"
            pop="pop(skb); $pop"
        done
        cat >"$scratch/tags.c" <<END
static long (*push)(void*, unsigned short, unsigned short) = (void*)18;
static long (*pop)(void*) = (void*)19;
__attribute__((section("tc/on"), used)) int on_it(void* skb) { $push return 0; }
__attribute__((section("tc/off"), used)) int off_it(void* skb) { $pop return 0; }
char licence[] __attribute__((section("license"), used)) = "GPL";
END
        clang -O2 -target bpf -c "$scratch/tags.c" -o "$scratch/tags.o" 2>/dev/null ||
            clang-14 -O2 -target bpf -c "$scratch/tags.c" -o "$scratch/tags.o"
        ip netns exec "$netns" tc qdisc add dev "$device" clsact
        ip netns exec "$netns" tc filter add dev "$device" egress bpf da obj "$scratch/tags.o" sec tc/on
        ip netns exec "$netns" tc filter add dev "$device" ingress bpf da obj "$scratch/tags.o" sec tc/off
    else
        ip -n "$netns" link del probe
        for one; do
            local protocol=802.1Q
            [ "${one%/*}" = 0x8100 ] || protocol=802.1ad
            ip -n "$netns" link add link "$below" name "t${one#*/}" type vlan proto "$protocol" id "${one#*/}"
            below=t${one#*/}
            ip -n "$netns" link set "$below" up
        done
    fi
    ip -n "$netns" addr add "$address" dev "$below"
}

# A board that runs this scenario, with the customer at this port.
start_board() {
    for name in "$customer" "$operators"; do ip netns add "$name"; done
    "$tool" run "$here/../../scenarios/$1.json" --stay --quiet --name "line-rate-$$" --tap "$2=lan0@$customer" \
        --tap "gem 1001=pon0@$operators" >"$scratch/board" 2>&1 &
    board=$!
    until grep -q "the board stays" "$scratch/board"; do sleep 0.1; done
}
stop_board() {
    kill "$board"
    wait "$board" || true
    board=
    for name in "$customer" "$operators"; do ip netns del "$name"; done
}

# rate FROM-NETNS TO-NETNS ADDRESS OPTIONS: Mbit/s, and the share of datagrams that were lost.
rate() {
    local from=$1 to=$2 address=$3
    shift 3
    ip netns exec "$to" iperf3 -s -1 -B "$address" >/dev/null &
    local server=$!
    sleep 0.5
    ip netns exec "$from" iperf3 -c "$address" -t "$seconds" -J "$@" >"$scratch/iperf" || true
    wait "$server" || true
    python3 - "$scratch/iperf" <<'END'
import json, sys
end = json.load(open(sys.argv[1])).get("end", {})
one = end.get("sum", end.get("sum_received", {"bits_per_second": 0}))
lost = one.get("lost_percent", 0)  # of datagrams; the rate is then the sender's
print(f"{one['bits_per_second'] * (1 - lost / 100) / 1e6:.0f} {lost:.0f}")
END
}

processor_ticks() {
    awk '{ ticks += $14 + $15 } END { print ticks }' "/proc/$board/task"/*/stat
}

# ratio A B FORMAT
ratio() {
    awk -v a="$1" -v b="$2" -v format="$3" 'BEGIN { printf format, (b > 0 ? a / b : 0) }'
}

measure() {
    local words=$1 direction options kernel own kernel_lost own_lost ticks
    for direction in up down; do
        for options in "" "-u -b 0 -l 1448"; do
            local reverse=""
            [ $direction = up ] || reverse=-R
            # shellcheck disable=SC2086
            read -r kernel kernel_lost <<<"$(rate "v$customer" "v$operators" 10.8.0.2 $options $reverse)"
            ticks=$(processor_ticks)
            # shellcheck disable=SC2086
            read -r own own_lost <<<"$(rate "$customer" "$operators" 10.9.0.2 $options $reverse)"
            ticks=$(($(processor_ticks) - ticks))
            local protocol=TCP losses="" carries
            carries=$(ratio $((own * seconds * $(getconf CLK_TCK))) "$ticks" %.0f)
            # Of datagrams it has carried some that the receiver lost.
            [ -z "$options" ] || { protocol=UDP carries="" losses=" ($own_lost % lost; $kernel_lost %)"; }
            echo "| $words | $direction | $protocol | $own | $kernel | $(ratio "$own" "$kernel" %.2f)$losses |" \
                "$carries | $(cut -d ' ' -f 1 /proc/loadavg) |"
        done
    done
}

make_bridge
echo "| tags on the PON | direction | protocol | board, Mbit/s | veth and bridge, Mbit/s | ratio | one processor carries, Mbit/s | load |"
echo "| --- | --- | --- | --- | --- | --- | --- | --- |"
start_board real-packets sid2
ip -n "$customer" addr add 10.9.0.1/24 dev lan0
ip -n "$operators" addr add 10.9.0.2/24 dev pon0
measure none
stop_board
start_board real-dhcp sid2
ip -n "$customer" addr add 10.9.0.1/24 dev lan0
tag "$operators" pon0 10.9.0.2/24 0x8100/100
measure "one, pushed and taken off"
stop_board
start_board qinq sid1
tag "$customer" lan0 10.9.0.1/24 0x8100/7
tag "$operators" pon0 10.9.0.2/24 0x88a8/500 0x8100/7
measure "two, the outer one pushed and taken off"
stop_board
