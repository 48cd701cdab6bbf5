"""Lines for a program on a device (tests/virtual_onu/run_commands.py)."""

import re

from by_chance.chance import Chances

# Each {…} of a line is one of its words by chance.
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
    # Requests by their value: of any kind, and those that set an address or a bridge's ports.
    "request": "8910 8913 8914 8914 8915 8919 891b 8921 8922 8924 8927 8933 89a0 89a1 8942".split(),
    "setting": "8916 891a 891c".split(), "joining": "89a2 89a3".split(), "index": "02 03 04 05 63".split(),
    "value": "00 01 02 03 07 0110 0010 4310 dc05 e803 0100021122334455 0100011122334455 ffffffff".split(),
    "sockaddr": "020000000a000005 02000000c0000201 02000000ffffff00 02000000ffff0000 0200000000000000 0a0000000a000005".split(),
    "octets": "-1 0 39 40 41 80 200".split(),
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
dhcpc -i {device} -B -l {number}
dhcpc -i
kill -9 {number}
read /proc/sys/net/ipv6/conf/{device}/{leaf}
change /sys/class/net/{bridge}/bridge/{time} {number}
change /sys/class/net/{device}/brport/{port} {number}
ioctl {request} {device} {value}
ioctl {request} {bridge} {value}
ioctl {setting} {device} {sockaddr}
ioctl {joining} {bridge} {index}
addresses {octets}
ifconfig {device} {up} >>/dev/null 2>&1 & echo '{device}'
ifconfig {device} 2>&1 | grep {number}
ifconfig "{device}" 1>&2 </dev/null {joint} echo \"{number}
cat < /sys/class/net/{device}/{leaf}
grep {number} < /sys/class/net/{device}/{leaf}
echo {number} >> /sys/class/net/{bridge}/bridge/{time}
echo {number} > /proc/sys/net/ipv6/conf/{device}/disable_ipv6
""".strip().splitlines()


def commands(name):
    """Lines by chance, after what makes a device and a bridge."""
    chance = Chances(name)
    lines = ["brctl addbr br1", "brctl addif br1 sid0", "ifconfig br1 up", "ifconfig sid0 up"]
    for _ in range(400):
        line = COMMAND_LINES[chance(len(COMMAND_LINES))]
        line = re.sub(r"\{(\w+)\}", lambda found: (words := COMMAND_WORDS[found[1]])[chance(len(words))], line)
        lines.append(line.replace("(", "{").replace(")", "}"))
    return "\n".join(lines) + "\n"
