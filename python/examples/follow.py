"""Follow the calls into the device, the changes and the counters while others work on the board."""

import threading
from typing import Set

from service import provision_internet
from vorn_onu import Onu

with Onu.start() as onu, onu.subscribe("trace", "changes", "counters", every=0.2) as events:

    def work() -> None:
        provision_internet(onu)
        onu.frame(from_="sid0")

    worker = threading.Thread(target=work)
    worker.start()
    seen: Set[str] = set()
    while not {"trace", "change", "counters"} <= seen:
        event = events.next(timeout=5)
        assert event is not None, "five seconds without news"
        seen.add(event["event"])
        if event["event"] == "trace":
            print(len(event["entries"]), "calls, the last one", event["entries"][-1]["name"])
    worker.join()
    assert onu.counters().gemPorts["1001"][1] > 0, "octets of the frame that went up"
