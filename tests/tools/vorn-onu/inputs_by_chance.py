"""Files for the tool by chance, the same for a name each time: what an OLT asks for, and what a program does on a device."""

import functools
import hashlib
import itertools
import re
import struct

# Lines for a program on a device (tests/virtual_onu/run_commands.py); each {…} is one of its words by chance.
COMMAND_WORDS = {
    "device": "sid0 sid1 sid0.3 gpondef eth0 br1 br2 lo none".split(), "bridge": "br1 br1 br2 br2 br3 sid1".split(),
    "number": "0 1 2 3 9 63 64 100 1500 3000 65535 65536 -1 1x".split() + [""],
    "mac": "02:11:22:33:44:55 02:11:22:33:44:56 00:00:00:00:00:00 01:00:5e:00:00:01 02:11:22:33:44".split(),
    "address": "10.0.0.5 10.0.0.6 192.0.2.1 255.255.255.0 255.0.0.0 10.0.0.300 10.0.0.0/24 default".split(),
    "time": "forward_delay hello_time max_age ageing_time priority stp_state multicast_snooping gc_timer root_id bridge_id".split(),
    "port": "priority path_cost state isolated port_no port_id designated_root".split(),
    "leaf": "mtu address flags operstate carrier type ifindex statistics/rx_bytes bridge brport nothing".split() + [""],
    "on": "on off yes no 1 0 perhaps".split(), "up": "up down".split(), "key": "key keymask".split(),
    "object": "ingress_class/dir=us,index=1 ingress_class/dir=ds,index=2 vlan_action/index=1 port/index=lan0 system".split(),
    "entry": ["string key={dst_mac=02:11:22:33:44:55,vid=7},result={action=host}", "key={vid=7},result={}", "result={}"],
    "verb": "/b/n /b/d /b/c /b/e /bdmf/new /bdmf/delete /bdmf/configure /b/x".split(),
    "joint": ["&&", "||", ";", "|", "2>/dev/null &&"], "way": "add del delete replace show change".split(),
}
COMMAND_LINES = """
brctl addbr {bridge}; brctl addif {bridge} {device}
brctl addbr {bridge}
brctl addif {bridge} {device}
brctl addif {bridge} {device}
brctl delif {bridge} {device}
brctl delbr {bridge}
brctl stp {bridge} {on}
brctl {bridge} {device}
brctl setfd {bridge} {number}
brctl sethello {bridge} {number}.5
brctl setmaxage {bridge} {number}
brctl setageing {bridge} {number}
brctl setbridgeprio {bridge} {number}
brctl setportprio {bridge} {device} {number}
brctl setpathcost {bridge} {device} {number}
brctl show
ifconfig {device} {up}
ifconfig {device} {up}
ifconfig {device} mtu {number} {up}
ifconfig {device} hw ether {mac}
ifconfig {device} {address} netmask {address} broadcast {address}
ifconfig {device} {address} {number}
ifconfig {device}
ifconfig
ip link set dev {device} {up}
ip link set {device} mtu {number}
ip link set {device} address {mac}
ip link set {device} master {bridge}
ip link set {device} nomaster
ip link set {device} {number}
ip link add name {bridge} type bridge
ip link del {bridge}
ip rule {way} from {address} table {number}
ip rule {way} from {address} table
ip route {way} {address} via {address} dev {device} table {number}
ip route {way} {address} dev {device}
ip route {way} {address} via {address}
ip {way} {device}
bs {verb} {object},cfg=(type=flow,n={number}) prty={number}
bs {verb} {object} action=(cmd=push+tpid_rem,ovid={number},otpid=8100) prty={number}
bs {verb} {object}
bs /b/a {object} flow {entry}
bs /bdmf/attr/add {object} {entry}
iq add{key} --dstmac {mac} --prio {number}
iq rem{key} --dstmac {mac}
iq rem{key}
iq flush
iq disable {joint} iq enable
ifconfig {device} {up} {joint} brctl addbr {bridge} {joint} echo {number}
ifconfig {device} | grep {mac}
echo {number} '{mac}' "{device}" >/dev/null {joint} true
cat /sys/class/net/{device}/{leaf}
read /sys/class/net/{device}/{leaf}
list /sys/class/net/{device}/{leaf}
list /sys/class/net/{bridge}/brif/{device}
read /sys/class/net/{bridge}/bridge/{time}
write /sys/class/net/{bridge}/bridge/{time} {number}
write /sys/class/net/{bridge}/bridge/{time} {number}00
read /sys/class/net/{device}/brport/{port}
write /sys/class/net/{device}/brport/{port} {number}
read /proc/sys/net/ipv6/conf/{device}/disable_ipv6
write /proc/sys/net/ipv6/conf/{device}/disable_ipv6 {number}
list /proc/sys/net/ipv6/conf/{device}
mcpctl {way} {device}
""".strip().splitlines()


def chances(name):
    """Numbers by chance, the same for a name each time: a function that answers one below a limit."""
    count = itertools.count()
    return lambda limit: int.from_bytes(hashlib.sha256(f"{name} {next(count)}".encode()).digest()[:6], "big") % limit


@functools.lru_cache(maxsize=None)
def asked_in(capture):
    """An OLT's messages in a capture of Ethernet frames, without transaction and check sequence."""
    data, at, messages = capture.read_bytes(), 24, []
    while at < len(data):
        size = struct.unpack_from("<I", data, at + 8)[0]
        one = data[at + 30:at + 16 + size]
        if one[2] & 0x60 == 0x40:
            messages.append(one[2:40] if one[3] == 0x0A else one[2:10 + struct.unpack_from(">H", one, 8)[0]])
        at += 16 + size
    return messages


def session(captures, name):
    """What an OLT asks for in two of the captures, one behind the other, with some more between: asked for again, of another capture,
    with other octets, entities taken away, looked at and set."""
    chance = chances(name)
    everything = [one for capture in captures for one in asked_in(capture)]
    asked = []
    for own in (captures[chance(len(captures))], captures[chance(len(captures))]):
        for one in asked_in(own)[len(asked) > 0:]:  # reset once
            asked.append(one)
            if chance(3) > 0:
                continue
            one = asked[chance(len(asked))] if chance(2) == 0 else everything[chance(len(everything))]
            kind = chance(7)
            if kind < 3:  # an octet of the content, or of the instance, is another
                at = 4 + chance(len(one) - 4) if kind > 0 else 5
                one = one[:at] + bytes([chance(256) if kind > 1 else one[at] ^ 1 << chance(8)]) + one[at + 1:]
            elif kind < 6:  # delete, get, set instead
                one = bytes([(0x46, 0x49, 0x48)[kind - 3]]) + one[1:]
            asked.append(one)
    return "".join((struct.pack(">H", place) + one).hex() + "\n" for place, one in enumerate(asked, 1))


def commands(name):
    """Lines by chance, after what makes a device and a bridge."""
    chance = chances(name)
    lines = ["brctl addbr br1", "brctl addif br1 sid0", "ifconfig br1 up", "ifconfig sid0 up"]
    for _ in range(400):
        line = COMMAND_LINES[chance(len(COMMAND_LINES))]
        line = re.sub(r"\{(\w+)\}", lambda found: (words := COMMAND_WORDS[found[1]])[chance(len(words))], line)
        lines.append(line.replace("(", "{").replace(")", "}"))
    return "\n".join(lines) + "\n"
