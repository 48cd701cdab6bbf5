"""Types of the values that operations and steps take.

Made by generate.py of what the tool's own tables say; changes here are lost.
"""

from typing import Literal, Sequence, TypedDict, Union


class Octets(TypedDict):
    bytes: str


SchedPolicy = Union[int, Literal['strict', 'weighted']]

DownstreamMode = Union[int, Literal['inverse', 'none', 'discard']]

FilterType = Union[int, Literal['untagged', 'single', 'double']]

TagAction = Union[int, Literal['push', 'pop', 'none', 'pushTwo', 'popTwo', 'translate']]

EtherType = Union[int, Literal['none', 'ipv4', 'pppoeDiscovery', 'arp', 'pppoeSession', 'ipv6', 'eapol']]

OuterFilterTpidDe = Union[int, Literal['any', '0x8100', 'input', 'inputDei0', 'inputDei1']]

OuterFilterPrio = Union[int, Literal['any', 'default', 'none']]

RemoveType = Union[int, Literal['none', 'outer', 'both', 'discard']]

OuterTreatmentTpidDe = Union[
    int, Literal['copyInner', 'copyOuter', 'outputDeiInner', 'output', '0x8100', 'outputDei0', 'outputDei1']
]

OuterTreatmentVlanId = Union[int, Literal['copyInner', 'copyOuter']]

OuterTreatmentPrio = Union[int, Literal['copyInner', 'copyOuter', 'dscp', 'none']]


class _VlanTciFilterListItem(TypedDict):
    vid: int


class VlanTciFilterListItem(_VlanTciFilterListItem, total=False):
    pbits: int
    dei: Union[int, bool]


VlanTciFilterList = Union[Sequence[VlanTciFilterListItem], str, Union[str, Octets]]

TrafficModel = Union[int, Literal['1-filter', '1-map-filter', 'n-filter', 'n-map-filter']]

PbitMapItemPbit = Union[int, Literal['others', 'untagged']]


class _PbitMapItem(TypedDict):
    pbit: PbitMapItemPbit
    gemPort: Union[int, Literal['none']]


class PbitMapItem(_PbitMapItem, total=False):
    queue: int


Kind = Union[int, Literal['ethernet', 'ethernetOfReader']]

Interval = Union[int, Literal['absolute', 'interval', 'intervalEnd']]

BoardOutOfRangeFilters = Literal['never', 'any', 'masked']


class FaultOmci(TypedDict, total=False):
    drop: int
    delay: int
    delayMs: int
    duplicate: int
    damage: int
    unknownClass: int
    dataSync: int
    reboot: Union[int, bool]


class _FrameTagsItem(TypedDict):
    vid: int


class FrameTagsItem(_FrameTagsItem, total=False):
    pbits: int
    dei: Union[int, bool]
    tpid: Union[int, str]


FrameEtherType = Union[int, str, Literal['ipv4', 'ipv6', 'arp', 'pppoeDiscovery', 'pppoeSession', 'eapol']]

FrameIpProtocol = Union[int, Literal['icmp', 'igmp', 'tcp', 'udp']]


class FrameGroup(TypedDict, total=False):
    query: str
    report: str
    leave: str


class _FrameExpectLeavesItem(TypedDict):
    at: str


class FrameExpectLeavesItem(_FrameExpectLeavesItem, total=False):
    tags: Sequence[FrameTagsItem]
    etherType: FrameEtherType
    gemPort: int
    tcont: int
    queue: int


class FrameExpect(TypedDict, total=False):
    leaves: Sequence[FrameExpectLeavesItem]
    dropped: Union[Literal[True], str]


class ExpectDevicesValue(TypedDict, total=False):
    index: int
    up: bool
    mtu: int
    mac: str
    addresses: Sequence[str]
    master: str
    realDevice: str
    isBridge: bool
    routed: bool
    multicast: bool
    ipv6Disabled: bool
    flags: int
    operState: str


class ExpectBridgesValue(TypedDict, total=False):
    stp: bool
    forwardDelay: int
    helloTime: int
    maxAge: int
    ageingTime: int
    priority: int
    multicastSnooping: bool
    members: Sequence[str]


ExpectBridgesValue_ = Union[bool, ExpectBridgesValue, Sequence[str]]


class ExpectGemPortsValue(TypedDict, total=False):
    index: int
    allocId: int
    downstreamOnly: bool
    enabled: bool
    framesSent: int
    octetsSent: int
    framesReceived: int
    octetsReceived: int
    framesDiscarded: int


class ExpectTcontsValue(TypedDict, total=False):
    allocId: int
    trafficManaged: bool
    queues: int


class ExpectQueuesValue(TypedDict, total=False):
    priority: int
    size: int
    weight: int
    schedMode: int
    shapingRate: int
    shapingBurst: int
    frames: int
    octets: int
    mode: str


class ExpectStatisticsValue(TypedDict, total=False):
    rx_packets: int
    rx_bytes: int
    rx_dropped: int
    rx_errors: int
    multicast: int
    tx_packets: int
    tx_bytes: int
    tx_dropped: int
    tx_errors: int


class ExpectPhysValue(TypedDict, total=False):
    linkUp: bool
    speed: int
    duplex: int


class ExpectPersistentValue(TypedDict, total=False):
    value: str


class ExpectFlows(TypedDict, total=False):
    are: Sequence[str]
    contain: Sequence[str]
    inOrder: Sequence[str]
    absent: Sequence[str]
    count: int


class ExpectCommands(TypedDict, total=False):
    are: Sequence[str]
    contain: Sequence[str]
    inOrder: Sequence[str]
    absent: Sequence[str]
    count: int
    since: str


ExpectFilesValue = Union[Union[Sequence[str], ExpectFlows], Literal[False]]

ExpectNothingLeftSince = TypedDict(
    'ExpectNothingLeftSince',
    {
        'mark': str,
        'except': Sequence[str],
    },
    total=False,
)
