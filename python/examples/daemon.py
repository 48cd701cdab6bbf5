"""A daemon of your own on the board, looked at and disturbed while it runs.

    daemon.py [PROGRAM ARGUMENT...]     otherwise the example daemon, $EXAMPLE_DAEMON --stay
"""

import os
import sys

from vorn_onu import Onu, OnuError

program = sys.argv[1:] or [os.environ.get("EXAMPLE_DAEMON", "example-daemon"), "--stay"]

with Onu.exec(program) as onu:
    # Others do the work: an expectation can become true within some time.
    onu.expect(bridges={"br3": ["gpon3.3", "sid1.3"]}, rules={"sid1 rx 0": {"count": 1}}, within=5000)
    print(onu.frame(from_="sid1", expect={"leaves": [{"at": "gpondef", "gemPort": 1001}]}).text())

    onu.board(links={"sid1": "down"})
    onu.frame(from_="sid1", expect={"dropped": "no carrier"})

    try:
        onu.call.configureBridge(bridgeId=4, uniPort=0)
        raise SystemExit("the HAL is the daemon's own: nobody else calls it")
    except OnuError as refused:
        print("as expected:", refused)
        assert refused.code == "not-here"
