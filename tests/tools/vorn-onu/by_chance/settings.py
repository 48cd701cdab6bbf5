"""Steps that set the board: values at their bounds, on both sides of them, and of other kinds."""

import json

TEXTS = ("", "x", "ü", "a b", 7)
BOUNDS = {
    "baseMac": ("02:00:00:00:00:09", "02:00:00:00:00", "02:00:00:00:00:0", "02:00:00:00:00-09", "02:00:00:00:00:09:60", "01:00:00:00:00:01", "FF:ff:ff:ff:ff:ff", 5),
    "serialNumber": ("ABCD00000007", "VONU1", *TEXTS), "partNumber": TEXTS,
    "bootedPartition": (0, 65535, 65536, -1, "4", 1.5),
    "imageVersions": ({"0": "a"}, {"1": "b", "2": "c"}, {"3": "d"}, {"x": "e"}, {"1": 7}, {"01": "f"}, [], {"": "g"}, {"-1": "h"}),
    "optics": ({"receive": 0}, {"transmit": 65535}, {"receive": 7, "transmit": 8}, {"receive": -1}, {"receive": 65536}, {}, {"other": 1}, 5),
    "bitErrorRatio": (0, 1, 1e-5, 0.5, -1e-9, 1.0001, "1e-5", True),
    "links": ({"sid0": "down"}, {"sid1": "up"}, {"sid0": "dormant"}, {"nothing": "up"}, {"sid0": True}, {"sid0": ""}, {}, []),
    "phys": ({"0": {"link": False, "speed": 10, "duplex": 0}}, {"7": {"speed": 1000000, "duplex": 255}}, {"8": {}}, {"1": {"link": 0}}, {"1": {"link": 2}},
             {"2": {"speed": 1000001}}, {"2": {"duplex": 256}}, {"3": {"link": True, "other": 1}}, {"-1": {}}, {"3": 1}, {"65535": {}}),
    "persistent": ({"linkState": "standby"}, {"a": ""}, {"b": 7}), "files": ({"/var/x": "text\n"}, {"/var/x": None}, {"/var/mcpd.conf": None}, {"y": 3}),
    "statistics": ({"sid0": {"rx_bytes": 2**64 - 1, "tx_packets": 0}}, {"sid0": {"rx_bytes": 2**64}}, {"sid0": {"rx_bytes": -1}}, {"sid0": {"other": 1}}, {"sid9": {"rx_bytes": 1}}, {"sid0": 1}),
    "gemCounters": ({"1001": {"0": 1, "9": 2**32 - 1}}, {"1001": {"10": 1}}, {"65535": {"6": 0}}, {"65536": {"6": 0}}, {"1001": {"6": 2**32}}, {"1001": {"x": 1}}),
    "gemPorts": ([{"gemPort": 1001, "index": 1}], [{"gemPort": 65535, "index": 65535, "allocId": 0}], [{"gemPort": 1}], [{"gemPort": 65536, "index": 1}], {}, [5],
                 [{"gemPort": 1, "index": 2}, {"gemPort": 1, "index": 2}]),
    "devices": ({"veip0.1": True}, {"sid7": False}, {"sid0.9": "sid0"}, {"a": 1}, {"nothing": False}, {"b": "nothing"}, {"x" * 16: True}),
    "multicastSnooping": ({"br0": False}, {"br1": True}, {"br0": 1}), "outOfRangeFilters": ("never", "any", "masked", "all", 1, None),
    "refuseDeletion": ({"sid0.9": 0}, {"a": 1000}, {"a": 1001}, {"a": -1}, {"a": "1"}),
    "processes": ({"0": "sh"}, {"4194304": "dhcpc -i br3.2"}, {"4194305": "x"}, {"x": "y"}, {"7": 7}), "commands": (["ifconfig sid0 down"], ["frob"], "ifconfig", [7], []),
    "nothing": (1,), "Links": ({},),
}


SETTINGS = [{name: value} for name, values in BOUNDS.items() for value in values]


def _file(settings):
    return json.dumps({"title": "The board is set", "steps": [{"board": one} for one in settings] + [
        {"frame": {"from": "sid0"}}, {"call": "configureBridge", "bridgeId": 3, "uniPort": 1}]})


EACH = [_file([one]) for one in SETTINGS]
TOGETHER = _file([{"imageVersions": {"1": "4.2", "2": "5"}, "phys": {"0": {"link": False}, "7": {"speed": 10, "duplex": 1}}, "optics": {"receive": 3, "transmit": 4},
                   "bitErrorRatio": 0.25, "persistent": {"a": "b"}, "files": {"/var/x": "1"}, "devices": {"sid0.9": "sid0"}, "links": {"sid0.9": "down", "sid2": "down"},
                   "statistics": {"sid3": {"rx_bytes": 5}}, "gemPorts": [{"gemPort": 9, "index": 3, "allocId": 300}], "gemCounters": {"9": {"2": 7}}, "bootedPartition": 5,
                   "refuseDeletion": {"sid1.3": 2}, "processes": {"9": "sh"}, "outOfRangeFilters": "masked", "serialNumber": "ABCD00000001"},
                  {"commands": ["brctl addbr br9", "brctl addif br9 sid4", "ip route add default via 10.0.0.1 dev br9"]}])
