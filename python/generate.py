#!/usr/bin/env python3
"""Writes the modules of vorn_onu that follow from the tool's tables: operations, steps, values, records, _version.

    generate.py FOLDER TOOL...

TOOL is the program vorn-onu, behind an emulator where it needs one. The build runs this.
"""

from __future__ import annotations

import json
import keyword
import pathlib
import re
import subprocess
import sys
import textwrap
from typing import Any, Dict, List, Optional, Set, Tuple

Schema = Dict[str, Any]

WIDTH = 120
# Beside an operation's fields; "note" goes with every step.
CALL_KEYS = ("call", "record", "unchecked", "result", "output", "note")
RESULTS = {"frame": "FrameResult"}
MARK = '''"""{0}

Made by generate.py of what the tool's own tables say; changes here are lost.
"""

'''
HIDDEN = "\n__tracebackhide__ = True  # pytest shows the test's own lines\n\n\n"
LAZY = "from __future__ import annotations\n\n"
# Octets that are no text, wherever a text can stand.
OCTETS = {"bytes": {"type": "string"}}
TYPING = ("Any", "Literal", "Mapping", "Optional", "Sequence", "TypedDict", "Union", "cast")


def python_name(name: str) -> str:
    name = name.replace("::", "_")
    return name + "_" if keyword.iskeyword(name) else name


def type_name(*parts: str) -> str:
    return "".join(part[:1].upper() + part[1:] for part in parts)


class Types:
    """Python types of schemas. What has more than one way, or members, gets a name; what looks alike gets one name."""

    def __init__(self) -> None:
        self.definitions: List[str] = []
        self.names: List[str] = []
        self._known: Dict[str, str] = {}

    def of(self, schema: Schema, *hint: str) -> str:
        """The type in words of Python; hint: what a name for it would be made of."""
        if "const" in schema:
            return f"Literal[{schema['const']!r}]"
        if "enum" in schema:
            return self._named(schema, hint, "Literal[" + ", ".join(repr(one) for one in schema["enum"]) + "]")
        if "anyOf" in schema:
            return self._union(schema, hint)
        kind = schema.get("type")
        if kind == "array":
            return f"Sequence[{self.of(schema.get('items', {}), *hint, 'Item')}]"
        if kind == "object":
            return self._object(schema, hint)
        return {"integer": "int", "string": "str", "boolean": "bool", "number": "float"}.get(str(kind), "Any")

    def _union(self, schema: Schema, hint: Tuple[str, ...]) -> str:
        ways: List[str] = []
        for way in schema["anyOf"]:
            words = "enum" in way  # not a name for the words alone
            text = "Literal[" + ", ".join(map(repr, way["enum"])) + "]" if words else self.of(way, *hint)
            ways += [text] if text not in ways else []
        if len(ways) == 1:
            return ways[0]
        union = f"Union[{', '.join(ways)}]"
        return union if len(union) < 40 else self._named(schema, hint, union)

    def _object(self, schema: Schema, hint: Tuple[str, ...]) -> str:
        if "properties" not in schema:
            rest = schema.get("additionalProperties")
            value = self.of(rest, *hint, "Value") if isinstance(rest, dict) else "Any"
            return f"Mapping[str, {value}]"
        members = {name: self.of(one, *hint, name) for name, one in schema["properties"].items()}
        return self._named(schema, ("Octets",) if schema["properties"] == OCTETS else hint, "", members)

    def _named(self, schema: Schema, hint: Tuple[str, ...], text: str, members: Optional[Dict[str, str]] = None) -> str:
        key = text or json.dumps([members, schema.get("required")])
        if key in self._known:
            return self._known[key]
        name = type_name(*hint)
        while name in self.names:
            name += "_"
        self._known[key] = name
        self.names.append(name)
        made = folded(f"{name} = ", text) if members is None else self._members(name, schema, members)
        self.definitions.append(made)
        return name

    @staticmethod
    def _members(name: str, schema: Schema, members: Dict[str, str]) -> str:
        if any(keyword.iskeyword(one) for one in members):
            rows = "".join(f"        {one!r}: {kind},\n" for one, kind in members.items())
            return f"{name} = TypedDict(\n    {name!r},\n    {{\n{rows}    }},\n    total=False,\n)"
        needed = [one for one in members if one in schema.get("required", [])]
        others = [one for one in members if one not in needed]

        def body(names: List[str]) -> str:
            return "".join(f"    {one}: {members[one]}\n" for one in names)

        if not others:
            return f"class {name}(TypedDict):\n{body(needed)}".rstrip()
        if not needed:
            return f"class {name}(TypedDict, total=False):\n{body(others)}".rstrip()
        return (
            f"class _{name}(TypedDict):\n{body(needed)}\n\n"
            f"class {name}(_{name}, total=False):\n{body(others)}"
        ).rstrip()


