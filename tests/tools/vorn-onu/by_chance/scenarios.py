"""Scenarios with something wrong in them, parts of several, services to compare with the standard."""

import functools
import ipaddress
import json

from by_chance.chance import Chances

# Other values in a scenario.
VALUES = [0, 1, 2, 7, 8, 15, 16, 255, 4094, 4095, 4096, 65535, 65536, -1, 1.5, "", "any", "none", "0x8100", "untagged", "sid0", "sid9",
          "br3", "up", None, True, False, [], {}, [1], ["sid1.3"], {"vid": 5}]


def places_in(whole):
    """Each value below it: what has it, by which key or number."""
    places = []

    def look(value):
        for key in value if isinstance(value, dict) else range(len(value)):
            places.append((value, key))
            if isinstance(value[key], (dict, list)):
                look(value[key])

    look(whole)
    return places


def scenario(text, name):
    """A scenario in which one value, or one name, is another, or is missing."""
    chance = Chances(name)
    whole = json.loads(text)
    places = places_in(whole)
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


FAILING = ["vlanCtl_insertTagRule", "vlanCtl_removeTagRule", "vlanCtl_createVlanInterface", "vlanCtl_deleteVlanInterface",
           "vlanCtl_createVlanFlows", "ioctl:SIOCBRADDIF", "ioctl:SIOCBRDELIF", "ioctl:SIOCSIFFLAGS", "gponCtl_configGemPort",
           "gponCtl_configTcontAllocId", "tmctl_setQueueCfg", "tmctl_delQueueCfg", "system", "popen", "socket"]


def mixture(paths, may_fail, name):
    """Parts of scenarios one behind the other, some fields with what another step has there; calls of the device that fail, and daemons
    that are killed between them. MAY_FAIL: names of such calls."""
    chance = Chances(name)
    values = {}
    for path in paths:
        for step in asked_of_hal(path):
            for key, value in step.items():
                values.setdefault(key, []).append(value)
    steps = []
    while len(steps) < 90:
        kind = chance(8)
        if kind == 0:
            steps.append({"restart": ("kill", "exit")[chance(2)]})
        elif kind < 4:
            steps.append({"fault": {"function": chance.one_of(*chance.one_of(FAILING, may_fail)), "nth": 1 + chance(4), "code": 1 + chance(20), "may": True}})
        elif kind == 4:
            steps.append({"fault": "clear"})
        own = asked_of_hal(paths[chance(len(paths))])
        first = chance(len(own))
        for step in own[first:first + 4 + chance(12)]:
            keys = [key for key in step if key not in ("call", "frame", "board", "expect")]
            if keys and chance(4) == 0:
                key = keys[chance(len(keys))]
                step = {**step, key: values[key][chance(len(values[key]))]}
            steps.append(step)
    return json.dumps({"title": name, "state": True, "steps": steps})


def tagged_service(name, most_rows=4, frames=0):
    """A bridge with rows of extended VLAN tagging and two filters by chance, to compare with the standard; frames through it."""
    chance = Chances(name)
    one_of = chance.one_of

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
    for _ in range(1 + chance(most_rows)):
        tags = chance(3)
        row = {"call": "filter_flow_add", "bridgeId": 3, "uniPort": 2, "filterType": tags, "removeType": chance(tags + 1),
               "etherType": one_of(0, 0, 0, 1, 2, 3), "downstreamMode": one_of(0, 0, 1), "inputTpid": 0x88A8, "outputTpid": 0x9100}
        added = chance(3)
        row["tagAction"] = ((3, 1, 4), (2, 6, 1), (5, 2, 6))[row["removeType"]][added]
        for number, place in enumerate(("inner", "outer")):
            if tags > number or chance(4) == 0:  # more than the row's frames have, which is not looked at
                row.update(tag("Filter", place, (8, 8, 0, 5, 7), (4096, 4096, 0, 100, 4094, 4095), (0, 4, 5, 6)))
            if added > number:
                row.update(tag("Treatment", place, (0, 5, 8, 9, 10), (100, 101, 4095, 4096, 4097), (0, 1, 2, 3, 4, 6, 7)))
        steps.append(row)
    for _ in range(frames):
        tags = [{"vid": one_of(0, 100, 101, 4094), "pbits": one_of(0, 0, 5, 7), "tpid": one_of("0x8100", "0x8100", "0x88a8", "0x9100"),
                 "dei": chance(4) == 0} for _ in range(chance(4))]
        steps.append({"frame": {"from": one_of("sid0", "sid0", "gem 1001", "gem 1002"), "tags": tags, "dscp": one_of(0, 10, 46),
                                "etherType": one_of("ipv4", "ipv4", "ipv6", "arp", "pppoeSession", "0x88b5")}})
    return json.dumps({"title": name, "steps": steps})


