"""pytest: the fixture onu gives each test a factory-new board; a test that fails shows the way of its last frame."""

from __future__ import annotations

from typing import Any, Generator, Iterator

import pytest

from .onu import Onu

_PRINTED_LINES = 20  # of the HAL's own, below a failed test


def pytest_addoption(parser: Any) -> None:
    group = parser.getgroup("vorn-onu", "boards of the virtual ONU")
    where = "the program vorn-onu; otherwise $VORN_ONU, or the one on the path"
    group.addoption("--vorn-onu", metavar="PROGRAM", help=where)


def pytest_configure(config: Any) -> None:
    config.addinivalue_line(
        "markers",
        "onu(scenario=None, program=None, ...): how the fixture's board begins; keywords of Onu.start(), or with "
        "program those of Onu.exec()",
    )


@pytest.fixture
def onu(request: Any) -> Iterator[Onu]:
    """A factory-new board that ends with the test."""
    marker = request.node.get_closest_marker("onu")
    wishes = {"tool": request.config.getoption("--vorn-onu"), **(marker.kwargs if marker else {})}
    program = wishes.pop("program", None)
    with Onu.exec(program, **wishes) if program else Onu.start(**wishes) as board:
        yield board


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: Any, call: Any) -> Generator[None, Any, None]:
    outcome = yield
    report = outcome.get_result()
    board = getattr(item, "funcargs", {}).get("onu")
    if report.when != "call" or not report.failed or not isinstance(board, Onu):
        return
    if board.last_frame is not None:
        report.sections.append(("the last frame's way", board.last_frame.text()))
    printed = board.hal_output().splitlines()[-_PRINTED_LINES:]
    if printed:
        report.sections.append(("what the HAL printed last", "\n".join(printed)))
