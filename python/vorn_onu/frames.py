"""Frames: octets and scapy's packets as frame steps have them, and the way of a frame through the board."""

from __future__ import annotations

import ipaddress
import struct
from dataclasses import dataclass, field
from typing import Any, Dict, List, Optional, Tuple

from .errors import OnuError

_TPIDS = (0x8100, 0x88A8, 0x9100)
_MOST_TAGS = 4
_MACS, _TAG, _SHORTEST = 12, 4, 60
_IPV4, _IPV6, _IPV6_HEADER = 0x0800, 0x86DD, 40
_IGMP, _HOP_BY_HOP, _ICMPV6 = 2, 0, 58
# Of each message: what it is, and where its group's address is. Of reports of several groups the first.
_IGMP_KINDS = {0x11: ("query", 4), 0x12: ("report", 4), 0x16: ("report", 4), 0x17: ("leave", 4), 0x22: ("report", 12)}
_MLD_KINDS = {130: ("query", 8), 131: ("report", 8), 132: ("leave", 8), 143: ("report", 12)}


@dataclass(frozen=True)
class Tag:
    vid: int
    pbits: int = 0
    dei: bool = False
    tpid: int = 0x8100

    def __str__(self) -> str:
        kind = "" if self.tpid == 0x8100 else f" TPID {self.tpid:#06x}"
        return f"VID {self.vid} p{self.pbits}{' DEI' if self.dei else ''}{kind}"


@dataclass(frozen=True)
class Frame:
    """A frame at one place of its way."""

    source: str
    destination: str
    etherType: int
    dscp: int
    tags: List[Tag]  # outermost first
    ipProtocol: Optional[int] = None
    payload: int = 0  # octets behind the last type word; 0: as few as it can have


@dataclass(frozen=True)
class NearestRule:
    rule: int
    text: str
    against: str  # what kept it from matching


@dataclass(frozen=True)
class Hop:
    kind: str  # "table", "bridge", "flow" or "runner"
    device: str
    to: str
    detail: str
    frame: Frame
    from_: int  # the hop before, by place in the list; -1: where the frame came in
    direction: str = ""  # of a table: "receive" or "transmit"
    tags: Optional[int] = None
    rule: Optional[int] = None
    nearest: Optional[NearestRule] = None


@dataclass(frozen=True)
class Exit:
    at: str  # the port, "gpondef" for the PON
    frame: Frame
    gemPort: Optional[int] = None  # these four on the PON only
    gemIndex: Optional[int] = None
    tcont: Optional[int] = None
    queue: Optional[int] = None


@dataclass(frozen=True)
class Drop:
    at: str
    reason: str
    hop: int


@dataclass(frozen=True)
class Walk:
    hops: List[Hop] = field(default_factory=list)
    leaves: List[Exit] = field(default_factory=list)
    dropped: List[Drop] = field(default_factory=list)


def octets_of(packet: Any) -> bytes:
    """The octets of a packet: bytes as they are, anything else (a packet of scapy's) as bytes() makes them."""
    return packet if isinstance(packet, bytes) else bytes(packet)


def frame_fields(octets: bytes) -> Dict[str, Any]:
    """The fields of a frame step for an Ethernet frame without check sequence. Raises an OnuError "bad-frame"."""
    tags, at = _tags(octets)
    ether_type = _u16(octets, at)
    payload = octets[at + 2 :]
    fields: Dict[str, Any] = {
        "destination": _mac(octets[:6]),
        "source": _mac(octets[6:12]),
        "tags": tags,
        "etherType": ether_type,
    }
    if payload:
        fields["payload"] = len(payload)
    if ether_type == _IPV4 and len(payload) >= 20:
        fields.update(_ipv4(payload))
    if ether_type == _IPV6 and len(payload) >= _IPV6_HEADER:
        fields.update(_ipv6(payload))
    return fields


def octets_after(sent: bytes, left: Frame) -> bytes:
    """What left the board of a frame that came in with these octets: the board changes tags and type word only."""
    _, at = _tags(sent)
    out = bytearray(sent[:_MACS])
    for tag in left.tags:
        out += struct.pack("!HH", tag.tpid, tag.pbits << 13 | tag.dei << 12 | tag.vid)
    out += struct.pack("!H", left.etherType) + sent[at + 2 :]
    if len(sent) >= _SHORTEST:
        out += bytes(max(_SHORTEST - len(out), 0))
    return bytes(out)


def _tags(octets: bytes) -> Tuple[List[Dict[str, Any]], int]:
    if len(octets) < _MACS + 2:
        raise OnuError("bad-frame", f"an Ethernet frame has at least {_MACS + 2} octets, this has {len(octets)}")
    tags: List[Dict[str, Any]] = []
    at = _MACS
    while len(tags) < _MOST_TAGS and _u16(octets, at) in _TPIDS and at + _TAG + 2 <= len(octets):
        tpid, content = struct.unpack_from("!HH", octets, at)
        tags.append({"vid": content & 0xFFF, "pbits": content >> 13, "dei": bool(content & 0x1000), "tpid": tpid})
        at += _TAG
    return tags, at


def _ipv4(packet: bytes) -> Dict[str, Any]:
    fields: Dict[str, Any] = {"ipProtocol": packet[9], "dscp": packet[1] >> 2}
    if packet[9] == _IGMP:
        fields.update(_group(packet[(packet[0] & 0xF) * 4 :], _IGMP_KINDS, 4))
    return fields


def _ipv6(packet: bytes) -> Dict[str, Any]:
    protocol, at = packet[6], _IPV6_HEADER
    if protocol == _HOP_BY_HOP and len(packet) > at + 1:
        protocol, at = packet[at], at + 8 * (packet[at + 1] + 1)
    fields: Dict[str, Any] = {"ipProtocol": protocol, "dscp": _u16(packet, 0) >> 6 & 0x3F}
    if protocol == _ICMPV6:
        fields.update(_group(packet[at:], _MLD_KINDS, 16))
    return fields


def _group(message: bytes, kinds: Dict[int, Tuple[str, int]], length: int) -> Dict[str, Any]:
    if not message or message[0] not in kinds:
        return {}
    kind, at = kinds[message[0]]
    has_records = at == 12
    if len(message) < at + length or (has_records and _u16(message, 6) == 0):
        return {}
    address = message[at : at + length]
    if address[0] == 0:
        return {"group": {"query": ""}} if kind == "query" else {}
    return {"group": {kind: str(ipaddress.ip_address(address))}}


def _u16(octets: bytes, at: int) -> int:
    return int.from_bytes(octets[at : at + 2], "big")


def _mac(octets: bytes) -> str:
    return ":".join(f"{one:02x}" for one in octets)
