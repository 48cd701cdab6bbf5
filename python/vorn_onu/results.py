"""What a step has done."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Dict, List, Mapping, Type, TypeVar, Union

from .decode import decode
from .frames import Drop, Exit, Frame, Walk, octets_after


@dataclass(frozen=True)
class Failure:
    """An expectation that has not held."""

    what: str
    expected: List[str]
    actual: List[str]

    def __str__(self) -> str:
        def side(lines: List[str]) -> str:
            return "\n              ".join(lines or ["(nothing)"])

        return f"  {self.what}\n    expected  {side(self.expected)}\n    actual    {side(self.actual)}"


@dataclass(frozen=True)
class StepResult:
    number: int
    kind: str
    name: str  # of a call
    words: str
    note: str
    answer: str
    effects: str  # what has changed on the device, in words
    passed: bool
    failures: List[Failure]
    warnings: List[str]

    def text(self) -> str:
        """In words, as `vorn-onu at` shows it."""
        line = "  ".join(part for part in (f"{self.kind} {self.name}".rstrip(), self.words) if part)
        line += f" = {self.answer}" if self.answer else ""
        line += f" -> {self.effects}" if self.effects else ""
        return "\n".join([line, *self._more(), *self.warnings, *map(str, self.failures)])

    def _more(self) -> List[str]:
        return []


@dataclass(frozen=True)
class CallResult(StepResult):
    result: Union[int, str, None] = None  # what the operation returned; None where it returns nothing
    output: Dict[str, Any] = field(default_factory=dict)  # what it wrote for its caller


@dataclass(frozen=True)
class HopWords:
    tree: str
    where: str
    what: str
    to: str
    frame: str


@dataclass(frozen=True)
class Way:
    """A walk in words."""

    hops: List[HopWords] = field(default_factory=list)
    leaves: List[str] = field(default_factory=list)
    dropped: List[str] = field(default_factory=list)

    def text(self) -> str:
        width = max((len(hop.tree + hop.where) for hop in self.hops), default=0)
        lines = []
        for number, hop in enumerate(self.hops, 1):
            to = f" -> {hop.to}" if hop.to else ""
            frame = f"  [{hop.frame}]" if hop.frame else ""
            lines.append(f"  {number:2}  {(hop.tree + hop.where).ljust(width)}  {hop.what}{to}{frame}")
        lines += [f"  leaves at {one}" for one in self.leaves]
        lines += [f"  {one}" for one in self.dropped]
        return "\n".join(lines)


@dataclass(frozen=True)
class FrameResult(StepResult):
    frame: Frame = field(default_factory=lambda: Frame("", "", 0, 0, []))  # as it came in
    walk: Walk = field(default_factory=Walk)
    way: Way = field(default_factory=Way)
    sent: bytes = b""  # the octets that were sent, where octets were

    @property
    def leaves(self) -> List[Exit]:
        """Where copies left the board."""
        return self.walk.leaves

    @property
    def dropped(self) -> List[Drop]:
        """Where copies did not go on, and why."""
        return self.walk.dropped

    def octets(self, at: Exit) -> bytes:
        """What left there, of a frame that was sent as octets or as a packet."""
        return octets_after(self.sent, at.frame)

    def _more(self) -> List[str]:
        way = self.way.text()
        shown = any("on this way" in line for failure in self.failures for line in failure.actual)
        return [way] if way and not shown else []


R = TypeVar("R", bound=StepResult)

_KINDS: Mapping[str, Type[StepResult]] = {"call": CallResult, "frame": FrameResult}


def step_result(reply: Dict[str, Any], sent: bytes = b"") -> StepResult:
    """The result that a reply's member "step" has."""
    result = decode(_KINDS.get(str(reply.get("kind")), StepResult), reply)
    if sent:
        object.__setattr__(result, "sent", sent)
    return result
