"""Files and options for the tool by chance, the same for a name each time: what an OLT asks for, what a program does on a device,
scenarios with something wrong in them, frames."""

import functools
import hashlib
import itertools
import json
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


OCTETS = [0, 0, 0, 1, 2, 3, 4, 8, 64, 127, 128, 255]
INSTANCES = [0, 1, 1, 1, 1, 0x0101, 0x0101, 0x0601, 0x8000, 0xFFFF]
# What a new ONU has: class, instance.
OWN = [(2, 0), (5, 0x0101), (6, 0x0101), (7, 0), (7, 1), (11, 0x0101), (11, 0x0102), (131, 0), (133, 0), (134, 0), (256, 0), (257, 0),
       (262, 0x8000), (262, 0x8001), (263, 0x8001), (264, 0x0101), (277, 0), (277, 0x8000), (278, 0x8000), (287, 0), (329, 0x0601), (332, 0)]


def messages(classes, made, name):
    """Messages of both sets and of all kinds, to entities of all classes; MADE are those that an OLT makes."""
    chance = chances(name)
    lines = [(struct.pack(">HBBHH", 1, 0x4F, 0x0A, 2, 0) + bytes(32)).hex()]
    known = OWN.copy()
    for number in range(2, 400):
        kind = (0x44, 0x44, 0x46, 0x48, 0x48, 0x48, 0x49, 0x49, 0x5D, 0x40 | chance(32))[chance(10)]
        if kind == 0x4F:
            continue
        likely = 1 + chance(6)
        content = bytes(chance(256) if chance(12) == 0 else OCTETS[chance(2 * likely)] for _ in range(32))
        if kind in (0x48, 0x49):
            content = struct.pack(">H", 0x8000 >> chance(12) | (0x8000 >> chance(16) if chance(3) == 0 else 0)) + content[2:]
        entity = classes[chance(len(classes))], INSTANCES[chance(len(INSTANCES))]
        if kind == 0x44 and chance(8) > 0:
            entity = made[chance(len(made))], entity[1]
            known.append(entity)
        elif chance(8) > 0:  # most likely there
            entity = known[chance(len(known))]
        header = struct.pack(">HBBHH", number, kind, 0x0A, *entity)
        if chance(3) == 0:  # extended
            content = content[:1 + chance(32)]
            header = header[:3] + b"\x0b" + header[4:] + struct.pack(">H", len(content))
        lines.append((header + content).hex())
    return "\n".join(lines) + "\n"


# Other values in a scenario.
VALUES = [0, 1, 2, 7, 8, 15, 16, 255, 4094, 4095, 4096, 65535, 65536, -1, 1.5, "", "any", "none", "0x8100", "untagged", "sid0", "sid9",
          "br3", "up", None, True, False, [], {}, [1], ["sid1.3"], {"vid": 5}]


def scenario(text, name):
    """A scenario in which one value, or one name, is another, or is missing."""
    chance = chances(name)
    whole = json.loads(text)
    places = []

    def look(value):
        for key in value if isinstance(value, dict) else range(len(value)):
            places.append((value, key))
            if isinstance(value[key], (dict, list)):
                look(value[key])

    look(whole)
    parent, key = places[chance(len(places))]
    kind = chance(10)
    if kind > 5:  # as elsewhere in the scenario
        alike = [other[name] for other, name in places if name == key and isinstance(name, str)] or VALUES
        parent[key] = alike[chance(len(alike))]
    elif kind == 0:
        del parent[key]
    elif kind == 1 and isinstance(key, str):
        parent[key[:-1] if chance(2) == 0 else key + "s"] = parent.pop(key)
    elif kind == 2 and isinstance(parent[key], str):
        parent[key] = parent[key][1:]
    elif kind == 3 and isinstance(parent[key], int):
        parent[key] += 1
    else:
        parent[key] = VALUES[chance(len(VALUES))]
    return json.dumps(whole)


