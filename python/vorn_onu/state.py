"""What is on the board, as objects. Names and meanings are those of docs/state-format.md."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Dict, List, Optional

from .records import Board, GemPort, NetworkDevice, TCont
from .records import Bridge as _Bridge


@dataclass(frozen=True)
class Bridge(_Bridge):
    @property
    def members(self) -> List[str]:
        """Names of the ports, in the order of joining."""
        return [port.name for port in self.ports]


@dataclass(frozen=True)
class PacketFrame:
    device: str
    bytes: str  # hexadecimal


@dataclass(frozen=True)
class Network:
    devices: List[NetworkDevice]
    bridges: List[Bridge]
    ipRules: List[str]
    ipRoutes: List[str]
    packetFrames: List[PacketFrame]
    hostKernel: bool


@dataclass(frozen=True)
class Rule:
    id: int
    filters: List[str]
    commands: List[str]
    text: str  # "rxdev=sid1.3 | push vid0:=100"


@dataclass(frozen=True)
class DefaultAction:
    action: str  # "drop" or "pass"
    device: str


@dataclass(frozen=True)
class RuleTable:
    device: str
    direction: str  # "receive" or "transmit"
    tags: int  # of the frames that come here
    rules: List[Rule]
    default: Optional[DefaultAction] = None


@dataclass(frozen=True)
class VlanFlow:
    from_: str
    to: str


@dataclass(frozen=True)
class Vlan:
    tables: List[RuleTable]
    flows: List[VlanFlow]


@dataclass(frozen=True)
class Pon:
    tconts: List[TCont]
    gemPorts: List[GemPort]
    adminState: Optional[int]  # None before the link is started


@dataclass(frozen=True)
class RunnerEntry:
    attribute: str
    key: str
    result: str


@dataclass(frozen=True)
class RunnerObject:
    name: str
    configuration: str
    attributes: Dict[str, str]
    entries: List[RunnerEntry]


@dataclass(frozen=True)
class IngressQueue:
    enabled: bool
    keys: List[str]


@dataclass(frozen=True)
class Runner:
    objects: List[RunnerObject]
    builtIn: List[RunnerObject]
    ingressQueue: IngressQueue
    remarks: List[str]


@dataclass(frozen=True)
class Message:
    type: int
    source: int
    destination: int
    flags: int
    payload: str  # hexadecimal


@dataclass(frozen=True)
class Bus:
    gateway: str  # "answers" or "silent"
    answerDelayMs: int
    sent: List[Message]
    persistent: Dict[str, str]


@dataclass(frozen=True)
class Command:
    text: str
    understood: bool


@dataclass(frozen=True)
class Process:
    pid: int
    command: str


@dataclass(frozen=True)
class Shell:
    commands: List[Command]
    processes: List[Process]
    killed: List[int]


@dataclass(frozen=True)
class CharacterDevices:
    rawReceiveLevel: int
    rawTransmitLevel: int
    bitErrorRatio: float
    i2cImageSize: int
    stackRequests: Dict[str, Any]


@dataclass(frozen=True)
class Files:
    contents: Dict[str, str]
    removed: List[str]
    denied: List[str]
    openDescriptors: int
    characterDevices: CharacterDevices


@dataclass(frozen=True)
class Clock:
    sleptMs: int


@dataclass(frozen=True)
class TraceEntry:
    """A call into the device, a wait or a line of its log."""

    number: int
    kind: str  # "platform", "ioctl", "file", "socket", "shell", "wait" or "log"
    name: str
    arguments: str
    result: int
    injected: bool = False  # a fault decided the result

    def __str__(self) -> str:
        return f"{self.number}  {self.name}({self.arguments}) = {self.result}"


@dataclass(frozen=True)
class Tap:
    """A port that is a TAP device of the host."""

    port: str  # "sid0", "gem 1001"
    interface: str
    netns: str
    linkUp: bool
    became: str  # of the interface: "deleted", "renamed to tap1"; "" while it is what it was
    framesIn: int  # out of the interface into the board
    octetsIn: int
    framesOut: int
    octetsOut: int
    dropped: int  # that came in here and left nowhere
    lastDrop: str
    elsewhere: int  # that came in here and left where no TAP is
    lastElsewhere: str
    lostIn: int  # in front of the board, which did not take them in time
    lostOut: int  # that the host did not take
    offload: str = "none"  # "tcp, udp", "tcp": what the host leaves to be cut into frames
    whyNoOffload: str = ""
    segmentsIn: int = 0  # that came in whole
    segmentFramesIn: int = 0  # that they stand for
    segmentsOut: int = 0
    segmentFramesOut: int = 0


@dataclass(frozen=True)
class DeviceState:
    """All that exists on the board at one moment."""

    network: Network
    vlan: Vlan
    pon: Pon
    runner: Runner
    bus: Bus
    board: Board
    shell: Shell
    files: Files
    clock: Clock
    calls: int  # into the device so far
    trace: List[TraceEntry] = field(default_factory=list)  # as far as it was asked for
    taps: List[Tap] = field(default_factory=list)  # ports with real packets
    faults: List[Dict[str, Any]] = field(default_factory=list)  # that are armed, as fault steps ask for them

    def device(self, name: str) -> Optional[NetworkDevice]:
        return next((one for one in self.network.devices if one.name == name), None)

    def bridge(self, name: str) -> Optional[Bridge]:
        return next((one for one in self.network.bridges if one.name == name), None)

    def gem_port(self, port_id: int) -> Optional[GemPort]:
        return next((one for one in self.pon.gemPorts if one.portId == port_id), None)

    def tcont(self, index: int) -> Optional[TCont]:
        return next((one for one in self.pon.tconts if one.index == index), None)

    def rules(self, device: str, direction: str, tags: int) -> List[Rule]:
        """Those of one table, in the order of matching; direction is "receive" or "transmit"."""
        wanted = (device, direction, tags)
        tables = [one for one in self.vlan.tables if (one.device, one.direction, one.tags) == wanted]
        return [rule for one in tables for rule in one.rules]


@dataclass(frozen=True)
class QueueCounters:
    tcont: int
    queue: int
    frames: int
    octets: int


@dataclass(frozen=True)
class Counters:
    devices: Dict[str, Dict[str, int]]  # by name, with the kernel's names
    gemPorts: Dict[str, List[int]]  # the kit's ten, by port id
    queues: List[QueueCounters]
    taps: List[Tap] = field(default_factory=list)
    faults: List[Dict[str, Any]] = field(default_factory=list)  # that are armed


@dataclass(frozen=True)
class BoardInfo:
    """How a board came to be, as it says itself."""

    name: str
    kind: str  # "run", "exec" or "omci"
    hal: bool  # it takes calls: its HAL is in the tool
    process: int  # of the tool
    program: List[str]
    protocol: int
    since: str
    taps: List[str] = field(default_factory=list)  # ports with real packets: "sid0=lan0@customer"