def change_between_frames(chance, number):
    """Of a board with bridges and VLAN devices of this number: what comes next may have another way."""
    port = chance.one_of("sid0", "sid2", "gpondef", "sid0")
    device = f"{port}.{number}"
    return chance.one_of(
        {"links": {chance.one_of(port, device): chance.one_of("down", "up", "", "")}},
        {"phys": {chance.one_of("0", "2", "4"): {"link": chance(3) > 0, "speed": 1000, "duplex": 1}}},
        {"devices": {f"{port}.9": chance.one_of(port, False)}},
        {"gemPorts": [{"gemPort": chance.one_of(1001, 1003, 1004), "index": chance.one_of(9, 10), "allocId": chance.one_of(1024, 65535)}]},
        {"statistics": {device: {"rx_packets": chance.one_of(0, 7)}}}, {"gemCounters": {"1001": {"1": chance(9)}}},
        {"outOfRangeFilters": chance.one_of("never", "any", "masked")}, {"optics": {"receive": 9}}, {"persistent": {"a": "b"}},
        *({"commands": [one]} for one in (
            f"ifconfig {port} {chance.one_of('down', 'up', 'up')}", *[f"ifconfig {one} up" for one in (port, device)], f"ifconfig {device} down", f"ifconfig {device} mtu 1400",
            f"ifconfig {device} hw ether 02:00:5e:00:00:0a", f"brctl delif br{number} {device}", f"brctl addif br{number} {device}",
            f"brctl setpathcost br{number} {device} 5", "bs /bdmf/delete ingress_class/dir=us,index=1")))


def frames(name):
    """Frames with up to four tags, into a board that is there."""
    chance = Chances(name)
    one_of = chance.one_of
    steps = [{"board": {"outOfRangeFilters": one_of("never", "any", "masked")}}]
    for _ in range(200):
        if chance(12) == 0:
            steps.append({"board": change_between_frames(chance, "1")})
        if chance(8) == 0:
            devices = [port + end for port in ("sid0", "sid2", "gpondef") for end in ("", ".1")]
            steps.append({"board": {"links": {device: "" for device in devices}, "phys": {port: {} for port in "024"},
                                    "commands": [f"ifconfig {device} mtu 1500 up" for device in devices]}})
        tags = [{"vid": one_of(0, 100, 101, 4095), "pbits": one_of(0, 5, 7), "tpid": one_of("0x8100", "0x8100", "0x88a8", "0x9100"),
                 "dei": chance(2) == 0} for _ in range(one_of(0, 1, 2, 2, 3, 4, 4))]
        steps.append({"frame": {"from": one_of("sid0", "sid0", "sid2", "gem 1001", "gem 1002", "sid0.7", "br1"), "tags": tags, "dscp": one_of(0, 10, 46),
                                "etherType": one_of("ipv4", "ipv4", "ipv6", "arp"), "ipProtocol": one_of("udp", "tcp")}})
    return json.dumps({"title": name, "steps": steps})


BRIDGE_COMMANDS = ["brctl stp br5 on", "brctl stp br5 off", "brctl setfd br5 2", "brctl setageing br5 30", "ifconfig sid2.5 down",
                   "ifconfig sid2.5 up", "brctl delif br5 sid0.5", "brctl addif br5 sid0.5", "ifconfig sid2.5 mtu 1400"]


DESTINATIONS = ["01:00:5e:01:02:03", "01:00:5e:01:02:03", "01:00:5e:00:00:05", "01:00:5e:00:07:07", "33:33:00:01:00:03",
                "33:33:00:00:00:01", "33:33:00:00:00:07", "ff:ff:ff:ff:ff:ff", "01:80:c2:00:00:02", "01:80:c2:00:00:21"]


def group_mac(group):
    octets = ipaddress.ip_address(group).packed
    mac = (0x33, 0x33, *octets[-4:]) if len(octets) > 4 else (1, 0, 0x5E, octets[1] & 0x7F, *octets[2:])
    return ":".join(f"{one:02x}" for one in mac)


