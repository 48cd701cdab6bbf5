"""Lines for a program on a device (tests/virtual_onu/run_commands.py)."""

import re

from by_chance.chance import Chances

# Each {…} of a line is one of its words by chance.
COMMAND_WORDS = {
    "device": "sid0 sid1 sid0.3 gpondef eth0 br1 br2 lo none".split(), "bridge": "br1 br1 br2 br2 br3 sid1".split(),
    "number": "0 1 2 3 9 63 64 100 1500 3000 65535 65536 -1 1x".split() + [""],
    "mac": "02:11:22:33:44:55 02:11:22:33:44:56 00:00:00:00:00:00 01:00:5e:00:00:01 02:11:22:33:44 2:1a:F:3:4:5 02:11:22:33:44:556 02-11:22:33:44:55".split(),
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
    "path": ["/var/mcpd.conf", "/var//mcpd.conf/", "/var/mcpdTmp.conf", "/tmp/dhclient_interface", "/proc/driver/i2c/a", "/proc/driver/i2c/b",
             "/proc/driver/i2c", "/proc/net/dev_extstats", "/dev/laser_dev", "/sys/class/net", "/sys/class/net/sid0",
             "/sys/class/net/sid0/mtu", "/sys/class/net/br1/bridge/hello_time", "/sys/class/net/sid0/brport/path_cost", "/nowhere/at/all"],
    "flags": "0 0 1 1 2 2 101 102 301 1001 1002 2001 2102 200000 100 2000001".split(), "mode": "r r+ w w+ a a+ wx re q".split(),
    "frame": ["ffffffffffff02112233445508060001", "ffffffffffff0211223344550806", "ffffffffffff02112233445508", "00" * 1514, "00" * 1515],
    "asked": ["80024f05", "80024f06", "80044f0b", *(f"{number:x}" for number in range(199, 216)), "8913"], "character": "/dev/laser_dev /dev/ngpon2_stack".split(),
    # Of the device kit; records begin with the lowest octet of a number.
    "bit": "0 1 2".split(), "tag": "0 0 1 2 3 4 5".split(), "id": "0 1 2 3 5 7 4095 4294967295".split(), "few": "00 01 02 07 1f 20 ff".split(),
    "field": "0 1 7 8 17 100 4095 4096 33024 34984 65535 65536 4294967295".split(), "part": "Pbits Cfi Vid EtherType".split(),
    "gem": "e903 ea03 0000 ffff".split(), "two": "2 2 2 1".split(), "tcont": "01 01 02 20".split(), "size": "0 3 64 1000".split(), "name": "macAddress link other".split(),
    "entity": "60 60 61 21 0".split(), "header": ["10002254/2/15", "10002250/2/15", "10002250/3/15", "10002254/1/15", "10002254/2/16", "10002255/2/15"],
    "claimed": "0 0 1 3 65536 65537".split(),
    "opening": "open open64 openat openat64 __open_2 __open64_2".split(), "scan": "scandir scandir64".split(),
    # Lengths of time: two numbers of eight octets.
    "seconds": ["00" * 8, "00" * 8, "ff" * 8], "waited": "0 1 2 999 1000 1001".split(),
    "parts": [octets + "00" * 4 for octets in ("00000000", "01000000", "e7030000", "e8030000", "3f420f00", "40420f00", "00ca9a3b")] + ["ff" * 8],
    "short": [octets + "00" * 4 for octets in ("00000000", "01000000", "e8030000")] + ["ff" * 8],
    "joint": ["&&", "||", ";", "|", "&", "2>/dev/null &&"], "way": "add del delete replace show change".split(),
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
file {flags} {path} {number}00
file {flags} {path} {number}0
file {flags} {path} {number}
stream {mode} {path} {number}
stream {mode} {path} {number}00
true {joint}
true {joint} {joint} false
{joint} true
opened {opening} {path} {number}00
opened {opening} /sys/class/net/{bridge}/bridge/{time} {number}00
listed {scan} {path}
listed {scan} /sys/class/net/{device}/{leaf}
look {path}
list {path}
rename {path} {path}
remove {path}
packet {device} {frame}
packet {device} {frame}
device {character} {asked}
piped ps
piped ps | grep {device}
piped ps | grep {number} | grep -v {address}
piped ifconfig {device}
piped ifconfig {device} | grep {address}
piped brctl show
piped cat /sys/class/net/{device}/{leaf}
piped echo {number} '{mac}' "{device}" {joint} echo {device}
piped bs /b/e {object}
piped bs {verb} {object}
piped ip link show {device}
range {path}
range {character}
kit usleep {waited}
kit sleep 0
kit nanosleep x{seconds}{parts} x{seconds}
kit nanosleep x{seconds}{parts} 0
kit select 0 0 0 0 x{seconds}{short}
kit if_nametoindex {device}
name {index}
kit vlanCtl_init
kit vlanCtl_init
kit vlanCtl_cleanup
kit vlanCtl_initTagRule
kit vlanCtl_setIfSuffix .
kit vlanCtl_createVlanInterface {device} {id} {bit} {bit}
kit vlanCtl_createVlanInterfaceByName {device} {device} {bit} {bit}
kit vlanCtl_createVlanInterfaceByName sid0 sid0.3 0 1
kit vlanCtl_deleteVlanInterface {device}
kit vlanCtl_setRealDevMode {device} {bit}
kit vlanCtl_setDefaultAction {device} {bit} {tag} {bit} {device}
kit vlanCtl_createVlanFlows {device} {device}
kit vlanCtl_getNbrOfRulesInTable {device} {bit} {tag} x
kit vlanCtl_insertTagRule {device} {bit} {tag} {bit} 4294967295 x
kit vlanCtl_insertTagRule sid0 {bit} {tag} {bit} {id} x
kit vlanCtl_removeTagRule sid0 {bit} {tag} {id}
kit vlanCtl_setReceiveVlanDevice {device}
kit vlanCtl_filterOnTxVlanDevice {device}
kit vlanCtl_filterOnTag{part} {field} {tag}
kit vlanCtl_filterOnEthertype {field}
kit vlanCtl_filterOnIpProto {field}
kit vlanCtl_filterOnSkbMarkPort {field}
kit vlanCtl_cmdPushVlanTag
kit vlanCtl_cmdPopVlanTag
kit vlanCtl_cmdDropFrame
kit vlanCtl_cmdSetTag{part} {field} {tag}
kit vlanCtl_cmdCopyTag{part} {tag} {tag}
kit vlanCtl_cmdDscpToPbits {tag}
kit vlanCtl_cmdSetEtherType {field}
kit vlanCtl_cmdSetSkbMarkPort {field}
kit vlanCtl_cmdSetSkbMarkQueue {field}
kit gponCtl_configTcontAllocId x{few}00{gem}
kit gponCtl_deconfigTcontAllocId x{few}00{gem}
kit gponCtl_configGemPort xffff{gem}{gem}000103
kit gponCtl_configGemPort x{few}{few}{gem}{gem}{few}0103
kit gponCtl_deconfigGemPort x{few}00{gem}
kit gponCtl_enableGemPort x{few}00{gem}{few}
kit gponCtl_getGemPort xffff{gem}
kit gponCtl_getGemPort x{few}00{gem}
kit gponCtl_getGemPortCounters x00000000{few}00{gem}
kit gponCtl_startAdminState x{few}
kit tmctl_portTmInit {two} x{tcont} 0 8
kit tmctl_portTmInit 2 x{few} 0 8
kit tmctl_portTmUninit {two} x{tcont}
kit tmctl_setQueueCfg {two} x{few} x{few}000000{few}0000000001000001000000{few}
kit tmctl_setQueueCfg 2 x01 x{few}000000{few}000000{few}0000000100000002
kit tmctl_getQueueCfg 2 x{tcont} {bit} x
kit tmctl_delQueueCfg {two} x{tcont} {bit}
kit cmsPsp_set {name} x{few}{few} {bit}
kit cmsPsp_get {name} x {size}
kit devCtl_getMacAddress x {id}
kit devCtl_getBaseMacAddress x
kit devCtl_getBootedImagePartition
kit devCtl_getImageVersion {bit} x {size}
kit bcm_phy_mode_get {bit} {id} x x
kit bcm_phy_mode_set {bit} {bit} {field} {bit}
kit bcm_get_linkstatus {bit} {id} x 0
kit nandReadNvramData x
kit cmsTmr_getTimeToNextEvent 0 x
message {entity} {header} {claimed} {few}
""".strip().splitlines()


def filled(line, chance):
    """Each {…} is one of its words by chance."""
    line = re.sub(r"\{(\w+)\}", lambda found: (words := COMMAND_WORDS[found[1]])[chance(len(words))], line)
    return line.replace("(", "{").replace(")", "}")


BEGINNING = ("brctl addbr br1", "brctl addif br1 sid0", "ifconfig br1 up", "ifconfig sid0 up")


def commands(name):
    """Lines by chance, after what makes a device and a bridge."""
    chance = Chances(name)
    lines = ["piped ps | grep ps", "piped ps", *BEGINNING]
    return "\n".join(lines + [filled(chance.one_of(*COMMAND_LINES), chance) for _ in range(1200)]) + "\n"


def each(name):
    """Every fourth of the lines: with each word of each {…}, the others as they are in most lines, and without its last words; each time on
    a bridge with a port."""
    usual = {"device": "sid0", "bridge": "br1", "number": "1"}

    def filled_with(line, field="", word=""):
        return re.sub(r"\{(\w+)\}", lambda found: word if found[1] == field else usual.get(found[1], COMMAND_WORDS[found[1]][0]), line)

    lines = []
    for line in dict.fromkeys(COMMAND_LINES[int(re.search(r"\d+", name)[0])::4]):
        lines += ["brctl delif br1 sid0", "brctl delbr br1", *BEGINNING]
        for field in dict.fromkeys(re.findall(r"\{(\w+)\}", line)):
            lines += [filled_with(line, field, word) for word in dict.fromkeys(COMMAND_WORDS[field])]
        if re.match("brctl|ifconfig|ip|bs|iq|mcpctl|dhcpc|kill", line):
            words = filled_with(line).split()
            lines += [" ".join(words[:count]) for count in range(1, len(words))]
    return "\n".join(lines).replace("(", "{").replace(")", "}") + "\n"


def shared(name):
    """The same, of two processes on one board in turn."""
    chance = Chances(name)
    return "".join("other " * (chance(2) if place > 1 else 0) + line + "\n" for place, line in enumerate(commands(name).splitlines()))


# Tag rules of these ports, each with a VLAN device at the bridge.
RULE_PORTS = ("sid0", "sid2", "gpondef")
RULE_WORDS = {"vid": "0 100 101 4095 4096", "pbits": "0 5 7 8", "type": "2048 34525 2054 33024 34984 65536", "where": "0 1 2 3", "bit": "0 1",
              "queue": "0 2 5", "end": "0 2", "gem": "1 1 2 65535", "protocol": "17 17 6 256 273"}
RULE_FILTERS = """
filterOnTagVid {vid} {where}
filterOnTagPbits {pbits} {where}
filterOnTagCfi {bit} {where}
filterOnTagEtherType {type} {where}
filterOnTagEtherType {type} {where}
filterOnEthertype {type}
filterOnIpProto {protocol}
filterOnSkbMarkPort {gem}
""".strip().splitlines()
RULE_STEPS = """
cmdPushVlanTag
cmdPopVlanTag
cmdSetTagVid {vid} {where}
cmdSetTagPbits {pbits} {where}
cmdSetTagCfi {bit} {where}
cmdSetTagEtherType {type} {where}
cmdSetEtherType {type}
cmdCopyTagPbits {where} {where}
cmdCopyTagVid {where} {where}
cmdCopyTagCfi {where} {where}
cmdCopyTagEtherType {where} {where}
cmdDscpToPbits {where}
cmdSetSkbMarkQueue {queue}
cmdDropFrame
""".strip().splitlines()


def rules(name):
    """Tag rules by chance, as no HAL would make them."""
    chance = Chances(name)

    def some(lines, most, least=0):
        return [re.sub(r"\{(\w+)\}", lambda found: chance.one_of(*RULE_WORDS[found[1]].split()), chance.one_of(*lines))
                for _ in range(least + chance(most))]

    lines = ["vlanCtl_init", "gponCtl_configTcontAllocId x01000001"]
    lines += [f"gponCtl_configGemPort x0{index}00e{index + 8:x}03000100010300" for index in (1, 2)]
    lines += [f"gponCtl_enableGemPort x0{index}00e{index + 8:x}0301" for index in (1, 2)]
    lines += ["tmctl_portTmInit 2 x01 0 8"] + [f"tmctl_setQueueCfg 2 x01 x0{queue}0000000{queue}000000000100000100000001" for queue in (0, 2)]
    commands_first = ["brctl addbr br1", "ifconfig br1 up"]
    for port in RULE_PORTS:
        lines.append(f"vlanCtl_createVlanInterfaceByName {port} {port}.1 0 1")
    lines.append("vlanCtl_createVlanInterfaceByName sid0 sid0.7 1 0")
    lines += [f"vlanCtl_createVlanFlows {way}" for way in ("sid2.1 sid0.1", "gpondef.1 sid0.7", "sid0.7 sid2.1", "sid2.1 sid0.7") if chance(2)]
    ways = [(port, way, tags) for port in RULE_PORTS for way in (0, 1) for tags in range(4)]
    busy = [("sid0", 0, 1), ("sid0", 0, 2), chance.one_of(*ways)]  # more than are looked through one by one
    for port, way, tags in ways:
        if chance(3):
            lines.append(f"vlanCtl_setDefaultAction {port} {way} {tags} {chance(8) // 7} {port}.1")
        for _ in range(25 if (port, way, tags) in busy else chance(4)):
            lines.append("vlanCtl_initTagRule")
            added = some(RULE_FILTERS, 3, int((port, way, tags) in busy)) + some(RULE_STEPS, 4)
            added.append(f"filterOnTxVlanDevice {port}.1" if way else f"setReceiveVlanDevice {port}.1")
            added += [f"cmdSetSkbMarkPort {chance.one_of(1, 2, 3)}"] if way and port == "gpondef" else []
            lines += [f"vlanCtl_{one}" for one in added]
            lines.append(f"vlanCtl_insertTagRule {port} {way} {tags} {chance.one_of(0, 2)} 4294967295 x")
    up = [f"ifconfig {port}{end} up" for port in RULE_PORTS for end in ("", ".1")] + ["ifconfig sid0.7 up"] + [f"brctl addif br1 {port}.1" for port in RULE_PORTS]
    def runner_class(index):
        action = chance.one_of("", f",vlan_action={{vlan_action/dir=us,index={index}}}", ",vlan_action={none}")
        key = f"ingress_port=lan{chance(3)},vlan_num={chance(3)},etype={chance.one_of('0x8100', '0x0800', 33024, 2048)}"
        tag = [f"cmd={chance.one_of('push+tpid_rem', 'push', 'pop')}", f"ovid={chance.one_of(0, 100, 4096)}", f"opbit={chance(9)}",
               f"otpid={chance.one_of(8100, '88a8')}"]
        yield f"bs /bdmf/new vlan_action/dir=us,index={index} action={{{','.join(one for one in tag if chance(8) > 0)}}}"
        yield f"bs /bdmf/new ingress_class/dir={chance.one_of('us', 'us', 'ds')},index={index},cfg={{type=flow}}"
        yield f"bs /b/a ingress_class/dir=us,index={index} flow string key={{{key}}},result={{egress_port=wan0{action}}}"

    up += [line for index in range(chance(5)) for line in runner_class(index)]
    gone = ["kit vlanCtl_deleteVlanInterface sid2.1"] * (chance(3) == 0)
    return "\n".join(commands_first + [f"kit {line}" for line in lines] + up + gone) + "\n"
