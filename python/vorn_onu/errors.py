"""What goes wrong, as exceptions."""

from __future__ import annotations

from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from .results import StepResult


class OnuError(Exception):
    """Something could not be done; nothing has changed on the board, unless the code says otherwise.

    code  one of the protocol's ("bad-step", "not-here", "no-board", "no-answer", "busy", "failed", ...), or
          "bad-timeout"  a timeout that is no number of seconds
          "bad-program"  exec() takes a program and its arguments as a list of texts
          "bad-name"     no board can have this name
          "not-yours"    the directory of the boards is another user's, or open to others
          "no-tool"      there is no program vorn-onu
          "not-started"  the board or its program did not start
          "timeout"      no answer in time; whether the request was done is not known
          "gone"         the board is no longer there
          "bad-reply"    an answer that this module does not understand
          "bad-frame"    octets that are no Ethernet frame
          "step-failed"  see StepFailed
    text  the reason in words
    """

    def __init__(self, code: str, text: str) -> None:
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        return f"{self.text} [{self.code}]"


class StepFailed(OnuError, AssertionError):
    """A step was done, and what was expected of it has not held. The text has both sides, and a frame's way."""

    def __init__(self, result: StepResult) -> None:
        super().__init__("step-failed", result.text())
        self.result = result

    def __str__(self) -> str:
        return self.text
