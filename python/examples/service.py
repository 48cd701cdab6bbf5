"""What the examples share: an internet service, as an OMCI daemon provisions it for an OLT."""

from vorn_onu import Onu

BRIDGE, TCONT, ALLOC_ID, GEM_PORT, VID = 3, 1, 256, 1001, 100


def provision_internet(onu: Onu) -> None:
    """Untagged frames of port sid0 go to VLAN 100 on GEM port 1001, and back."""
    onu.call.tcont_set(allocId=ALLOC_ID, tContIndex=TCONT)
    onu.call.gemflow_add(tContAllocId=ALLOC_ID, xgemPortId=GEM_PORT, upstreamQueue=0)
    onu.call.configureBridge(bridgeId=BRIDGE, uniPort=1)  # the default bridge: there is no bridge 3 yet
    onu.call.configureBridge(bridgeId=BRIDGE, uniPort=0)  # bridge 3 and its PON side
    onu.call.configureAniTagRules(
        bridgeId=BRIDGE,
        gemPortId=GEM_PORT,
        trafficModel="1-filter",
        forwardOperation=4,
        vlanTciFilterList=[{"vid": VID}],
        pbitMap=[{"pbit": 0, "gemPort": GEM_PORT, "queue": 0}, {"pbit": "others", "gemPort": "none"}],
    )
    # Ports 1 and 2 change places in this operation: 2 is sid0.
    onu.call.filter_flow_add(
        bridgeId=BRIDGE, uniPort=2, tagAction="push", innerTreatmentVlanId=VID, innerTreatmentPrio=0
    )
