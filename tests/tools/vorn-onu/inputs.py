"""Files for the commands of recorded_outputs.py, by their names, in which it has IN- in front."""

import json
import pathlib
import re
import struct

from by_chance.answers import answered
from by_chance.captures import capture
from by_chance.changes import changes
from by_chance.commands import commands, each, rules, shared
from by_chance.files import broken, damaged, dump
from by_chance.messages import messages, provisioning, session
from by_chance.scenarios import REFUSED_STEPS, bridge_with_hosts, frames, frames_of_all_kinds, mixture, scenario, tagged_service
from by_chance.settings import EACH, TOGETHER
from by_chance.tables import tables
from by_chance.values import values

SCENARIOS = pathlib.Path("scenarios")
# Threads of the library run beside the steps, or real time counts.
LEFT_OUT = {"startup", "restart", "links", "multicast", "veip", "iphost-dhcp", "real-dhcp", "real-packets"}


def names(folder, pattern):
    return sorted(one.stem for one in folder.glob(pattern) if one.stem not in LEFT_OUT)


def message(transaction, kind, content=b"", extended=False):
    """Of ONU data, in hexadecimal digits."""
    header = struct.pack(">HBBHH", transaction, kind, 0x0B if extended else 0x0A, 2, 0)
    return (header + (struct.pack(">H", len(content)) + content if extended else content.ljust(32, b"\0"))).hex() + "\n"


def upload(entities):
    """Of another ONU, as an OLT has it; asked for once more, then some answers that nobody has asked for."""
    lines = [message(1, 0x4F), message(1, 0x2F), message(2, 0x4D), message(2, 0x2D, struct.pack(">H", len(entities)))]
    answers = [struct.pack(">HHH", kind, instance, mask) + values for kind, instance, mask, values in entities]
    for part, answer in enumerate(answers):
        lines += [message(3 + part, 0x4E, struct.pack(">H", part))] * (1 + part % 2) + [message(3 + part, 0x2E, answer)]
    lines += [message(400 + part, 0x2E, answer) for part, answer in enumerate(answers[:6])]
    return "".join(lines) + INPUTS["upload.txt"]


# Of another ONU: class, instance, which attributes, their values.
THEIRS = [*((11, 0x0201 + port, 0x4000, b"\x2f") for port in range(2)), (11, 0x0301, 0x4000, b"\x2f"), (263, 0x8002, 0x8000, b"\1"), (329, 0x0602, 0x8000, b"\0"),
          *((262, 0x8010 + count, 0x8000, b"\xff\xff") for count in range(3)),
          *((277, 0x8100 + count, 0x0400, struct.pack(">HH", 0x8010 + count % 3, count)) for count in range(6)),
          *((277, 1 + count, 0x0400, struct.pack(">HH", (0x0201, 0x0202, 0x0301)[count % 3], 7 - count)) for count in range(6))]

