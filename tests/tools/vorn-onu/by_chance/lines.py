"""Command lines as somebody types them who knows the words: many are wrong."""

import re

from by_chance.chance import Chances

FILES = ("scenarios/bridge.json", "scenarios/internet.json", "scenarios/omci/internet.pcap", "scenarios/nothing.json", "scenarios", "-", "/")
NUMBERS = ("0", "1", "3", "14", "99", "-1", "0x10", "1e3", "7x", "70000", "18446744073709551616", "")
WORDS = ("sid0", "sid1", "sid9", "'gem 1001'", "gem", "veip0", "contract", "g988", "G988", "crc", "cmac:00", "crc32", "ABCD00000001", "ABCD1",
         "02:00:00:00:00:01", "set", "'MIB upload next'", "nothing", "a/b", "udp", "ipv4", "0x8100", "tConts=0x8001..0x8003", "tConts", "vendor=1")
LOOKS = ("show", "trace", "watch", "mib", "omci", "send", "serve", "board", "frame", "metrics", "restart", "nothing")
# They wait for somebody.
NOT_TYPED = {"--follow", "--listen", "--stay", "--real-time", "--tap", "--metrics"}


def options_of(completion):
    """Of each command, out of what completes them."""
    return {command: sorted(set(options.split()) - NOT_TYPED) for commands, options in re.findall(r'([a-z |]+)\) options="([^"]+)"', completion)
            for command in commands.replace(" ", "").split("|")}


def line(options, chance):
    """OPTIONS: of the commands."""
    one_of = chance.one_of
    every = sorted(set(sum(options.values(), [])))
    command = one_of("run", "run", "send", "send", "audit", "omci", "omci", "diff", "at", "exec", "info", "schema", "ls", "help", "rnu", "")
    words = [command] * (command != "")
    if command in ("at", "exec"):
        words += ["live", one_of(*LOOKS)][:one_of(0, 1, 2, 2, 2)] if command == "at" else one_of(["--", "true"], ["--"], ["--quiet", "true"], ["true"])
    elif command not in ("ls", "schema", ""):
        words += [one_of(*FILES[:3], *FILES) for _ in range(one_of(0, 1, 1, 1, 2))]
    for _ in range(one_of(0, 1, 1, 2, 3)):
        option = one_of(*(options.get(command, every) if chance(4) > 0 else every))
        value = one_of(*NUMBERS, *WORDS, one_of(*FILES))
        typed = one_of([option], [option, value], [option, value], [option, value], [f"{option}={value}"], [option[:-1]], [option[1:]], [option] * 2,
                       ["-" + option[2:3]], [option + "=", value])
        place = len(words) if chance(2) == 0 else chance(len(words) + 1)
        words[place:place] = typed
    return "(" + " ".join(word or "''" for word in words)


def lines(completion, name):
    chance = Chances(name)
    options = options_of(completion)
    return "; ".join(line(options, chance) for _ in range(40))
