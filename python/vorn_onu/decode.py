"""Objects of what the board tells in JSON. Fields have the names of JSON's members, "from" is from_."""

from __future__ import annotations

import dataclasses
import typing
from typing import Any, Dict, Type, TypeVar, Union

from .errors import OnuError

T = TypeVar("T")

_hints: Dict[type, Dict[str, Any]] = {}


def decode(kind: Type[T], value: Any, place: str = "") -> T:
    """An object of the dataclass. Members that it does not know are left out: newer boards may tell more. One that it
    needs and that is not there raises an OnuError "bad-reply"."""
    if not isinstance(value, dict):
        raise OnuError("bad-reply", f"{place or kind.__name__} is no object: {value!r:.60}")
    hints = _hints.setdefault(kind, typing.get_type_hints(kind))
    given: Dict[str, Any] = {}
    for field in dataclasses.fields(kind):
        member = field.name.rstrip("_")
        where = f"{place}.{member}" if place else member
        if member in value:
            given[field.name] = _decoded(hints[field.name], value[member], where)
        elif field.default is dataclasses.MISSING and field.default_factory is dataclasses.MISSING:
            raise OnuError("bad-reply", f"{where} is missing")
    return kind(**given)


def _decoded(hint: Any, value: Any, place: str) -> Any:
    origin, arguments = typing.get_origin(hint), typing.get_args(hint)
    if origin is Union:  # Optional
        return None if value is None else _decoded(arguments[0], value, place)
    if origin is list:
        return [_decoded(arguments[0], one, f"{place}[{i}]") for i, one in enumerate(value)]
    if origin is dict:
        return {key: _decoded(arguments[1], one, f"{place}.{key}") for key, one in value.items()}
    if dataclasses.is_dataclass(hint):
        return decode(hint, value, place)
    return value