def bridge_with_hosts(text, name):
    """The bridge of a scenario, and frames and group messages of the hosts at its ports."""
    chance = Chances(name)
    one_of = chance.one_of
    whole = json.loads(text)
    hosts = {"sid0": "02:00:5e:00:00:0a", "sid2": "02:00:5e:00:00:0b", "gem 1001": "02:00:5e:00:01:01"}
    groups = ("239.1.2.3", "239.1.2.3", "239.129.2.3", "224.0.0.5", "232.1.1.1", "ff05::1:3", "ff05::1:3", "ff02::1", "ff0e::7")
    steps = [step for step in whole["steps"] if "call" in step][:7]
    for _ in range(120):
        kind, port = chance(10), one_of(*hosts)
        sender = {"from": port, "source": hosts[port] if chance(5) > 0 else one_of(*hosts.values())}
        if kind == 0:
            steps.append({"advance": one_of(100, 1000, 3000, 15000, 60000)})
        elif kind == 1:
            steps.append({"board": one_of({"multicastSnooping": {"br5": chance(3) > 0}}, {"commands": [one_of(*BRIDGE_COMMANDS)]},
                                          change_between_frames(chance, "5"))})
        elif kind < 5:
            what = one_of("query", "report", "report", "leave")
            group = one_of("", "", *groups) if what == "query" else one_of(*groups)
            destination = group if what == "report" or group else ("224.0.0.2" if what == "leave" else "224.0.0.1")
            steps.append({"frame": {**sender, "destination": group_mac(destination), "group": {what: group},
                                    "etherType": "ipv6" if ":" in group else "ipv4"}})
        else:
            destination = one_of(*hosts.values(), *DESTINATIONS)
            tags = [{"vid": one_of(0, 7, 8)}] * one_of(0, 0, 0, 1)
            steps.append({"frame": {**sender, "destination": destination, "tags": tags,
                                    "payload": one_of(28, 40, 46, 48, 60, 1396, 1400, 1500, 1501),
                                    "etherType": "ipv6" if destination.startswith("33") else "ipv4", "ipProtocol": one_of("udp", "tcp")}})
    return json.dumps({"title": name, "records": whole["records"], "steps": steps})


def frames_of_all_kinds(text, name):
    """From one port of a scenario's bridge to all others: of each protocol, long enough for its headers or not."""
    chance = Chances(name)
    one_of = chance.one_of
    whole = json.loads(text)
    steps = [step for step in whole["steps"] if "call" in step][:7]
    for _ in range(250):
        tags = [{"vid": one_of(5, 100, 4095), "pbits": chance(8), "dei": chance(2) == 0, "tpid": one_of("0x8100", "0x88a8", "0x9100")}
                for _ in range(one_of(0, 0, 0, 1, 2, 4))]
        one = {"from": "sid0", "tags": tags, "dscp": one_of(0, 1, 10, 46, 63), "source": one_of("02:00:5e:00:00:0a", "02:fe:dc:ba:98:76"),
               "destination": one_of("02:00:5e:00:01:01", *DESTINATIONS, "01:00:5e:00:01:07", "33:33:ff:12:34:56", "01:00:5e:7f:ff:fa"),
               "etherType": one_of(*["ipv4", "ipv6"] * 4, "arp", "pppoeDiscovery", "pppoeSession", "pppoeSession", "eapol", "0x88cc", "0x88b5"),
               "payload": one_of(0, 0, 1, 19, 20, 21, 26, 27, 28, 29, 36, 39, 40, 41, 47, 48, 49, 59, 60, 61, 300, 1496, 1500)}
        if chance(4) > 0:
            one["ipProtocol"] = one_of("udp", "tcp", "icmp", 58, "igmp", 99)
        steps.append({"frame": one})
    return json.dumps({"title": name, "records": whole["records"], "steps": steps})


REFUSED_FIELDS = [
    *[("filter_flow_add", {"bridgeId": 3, "uniPort": 2, name: 99}) for name in ("outerFilterTpidDe", "innerTreatmentTpidDe", "innerTreatmentPrio")],
    *[("filter_flow_add", {"bridgeId": 3, "uniPort": 2, "inputTpid": text}) for text in ("0xg1", "0x1g", "0x", "0x10000", "0x000000001", "8100")],
    ("configureAniTagRules", {"bridgeId": 3, "gemPortId": 1001, "trafficModel": 99}),
]
# One thing that is refused in each.
REFUSED_STEPS = [
    *[{"gateway": {"asks": {"vlanId": 5, "pbits": 5, **wrong}}} for wrong in ({"vlanId": -3}, {"pbits": -3}, {"ifName": "x" * 32})],
    *[{"call": call, **fields} for call, fields in REFUSED_FIELDS],
    *[{"frame": {"from": "sid0", "group": group}} for group in (
        {"report": "10.0.0.1"}, {"report": "x"}, {"leave": "fe80::1"}, {"report": ""}, {"query": "", "leave": "ff15::1"}, {"other": ""}, 5)],
    *[{"expect": {what: {name: {}}}} for what in ("gemPorts", "queues") for name in ("", "123456", "1x", "0.3.1", ".", "0.", "x.1")],
    *[{"gateway": {"sends": {"type": 5, **wrong}}} for wrong in ({"payload": "0"}, {"payload": "0g"}, {"payload": "g0"}, {"dataLength": -2}, {"dataLength": 65536})],
    *[{"frame": {"from": "sid0"}, "expect": {"leaves": [{"at": "sid1", name: value}]}} for name, value in (
        ("gemPort", 65536), ("gemPort", -1), ("queue", 65536), ("etherType", "x"), ("tags", [{"vid": 4096}]))],
]