def folded(start: str, text: str) -> str:
    """A definition that goes on in further lines where it is too long."""
    if len(start + text) <= WIDTH:
        return start + text
    opening, inner = text[: text.index("[") + 1], text[text.index("[") + 1 : -1]
    lines = textwrap.wrap(inner, WIDTH - 4, break_long_words=False, break_on_hyphens=False)
    return start + opening + "\n" + "".join(f"    {line}\n" for line in lines) + "]"


def doc_lines(text: str, fields: Dict[str, Schema], needed: List[str]) -> str:
    """A docstring: the text, then a line a field."""
    width = max((len(python_name(name)) for name in fields), default=0)
    lines = [text]
    for name, schema in fields.items():
        words = schema.get("description", "")
        if not words:
            continue
        if name in needed:
            words += " (needed)"
        if "default" in schema:
            words += f"; otherwise {json.dumps(schema['default'])}"
        indent = " " * (width + 2)
        lines += textwrap.wrap(f"{python_name(name).ljust(width)}  {words}", WIDTH - 8, subsequent_indent=indent)
    if len(lines) > 1:
        lines.insert(1, "")
    quoted = [line.replace("\\", "\\\\").replace('"""', '\\"\\"\\"') for line in lines]
    if len(quoted) == 1 and not quoted[0].endswith('"'):
        return f'        """{quoted[0]}"""\n'
    return '        """' + "\n        ".join(quoted).replace("\n        \n", "\n\n") + '\n        """\n'


def parameter(name: str, kind: str) -> str:
    optional = kind if kind.startswith("Optional[") or kind == "Any" else f"Optional[{kind}]"
    return f"{python_name(name)}: {optional} = None"


def signature(name: str, parameters: List[str], result: str) -> str:
    """The head of a method, its parameters over as many lines as they need."""
    lines = ["        self,"]
    for one in parameters:
        if len(lines[-1]) + len(one) + 2 > WIDTH:
            lines.append("       ")
        lines[-1] += f" {one},"
    return f"    def {name}(\n" + "\n".join(lines) + f"\n    ) -> {result}:\n"


# ---- operations ----

CALLS_CLASS = '''class Calls(Caller):
    """The operations by their full names, and by the short ones.

    Fields that are left out take neutral values, or those of the record: a name, or a mapping of fields; None is a null
    pointer. result and output are what is expected; what came is in the result. What does not hold raises StepFailed.
    """

'''


def operation(schema: Schema, types: Types) -> str:
    properties = schema["properties"]
    names = properties["call"]["enum"]
    fields = {name: one for name, one in properties.items() if name not in CALL_KEYS}
    ways = [way["required"] for way in schema.get("anyOf", [])]
    needed: List[str] = next((way for way in ways if way[0] not in ("record", "unchecked")), [])
    if any(python_name(name) != name for name in fields):
        raise ValueError(f"{names[0]} has a field that Python cannot name")
    parameters = ["*"] + [parameter(name, types.of(one, name)) for name, one in fields.items()]
    parameters.append("record: Record = LEFT_OUT")
    for key in ("unchecked", "result", "output", "note"):
        if key in properties:
            parameters.append(
                parameter(key, {"result": "Union[int, str]", "note": "str"}.get(key, "Mapping[str, Any]"))
            )
    text = signature(python_name(names[0]), parameters, "CallResult")
    outputs = list(properties.get("output", {}).get("properties", {}))
    documented = dict(fields)
    if outputs:
        documented["output"] = {"description": f"what it is expected to write: {', '.join(outputs)}"}
    text += doc_lines(schema["description"], documented, needed)
    text += f"        return self._call({names[0]!r}, locals())\n"
    for short in names[1:]:
        text += f"\n    {python_name(short)} = {python_name(names[0])}\n"
    return text


def operations_module(ways: List[Schema], types: Types) -> str:
    methods = [operation(way, types) for way in ways if "call" in way["properties"]]
    body = "\n".join(methods)
    return (
        MARK.format("Every operation of the HAL, by keyword.")
        + LAZY
        + typing_import(body)
        + "\nfrom .calling import LEFT_OUT, Caller, Record\nfrom .results import CallResult\n"
        + imports(types, body)
        + HIDDEN
        + CALLS_CLASS
        + body
    )


# ---- steps ----


def ways_of(schema: Schema) -> Tuple[List[Schema], Dict[str, Schema], List[str]]:
    """The values that are no object; the members of all objects; those that are always needed."""
    alternatives = schema.get("anyOf", [schema])
    objects = [one for one in alternatives if one.get("type") == "object"]
    plain = [one for one in alternatives if one.get("type") != "object"]
    members: Dict[str, Schema] = {}
    for one in objects:
        members.update(one.get("properties", {}))
    needed = objects[0].get("required", []) if len(objects) == 1 and not plain else []
    return plain, members, needed


