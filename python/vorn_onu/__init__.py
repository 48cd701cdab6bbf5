"""A virtual ONU from Python: start a board, make the HAL's calls, send frames, inject faults, look at what exists.

    with Onu.start() as onu:
        onu.call.configureBridge(bridgeId=3, uniPort=0)
        print(onu.state().bridge("br3").members)
"""

from ._version import VERSION as __version__
from .calling import LEFT_OUT
from .errors import OnuError, StepFailed
from .frames import Drop, Exit, Frame, Hop, Tag, Walk
from .onu import Onu, Subscription, boards, unique_name
from .results import CallResult, Failure, FrameResult, StepResult
from .state import BoardInfo, Counters, DeviceState, TraceEntry

__all__ = [
    "LEFT_OUT",
    "BoardInfo",
    "CallResult",
    "Counters",
    "DeviceState",
    "Drop",
    "Exit",
    "Failure",
    "Frame",
    "FrameResult",
    "Hop",
    "Onu",
    "OnuError",
    "StepFailed",
    "StepResult",
    "Subscription",
    "Tag",
    "TraceEntry",
    "Walk",
    "__version__",
    "boards",
    "unique_name",
]
