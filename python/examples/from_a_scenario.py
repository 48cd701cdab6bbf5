"""Begin with the board that a scenario leaves, and go on from there.

    from_a_scenario.py [SCENARIO]
"""

import pathlib
import sys

from vorn_onu import Onu, OnuError

places = [pathlib.Path(__file__).parents[2] / "scenarios", pathlib.Path("/usr/share/doc/vorn-onu/scenarios")]
scenario = sys.argv[1] if len(sys.argv) > 1 else next(one / "bridge.json" for one in places if one.exists())

with Onu.start(scenario=str(scenario)) as onu:
    state = onu.state()
    print("bridges:", {bridge.name: bridge.members for bridge in state.network.bridges})
    print("calls into the device so far:", state.calls)
    assert state.calls > 0 and onu.info().program == [str(scenario)]
    onu.call.configureBridge(bridgeId=9, uniPort=0)
    assert onu.state().bridge("br9")

try:
    Onu.start(scenario="/no/such/scenario.json")
except OnuError as error:
    print("as expected:", error)
    assert error.code == "not-started"