@functools.lru_cache(maxsize=None)
def asked_of_hal(path):
    """The steps of a scenario, each by itself: with the record's fields in the call."""
    whole = json.loads(path.read_text(encoding="utf-8"))
    steps = []
    for step in whole["steps"]:
        step = {**whole.get("records", {}).get(step.get("record", ""), {}), **step}
        for name in ("record", "note", "within", "result", "output"):
            step.pop(name, None)
        if "since" in json.dumps(step.get("expect")).lower():  # a mark that may not be there
            del step["expect"]
        if step and "show" not in step and "mark" not in step:
            steps.append(step)
    return steps


def mixture(paths, name):
    """Parts of scenarios one behind the other, some fields with what another step has there."""
    chance = chances(name)
    values = {}
    for path in paths:
        for step in asked_of_hal(path):
            for key, value in step.items():
                values.setdefault(key, []).append(value)
    steps = []
    while len(steps) < 90:
        own = asked_of_hal(paths[chance(len(paths))])
        first = chance(len(own))
        for step in own[first:first + 4 + chance(12)]:
            keys = [key for key in step if key not in ("call", "frame", "board", "expect")]
            if keys and chance(4) == 0:
                key = keys[chance(len(keys))]
                step = {**step, key: values[key][chance(len(values[key]))]}
            steps.append(step)
    return json.dumps({"title": name, "steps": steps})


TAG_WORDS = {"--vlan": "0 7 20 100 200 300 500 4095 4096".split(), "--pbits": "0 3 5 7 8".split(), "--tpid": "0x8100 0x88a8 0x9100".split(),
             "--dei": [""]}
FRAME_WORDS = {
    "--ethertype": "ipv4 ipv6 arp pppoeDiscovery 0x88b5 ipx".split(), "--protocol": "udp tcp igmp icmp 99".split(),
    "--dscp": "0 10 46 62 64".split(), "--payload": "0 20 1400 1600".split(), "--source": ["02:aa:00:00:00:01", "01:00:5e:00:00:01"],
    "--destination": ["02:aa:00:00:00:02", "01:00:5e:01:02:03", "ff:ff:ff:ff:ff:ff"], "--after-step": "9 14".split(),
    "--both-ways": [""], "--json": [""],
}


def frame(name):
    """Options of "send"."""
    chance = chances(name)
    words = ["--from", ("sid0", "sid0", "sid1", "'gem 1001'", "'gem 1001'", "'gem 1002'")[chance(6)]]
    for _ in range(chance(3)):
        words += ["--vlan", TAG_WORDS["--vlan"][chance(9)]]
        words += [word for option, values in list(TAG_WORDS.items())[1:] if chance(3) == 0 for word in (option, values[chance(len(values))])]
    words += [word for option, values in FRAME_WORDS.items() if chance(6) == 0 for word in (option, values[chance(len(values))])]
    return " ".join(filter(None, words))


