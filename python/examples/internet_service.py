"""Provision an internet service, and see where frames go."""

from service import provision_internet
from vorn_onu import Onu

with Onu.start() as onu:
    provision_internet(onu)

    up = onu.frame(from_="sid0")
    print(up.text())
    [leaving] = up.leaves
    assert (leaving.at, leaving.gemPort, leaving.queue) == ("gpondef", 1001, 0)
    assert [tag.vid for tag in leaving.frame.tags] == [100]

    # The same as an expectation: what does not hold raises StepFailed, with the frame's way.
    onu.frame(from_="gem 1001", tags=[{"vid": 100}], expect={"leaves": [{"at": "sid0", "tags": []}]})
    onu.frame(from_="gem 1001", tags=[{"vid": 7}], expect={"dropped": "no rule matches"})
