"""State what must be so, and that nothing is left of a service that was taken back."""

from service import BRIDGE, GEM_PORT, provision_internet
from vorn_onu import Onu, StepFailed

with Onu.start() as onu:
    onu.call.configureBridge(bridgeId=BRIDGE, uniPort=1)  # the default bridge comes once and stays
    onu.mark("before")
    provision_internet(onu)
    onu.expect(
        bridges={"br3": ["gpon3.3", "sid0.3"]},
        gemPorts={"1001": {"enabled": True, "allocId": 256}},
        flows={"contain": ["sid0.3 -> gpon3.3"]},
    )

    try:
        onu.expect(nothingLeftSince="before")
        raise SystemExit("the service is there: that should not hold")
    except StepFailed as failed:
        print(failed)
        assert failed.result.failures[0].actual

    onu.call.unsetPbitData(bridgeId=BRIDGE, gemPortId=GEM_PORT)
    onu.call.filter_flow_add(bridgeId=BRIDGE, uniPort=2, addFlag=False)
    onu.call.deprovisionAniSideBridge(bridgeId=BRIDGE, gemPortId=GEM_PORT)
    onu.call.gemflow_del(tContAllocId=256, xgemPortId=GEM_PORT)
    onu.call.tcont_reset(allocId=256, tContIndex=1)
    # The kit keeps the state and the default actions of the port, and rules on gpondef.
    onu.expect(nothingLeftSince={"mark": "before", "except": ["default sid0 ", "device sid0 ", "gpondef"]})
