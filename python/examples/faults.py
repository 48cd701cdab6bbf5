"""Let a call into the device fail, and see what the HAL makes of it."""

from vorn_onu import Onu

with Onu.start() as onu:
    onu.fault(function="tmctl_setQueueCfg", nth=3, code=5)
    print(onu.call.tcont_set(allocId=256, tContIndex=1).text())

    [failed] = onu.trace(failed=True)
    print("failed:", failed)
    assert failed.injected and failed.name == "tmctl_setQueueCfg" and failed.result == 5
    tcont = onu.state().tcont(1)
    assert tcont is not None and len(tcont.queues) == 2, "it stops at the queue that fails"