def step(schema: Schema, types: Types) -> str:
    kind = schema["required"][0]
    value = schema["properties"][kind]
    plain, members, needed = ways_of(value)
    beside = [name for name in schema["properties"] if name != kind and name != "note"]
    parameters: List[str] = []
    if plain:
        union = types.of({"anyOf": plain}, kind)
        parameters.append(f"value: Optional[{union}] = None" if members else f"value: {union}")
    others = [*members, *beside] + (["note"] if kind != "note" else [])
    if others:
        parameters.append("*")
    parameters += [parameter(name, types.of(one, kind, name)) for name, one in members.items()]
    parameters += [parameter(name, types.of(schema["properties"][name], kind, name)) for name in beside]
    if kind != "note":
        parameters.append(parameter("note", "str"))
    result = RESULTS.get(kind, "StepResult")
    text = signature(python_name(kind), parameters, result) + doc_lines(value["description"], members, needed)
    if "value" in members or any(python_name(name).rstrip("_") != name for name in others):
        raise ValueError(f"{kind} has a member that Python cannot name")
    call = f"self._take({kind!r}, locals(), {[*beside, 'note'] if kind != 'note' else beside!r})"
    return text + (f"        return {call}\n" if result == "StepResult" else f"        return cast({result}, {call})\n")


def steps_module(ways: List[Schema], types: Types) -> str:
    body = "\n".join(step(way, types) for way in ways if "call" not in way["properties"])
    return (
        MARK.format("Every other step of a scenario, by keyword.")
        + LAZY
        + typing_import(body)
        + "\nfrom .calling import StepTaker\nfrom .results import FrameResult, StepResult\n"
        + imports(types, body)
        + HIDDEN
        + "class Steps(StepTaker):\n"
        + '    """The steps by their names in a scenario. What does not hold raises StepFailed."""\n\n'
        + body
    )


def words_of(text: str) -> Set[str]:
    return set(re.findall(r"\w+", text))


def typing_import(text: str) -> str:
    return f"from typing import {', '.join(name for name in TYPING if name in words_of(text))}\n"


def imports(types: Types, body: str) -> str:
    words = words_of(body)
    used = sorted(name for name in types.names if name in words)
    return "from .values import (\n" + "".join(f"    {name},\n" for name in used) + ")\n" if used else ""


def values_module(types: Types) -> str:
    text = MARK.format("Types of the values that operations and steps take.")
    text += typing_import("\n".join(types.definitions))
    before = ""
    for definition in types.definitions:
        is_class = definition.startswith("class")
        text += ("\n\n" if is_class or before == "class" else "\n") + definition + "\n"
        before = "class" if is_class else "alias"
    return text


# ---- records of the state ----

ZEROS = {"bool": "False", "int": "0", "float": "0.0", "str": '""'}


def state_type(schema: Schema) -> str:
    if "$ref" in schema:
        return str(schema["$ref"]).rsplit("/", maxsplit=1)[-1]
    kind = schema["type"]
    if isinstance(kind, list):
        return f"Optional[{state_type({'type': kind[0]})}]"
    if kind == "array":
        return f"List[{state_type(schema['items'])}]"
    if kind == "object":
        return f"Dict[str, {state_type(schema['additionalProperties'])}]"
    return {"integer": "int", "string": "str", "boolean": "bool", "number": "float"}[kind]


def records_module(records: Dict[str, Schema]) -> str:
    text = MARK.format("Records of the device state. docs/state-format.md says what the fields are.") + LAZY
    text += "from dataclasses import dataclass, field\nfrom typing import Dict, List, Optional\n"
    for name, schema in records.items():
        text += f"\n\n@dataclass(frozen=True)\nclass {name}:\n"
        needed = schema["required"]
        for one in sorted(schema["properties"], key=lambda member: member not in needed):
            kind = state_type(schema["properties"][one])
            # Older boards do not have what is not required.
            zero = "" if one in needed else f" = {ZEROS.get(kind) or f'field(default_factory={kind[:4].lower()})'}"
            text += f"    {one}: {kind}{zero}\n"
    return text


def modules(tool: List[str]) -> Dict[str, str]:
    def said(*words: str) -> str:
        return subprocess.run([*tool, *words], check=True, stdout=subprocess.PIPE, text=True, timeout=60).stdout

    ways = json.loads(said("schema"))["properties"]["steps"]["items"]["anyOf"]
    types = Types()
    made = {"operations.py": operations_module(ways, types), "steps.py": steps_module(ways, types)}
    made["values.py"] = values_module(types)
    made["records.py"] = records_module(json.loads(said("schema", "--state"))["$defs"])
    version = said("--version").split()[1]
    made["_version.py"] = f'"""The version of the tool that this module goes with."""\n\nVERSION = "{version}"\n'
    return made


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    for name, text in modules(sys.argv[2:]).items():
        pathlib.Path(sys.argv[1], name).write_text(text)
