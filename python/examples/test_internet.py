"""Tests with the fixture: each has a factory-new board. Run with pytest."""

import pytest

from service import provision_internet
from vorn_onu import Onu


def test_untagged_frames_are_internet(onu: Onu) -> None:
    provision_internet(onu)
    onu.frame(from_="sid0", expect={"leaves": [{"at": "gpondef", "gemPort": 1001, "tags": [{"vid": 100}]}]})


def test_nothing_stands_on_a_new_board(onu: Onu) -> None:
    assert onu.state().network.bridges == []


@pytest.mark.parametrize("vid", [1, 99, 101, 4094])
def test_other_vlans_are_dropped(onu: Onu, vid: int) -> None:
    provision_internet(onu)
    onu.frame(from_="gem 1001", tags=[{"vid": vid}], expect={"dropped": True})
