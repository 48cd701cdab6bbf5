"""Options of "send"."""

from by_chance.chance import Chances

TAG_WORDS = {"--vlan": "0 7 20 100 200 300 500 4095 4096".split(), "--pbits": "0 3 5 7 8".split(), "--tpid": "0x8100 0x88a8 0x9100".split(),
             "--dei": [""]}
FRAME_WORDS = {
    "--ethertype": "ipv4 ipv6 arp pppoeDiscovery 0x88b5 ipx".split(), "--protocol": "udp tcp igmp icmp 99".split(),
    "--dscp": "0 10 46 62 64".split(), "--payload": "0 8 20 28 40 48 60 1400 1600".split(),
    "--source": ["02:aa:00:00:00:01", "01:00:5e:00:00:01", "02:AA:00:00:00:01", "02:aa:00:00:00", "02:aa:00:00:00:0g", "02-aa-00-00-00-01"],
    "--destination": ["02:aa:00:00:00:02", "01:00:5e:01:02:03", "ff:ff:ff:ff:ff:ff"], "--after-step": "9 14".split(),
    "--both-ways": [""], "--json": [""],
}


def frame(name):
    """Options of "send"."""
    chance = Chances(name)
    words = ["--from", ("sid0", "sid0", "sid1", "'gem 1001'", "'gem 1001'", "'gem 1002'")[chance(6)]]
    for _ in range((0, 0, 1, 1, 2, 3, 7)[chance(7)]):
        words += ["--vlan", TAG_WORDS["--vlan"][chance(9)]]
        words += [word for option, values in list(TAG_WORDS.items())[1:] if chance(3) == 0
                  for word in (option, values[chance(len(values))])]
    words += [word for option, values in FRAME_WORDS.items() if chance(6) == 0 for word in (option, values[chance(len(values))])]
    return " ".join(filter(None, words))