INPUTS = {"upload.txt": message(1, 0x4F) + message(2, 0x4D) + "".join(
              message(3 + part, 0x4E, struct.pack(">H", part)) for part in range(266)) + message(300, 0x4D, b"", True) +
          "".join(message(301 + part, 0x4E, struct.pack(">H", part), True) for part in range(6)),
          "layout.json": '{"ethernetPorts": "0x0501..0x0504", /* more of them */ "tConts": ["0x8001..0x8003", 32772]}',
          "look.json": json.dumps({"title": "A look", "steps": [
              {"board": {"commands": ["ifconfig", "brctl show"]}}, {"frame": {"from": "sid0"}}, {"advance": 40000}]}),
          "gems.txt": "".join(f"kit gponCtl_configGemPort x{index}{port:04x}000400010300\n" for port in range(300) for index in (
              ("0001", "ff00", "ffff") if port % 100 == 7 else ("ffff",))) + "".join(f"kit {line}\n" for line in (
                  "gponCtl_getGemPort xffff0007", "gponCtl_getGemPort x07000000", "gponCtl_deconfigGemPort x07000007", "gponCtl_deconfigGemPort x00000101",
                  "gponCtl_configGemPort xffff1111000400010300", "gponCtl_configGemPort xffff1112000400010300")),
          "looks.txt": "\n".join(["file 0 /sys/class/net/br5/brforward 1", "file 0 /proc/net/dev_extstats 1", "ifconfig", "brctl show", *(
              f"read /sys/class/net/{device}/statistics/{what}_{unit}" for device in ("sid0", "sid2.5", "br5") for what in ("rx", "tx")
              for unit in ("bytes", "packets", "dropped", "errors")), ""]),
          **{f"odd{count}.json": text for count, text in enumerate((
              '{"veips": {"a": 1}}', '{"tConts": []}', '{"tConts": [[1]]}', '{"ani": 1.5}', '{"ani": true}', '{"veips": [-1]}', '{"nothing": 1}',
              '{"tConts": [32769, "0x8003..0x8004"], "veips": "0x0602", "ani": 32770, "ethernetPorts": ["0x0201", 514, "515..516"]}'))},
          "broken.json": '{"ethernetPorts": ', "list.json": "[]",
          "wrong.json": json.dumps({"title": "Steps fail", "steps": [{"show": "bridges"},
              {"expect": {"ruleCount": 7}}, {"call": "configureBridge", "bridgeId": 3, "uniPort": 0},
              {"expect": {"bridges": {"br3": ["sid1.3"]}, "devices": {"sid1": {"mtu": 9}, "sid9": {}}}}]})}
INPUTS["together.json"] = TOGETHER
INPUTS["theirs.txt"] = upload(THEIRS)
INPUTS.update({f"refused{number}.json": json.dumps({"title": "Refused", "steps": [step]}) for number, step in enumerate(REFUSED_STEPS)})
def input_text(source, name):
    kind, number = re.match(r"(\w+)-?(\d*)", name).groups()
    captures = [one for one in sorted((source / SCENARIOS / "omci").glob("*.pcap")) if one.stem != "gateway"]
    if kind == "values":
        return values(sorted((source / "omci" / "message").glob("*Entities.cpp")))
    if kind == "changes":
        return changes(sorted((source / SCENARIOS / "omci").glob("*.pcap")), name)
    if kind == "provisioning":
        return provisioning(captures, name)
    if kind in ("session", "middle"):
        text = session(captures, name)
        return text if kind == "session" else "".join(text.splitlines(keepends=True)[15 + 5 * int(number):])
    if kind == "dump":
        return dump(session(captures, name), name)
    if kind == "damaged":
        return damaged(captures[int(number) % len(captures)].read_bytes(), name)
    if kind == "messages":
        classes = [(int(number), maker) for file in sorted((source / "omci" / "message").glob("*Entities.cpp"))
                   for number, maker in re.findall(r"\{(\d+),\s+\"[^\"]*\",\s+Maker::k(\w+)", file.read_text(encoding="utf-8"))]
        return messages([number for number, _ in classes], [number for number, maker in classes if maker != "Onu"], name)
    if kind == "scenario":
        files = names(source / SCENARIOS, "*.json")
        return scenario((source / SCENARIOS / (files[int(number) % len(files)] + ".json")).read_text(encoding="utf-8"), name)
    if kind == "broken":
        return broken((source / SCENARIOS / "bridge.json").read_text(encoding="utf-8"), name)
    if kind == "set":
        return EACH[int(number)]
    if kind == "mixture":
        may_fail = re.findall(r'^ .*"(.+)"', (source / "virtual_onu" / "FaultNames.cpp").read_text(encoding="utf-8"), re.MULTILINE)
        return mixture(tuple(source / SCENARIOS / f"{one}.json" for one in names(source / SCENARIOS, "*.json")), may_fail, name)
    if kind in ("bridge", "kinds"):
        make = bridge_with_hosts if kind == "bridge" else frames_of_all_kinds
        return make((source / SCENARIOS / "bridge-forwarding.json").read_text(encoding="utf-8"), name)
    if kind in ("service", "port"):
        return tagged_service(name, *((60, 80) if kind == "port" else ()))
    by_name = {"answered": answered, "capture": capture, "commands": commands, "each": each, "rules": rules, "shared": shared, "frames": frames, "tables": tables}
    return by_name[kind](name) if kind in by_name else INPUTS[name]