def tagged_service(name):
    """A bridge with rows of extended VLAN tagging and two filters by chance, to compare with the standard."""
    chance = chances(name)

    def one_of(*values):
        return values[chance(len(values))]

    def tag(kind, place, priorities, vids, tpids):
        return {f"{place}{kind}Prio": one_of(*priorities), f"{place}{kind}VlanId": one_of(*vids), f"{place}{kind}TpidDe": one_of(*tpids)}

    steps = [{"call": "tcont_set", "allocId": 256, "tContIndex": 1}]
    steps += [{"call": "gemflow_add", "tContAllocId": 256, "xgemPortId": port} for port in (1001, 1002)]
    steps.append({"call": "configureBridge", "bridgeId": 3, "uniPort": 0})
    for port in (1001, 1002)[:1 + chance(2)]:
        tcis = [chance(8) << 13 | one_of(0, 100, 101, 4094, 4095) for _ in range(1 + chance(4))]
        steps.append({"call": "configureAniTagRules", "bridgeId": 3, "gemPortId": port, "trafficModel": "1-filter",
                      "forwardOperation": one_of(0, 2, 3, 4, 5, 7, 11, 16), "vlanTciFilterList": "".join(f"{tci:04x}" for tci in tcis),
                      "numberOfEntries": max(1, len(tcis) - chance(2)),
                      "pbitMap": [{"pbit": pbit, "gemPort": port, "queue": 0} for pbit in range(8) if port == 1001 or chance(2) == 0]})
    for _ in range(1 + chance(4)):
        tags = chance(3)
        row = {"call": "filter_flow_add", "bridgeId": 3, "uniPort": 2, "filterType": tags, "removeType": chance(tags + 1),
               "etherType": one_of(0, 0, 0, 1, 2, 3), "downstreamMode": one_of(0, 0, 1), "inputTpid": 0x88A8, "outputTpid": 0x9100}
        added = chance(3)
        row["tagAction"] = ((3, 1, 4), (2, 6, 1), (5, 2, 6))[row["removeType"]][added]
        for number, place in enumerate(("inner", "outer")):
            if tags > number:
                row.update(tag("Filter", place, (8, 8, 0, 5, 7), (4096, 4096, 0, 100, 4094, 4095), (0, 4, 5, 6)))
            if added > number:
                row.update(tag("Treatment", place, (0, 5, 8, 9, 10), (100, 101, 4095, 4096, 4097), (0, 1, 2, 3, 4, 6, 7)))
        steps.append(row)
    return json.dumps({"title": name, "steps": steps})


# One thing that is refused in each.
REFUSED_SETTINGS = [
    {"baseMac": "02:10:20:30:40:5"}, {"baseMac": "02:10:20:30:40-50"}, {"baseMac": "02:10:20:30:40:50:60"}, {"baseMac": 5},
    {"imageVersions": {"3": "V"}}, {"imageVersions": {"-1": "V"}}, {"imageVersions": {"": "V"}}, {"imageVersions": {"1": 5}},
    {"imageVersions": []}, {"phys": {"8": {}}}, {"phys": {"0": {"link": 2}}}, {"phys": {"0": {"speed": 1000001}}},
    {"phys": {"0": {"duplex": 256}}}, {"phys": {"0": {"colour": 1}}}, {"optics": {}}, {"optics": {"receive": 65536}},
    {"optics": {"transmit": "0x8100"}}, {"bitErrorRatio": 1.1}, {"bitErrorRatio": -1e-9}, {"bitErrorRatio": "1e-5"},
    {"bootedPartition": 65536}, {"gemCounters": {"65536": {"1": 1}}}, {"gemCounters": {"1001": {"10": 1}}},
    {"gemCounters": {"1001": {"9": 4294967296}}}, {"statistics": {"sid0": {"rx_bytes": -1}}}, {"statistics": {"sid9": {"rx_bytes": 1}}},
    {"gemPorts": {}}, {"gemPorts": [{"gemPort": 1}]}, {"multicastSnooping": {"br3": 2}}, {"multicastSnooping": {"br9": True}},
    {"outOfRangeFilters": "all"}, {"refuseDeletion": {"br3": 1001}}, {"processes": {"4194305": "x"}}, {"commands": "brctl"},
    {"commands": [5]}, {"links": {"sid9": "up"}}, {"colours": 1},
]
REFUSED_FIELDS = [
    *[("filter_flow_add", {"bridgeId": 3, "uniPort": 2, name: 99}) for name in ("outerFilterTpidDe", "innerTreatmentTpidDe", "innerTreatmentPrio")],
    *[("filter_flow_add", {"bridgeId": 3, "uniPort": 2, "inputTpid": text}) for text in ("0xg1", "0x1g", "0x", "0x10000", "0x000000001", "8100")],
    ("configureAniTagRules", {"bridgeId": 3, "gemPortId": 1001, "trafficModel": 99}),
]
REFUSED_STEPS = [
    *[{"board": settings} for settings in REFUSED_SETTINGS],
    *[{"gateway": {"asks": {"vlanId": 5, "pbits": 5, **wrong}}} for wrong in ({"vlanId": -3}, {"pbits": -3}, {"ifName": "x" * 32})],
    *[{"call": call, **fields} for call, fields in REFUSED_FIELDS],
]
