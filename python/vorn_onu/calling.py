"""What the generated modules build on: how keywords become a step."""

from __future__ import annotations

from typing import Any, Callable, Dict, Mapping, Optional, Sequence, Union, cast

from .errors import OnuError
from .results import CallResult, StepResult

__tracebackhide__ = True  # pytest shows the test's own lines

Take = Callable[[Dict[str, Any], Optional[Mapping[str, Any]]], StepResult]

LEFT_OUT: Any = type("LeftOut", (), {"__repr__": lambda _: "LEFT_OUT"})()
# A name, the fields themselves, or a null pointer.
Record = Union[str, Mapping[str, Any], None]

_GIVEN = "given"  # the name of a record that is given as fields


def without_none(fields: Mapping[str, Any]) -> Dict[str, Any]:
    return {name: value for name, value in fields.items() if value is not None}


class Caller:
    """Calls operations: takes call steps with what is given."""

    def __init__(self, take: Take) -> None:
        self._take = take

    def _call(self, name: str, arguments: Mapping[str, Any]) -> CallResult:
        """arguments: those of a generated method, self and record among them."""
        fields = {key: value for key, value in arguments.items() if key not in ("self", "record")}
        record: Record = arguments["record"]
        step: Dict[str, Any] = {"call": name, **without_none(fields)}
        records: Optional[Mapping[str, Any]] = None
        if isinstance(record, Mapping):
            step["record"], records = _GIVEN, {_GIVEN: dict(record)}
        elif record is not LEFT_OUT:
            step["record"] = record
        return cast(CallResult, self._take(step, records))


class StepTaker:
    def step(self, step: Mapping[str, Any]) -> StepResult:
        raise NotImplementedError

    def _take(self, kind: str, arguments: Mapping[str, Any], beside: Sequence[str]) -> StepResult:
        """arguments: those of a generated method; beside: which of them stay outside of the step's value."""
        fields = {name.rstrip("_"): value for name, value in without_none(arguments).items() if name != "self"}
        value = fields.pop("value", None)
        around = {name: fields.pop(name) for name in beside if name in fields}
        if value is not None and fields:
            raise OnuError("bad-step", f"{kind} takes either a value or the keywords {', '.join(fields)}")
        return self.step({kind: fields if value is None else value, **around})
