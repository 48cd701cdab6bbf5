"""A gateway that does not answer, and what is sent to it over the VEIP."""

from vorn_onu import Onu

with Onu.start() as onu:
    onu.gateway(answersAfterMs=1)
    onu.call.init()
    onu.call.configureBridge(bridgeId=0, uniPort=0)
    onu.expect(messages={"contain": ["application up"]}, within=2000)

    onu.gateway("silent")
    bus = onu.state().bus
    print("the gateway", bus.gateway, "has got", len(bus.sent), "messages")
    assert bus.gateway == "silent" and bus.sent
