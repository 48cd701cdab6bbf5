"""Start a board, make a bridge, look at it."""

from vorn_onu import Onu

with Onu.start() as onu:
    made = onu.call.configureBridge(bridgeId=3, uniPort=0)
    print("configureBridge returned", made.result, "and did:", made.effects)

    bridge = onu.state().bridge("br3")
    assert bridge is not None and bridge.members == ["gpon3.3"]
    print(bridge.name, "has the members", bridge.members)
